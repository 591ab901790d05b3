#pragma once

#include "platform/Types.h"

/* One listed hub or port device, as it crosses the library's edge: 4,132 bytes. */
typedef struct _Hub_Info
{
    DWORD DevInst;            /* device instance number */
    WCHAR HwID[1024];         /* hardware IDs, each zero-terminated, then a further zero */
    WCHAR LocationPath[1024]; /* location paths, same form */
    WCHAR PID[5];             /* the 4 characters behind "PID_" */
    WCHAR VID[5];             /* the 4 characters behind "VID_" */
    DWORD Level;              /* number signs in the location path from "USBROOT" on */
    DWORD Port;               /* number in the location path's last parentheses */
    BYTE IsU3Hub;             /* 1: the SuperSpeed half of a hub */
    BYTE Padding[3];
} _Hub_Info;

#if defined(__cplusplus)
static_assert(sizeof(_Hub_Info) == 4132);
static_assert(offsetof(_Hub_Info, HwID) == 4 && offsetof(_Hub_Info, LocationPath) == 2052);
static_assert(offsetof(_Hub_Info, PID) == 4100 && offsetof(_Hub_Info, VID) == 4110);
static_assert(offsetof(_Hub_Info, Level) == 4120 && offsetof(_Hub_Info, Port) == 4124);
static_assert(offsetof(_Hub_Info, IsU3Hub) == 4128);
#endif
