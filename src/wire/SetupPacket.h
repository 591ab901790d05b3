#pragma once

#include "platform/Types.h"

/// The 8-byte SETUP packet of a control transfer (USB 2.0, 9.3), little-endian.
typedef struct SETUP_PACKET
{
    BYTE bmRequestType; /* bit 7: device to host */
    BYTE bRequest;
    USHORT wValue;
    USHORT wIndex;
    USHORT wLength; /* bytes of the data stage */
} SETUP_PACKET;

#if defined(__cplusplus)
static_assert(sizeof(SETUP_PACKET) == 8 && offsetof(SETUP_PACKET, wLength) == 6);
#endif
