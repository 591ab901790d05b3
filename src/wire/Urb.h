#pragma once

#include "wire/SetupPacket.h"

/* URBs as the host's USB stack lays them out for 64-bit drivers: 136 bytes each, whatever the
 * function. Pointers are addresses in the caller's memory. */
#define URB_FUNCTION_CONTROL_TRANSFER 0x0008
#define URB_FUNCTION_GET_DESCRIPTOR_FROM_DEVICE 0x000B
#define URB_FUNCTION_VENDOR_DEVICE 0x0017

#define USBD_TRANSFER_DIRECTION_IN 0x1u
#define USBD_DEFAULT_PIPE_TRANSFER 0x8u

#define URB_LENGTH 0x0088

typedef struct URB_HEADER
{
    USHORT Length; /* URB_LENGTH */
    USHORT Function;
    DWORD Status; /* 0 = success, written by the driver */
    ULONGLONG UsbdDeviceHandle;
    DWORD UsbdFlags;
    DWORD padding;
} URB_HEADER;

/* What all three kinds share up to offset 128. */
typedef struct URB_TRANSFER
{
    URB_HEADER Hdr;
    ULONGLONG PipeHandle;       /* always zero here */
    DWORD TransferFlags;        /* descriptor requests: reserved, zero */
    DWORD TransferBufferLength; /* bytes; the driver writes back how many moved */
    ULONGLONG TransferBuffer;   /* address */
    ULONGLONG TransferBufferMDL;
    ULONGLONG UrbLink;
    ULONGLONG HostController[8];
} URB_TRANSFER;

typedef struct URB_VENDOR_FIELDS
{
    BYTE RequestTypeReservedBits;
    BYTE Request;
    USHORT Value;
    USHORT Index;
    USHORT Reserved1;
} URB_VENDOR_FIELDS;

typedef struct URB_DESCRIPTOR_FIELDS
{
    USHORT Reserved1;
    BYTE Index;
    BYTE DescriptorType;
    USHORT LanguageId;
    USHORT Reserved2;
} URB_DESCRIPTOR_FIELDS;

typedef struct URB
{
    URB_TRANSFER Transfer;
    union
    {
        SETUP_PACKET SetupPacket;         /* URB_FUNCTION_CONTROL_TRANSFER */
        URB_VENDOR_FIELDS Vendor;         /* URB_FUNCTION_VENDOR_DEVICE */
        URB_DESCRIPTOR_FIELDS Descriptor; /* URB_FUNCTION_GET_DESCRIPTOR_FROM_DEVICE */
    } Request;
} URB;

#if defined(__cplusplus)
static_assert(sizeof(URB_HEADER) == 24 && offsetof(URB_HEADER, Status) == 4);
static_assert(sizeof(URB) == URB_LENGTH && offsetof(URB, Request) == 128);
static_assert(offsetof(URB_TRANSFER, TransferFlags) == 32 &&
              offsetof(URB_TRANSFER, TransferBufferLength) == 36 &&
              offsetof(URB_TRANSFER, TransferBuffer) == 40);
#endif
