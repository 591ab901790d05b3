#pragma once

#include "platform/Types.h"

#pragma pack(push, 1)
/// Device descriptor (USB 2.0, 9.6.1), little-endian.
typedef struct USB_DEVICE_DESCRIPTOR
{
    BYTE bLength;
    BYTE bDescriptorType;
    USHORT bcdUSB;
    BYTE bDeviceClass;
    BYTE bDeviceSubClass;
    BYTE bDeviceProtocol;
    BYTE bMaxPacketSize0;
    USHORT idVendor;
    USHORT idProduct;
    USHORT bcdDevice;
    BYTE iManufacturer;
    BYTE iProduct;
    BYTE iSerialNumber;
    BYTE bNumConfigurations;
} USB_DEVICE_DESCRIPTOR;

/// Head of a string descriptor (USB 2.0, 9.6.7); UTF-16LE units go on behind bString[0].
typedef struct USB_STRING_DESCRIPTOR
{
    BYTE bLength;
    BYTE bDescriptorType;
    WCHAR bString[1];
} USB_STRING_DESCRIPTOR;
#pragma pack(pop)

#if defined(__cplusplus)
static_assert(sizeof(USB_DEVICE_DESCRIPTOR) == 18);
static_assert(sizeof(USB_STRING_DESCRIPTOR) == 4);
#endif
