#pragma once

#include "platform/Types.h"

/* I/O control requests to the proxy driver "\\.\ZelUpx": CTL_CODE(0x22, function, buffered, any
 * access). All integers are little-endian; reserved bytes are zero. */
#define IOCTL_KYPROXY_CLOSE_DEVICE 0x00220044u
#define IOCTL_KYPROXY_SEND_URB 0x00220048u
#define IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE 0x0022004Cu
#define IOCTL_KYPROXY_WRITE_PORT_UCHAR 0x00220050u
#define IOCTL_KYPROXY_READ_PORT_UCHAR 0x00220054u
#define IOCTL_KYPROXY_WRITE_MEMORY_UCHAR 0x00220058u
#define IOCTL_KYPROXY_READ_MEMORY_UCHAR 0x0022005Cu

/* OPEN_DEVICE_BY_HANDLE (in and out, 32 bytes) and CLOSE_DEVICE (in, 32 bytes). */
typedef struct PROXY_DEVICE_REQUEST
{
    ULONGLONG reserved0;
    ULONGLONG interfaceHandle; /* open: the hub interface file; close: 0 */
    ULONGLONG deviceHandle;    /* open: 0 in, the proxy device out; close: the proxy device */
    ULONGLONG reserved24;
} PROXY_DEVICE_REQUEST;

/* SEND_URB (in, 40 bytes). The URB and its transfer buffer stay in the caller's memory. */
typedef struct PROXY_URB_REQUEST
{
    ULONGLONG reserved0;
    ULONGLONG reserved8;
    ULONGLONG deviceHandle;
    ULONGLONG urbAddress;
    DWORD timeoutMs;
    DWORD reserved36;
} PROXY_URB_REQUEST;

/* WRITE_PORT_UCHAR and READ_PORT_UCHAR (in, 24 bytes; a read answers 1 byte). */
typedef struct PROXY_PORT_REQUEST
{
    ULONGLONG reserved0;
    DWORD address;
    DWORD reserved12;
    BYTE value; /* reads send 0 */
    BYTE reserved17[7];
} PROXY_PORT_REQUEST;

/* Head of WRITE_MEMORY_UCHAR (data from offset 20, whole request length + 24 bytes) and of
 * READ_MEMORY_UCHAR (24 bytes, answers length bytes). */
typedef struct PROXY_MEMORY_REQUEST
{
    ULONGLONG reserved0;
    DWORD address;
    DWORD reserved12;
    DWORD length;
    DWORD reserved20; /* write: the first four data bytes, or slack */
} PROXY_MEMORY_REQUEST;

#define PROXY_MEMORY_DATA_OFFSET 20
#define PROXY_MEMORY_OVERHEAD 24

#if defined(__cplusplus)
static_assert(sizeof(PROXY_DEVICE_REQUEST) == 32 &&
              offsetof(PROXY_DEVICE_REQUEST, deviceHandle) == 16);
static_assert(sizeof(PROXY_URB_REQUEST) == 40 && offsetof(PROXY_URB_REQUEST, urbAddress) == 24 &&
              offsetof(PROXY_URB_REQUEST, timeoutMs) == 32);
static_assert(sizeof(PROXY_PORT_REQUEST) == 24 && offsetof(PROXY_PORT_REQUEST, value) == 16);
static_assert(sizeof(PROXY_MEMORY_REQUEST) == 24 && offsetof(PROXY_MEMORY_REQUEST, length) == 16);
#endif
