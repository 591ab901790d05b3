#include "wire/CProxyDecoder.h"

#include <cstring>

namespace
{
constexpr BYTE kDirectionIn = 0x80;
constexpr BYTE kGetDescriptor = 6;

bool AllZero(const void* pData, size_t cb)
{
    const auto* const pBytes = static_cast<const BYTE*>(pData);
    for (size_t i = 0; i < cb; ++i)
        if (pBytes[i] != 0)
            return false;
    return true;
}

/// Checks both lengths and copies the head of the input.
template<class T>
const char* Take(const CONTROL_REQUEST& request, DWORD cbOut, T* pOut)
{
    if (request.pIn == nullptr || request.cbIn != sizeof(T))
        return "the input has not the request's length";
    if (request.cbOut != cbOut || (cbOut != 0 && request.pOut == nullptr))
        return "the output has not the request's length";
    std::memcpy(pOut, request.pIn, sizeof(T));
    return nullptr;
}

const char* CheckHeader(const URB_TRANSFER& urb)
{
    if (urb.Hdr.Length != URB_LENGTH)
        return "the URB's length is not 136";
    if (urb.Hdr.Status != 0 || urb.Hdr.UsbdDeviceHandle != 0 || urb.Hdr.UsbdFlags != 0 ||
        urb.Hdr.padding != 0)
        return "a header byte of the URB is not zero";
    if (urb.PipeHandle != 0)
        return "the URB's pipe handle is not zero";
    ULONGLONG reserved = urb.TransferBufferMDL | urb.UrbLink;
    for (const ULONGLONG value : urb.HostController)
        reserved |= value;
    if (reserved != 0)
        return "a reserved byte of the URB is not zero";
    if (urb.TransferBufferLength > 0xFFFF)
        return "the URB's buffer is longer than a control transfer can be";
    if (urb.TransferBufferLength != 0 && urb.TransferBuffer == 0)
        return "the URB has a length and no buffer";
    return nullptr;
}

const char* DecodeVendor(const URB& urb, SETUP_PACKET* pSetup)
{
    const URB_VENDOR_FIELDS& fields = urb.Request.Vendor;
    if (fields.Reserved1 != 0)
        return "the vendor URB's reserved word is not zero";
    const bool bIn = (fields.RequestTypeReservedBits & kDirectionIn) != 0;
    if (urb.Transfer.TransferFlags != (bIn ? USBD_TRANSFER_DIRECTION_IN : 0u))
        return "the vendor URB's flags and its direction differ";
    *pSetup = {fields.RequestTypeReservedBits, fields.Request, fields.Value, fields.Index, 0};
    return nullptr;
}

const char* DecodeControl(const URB& urb, SETUP_PACKET* pSetup)
{
    *pSetup = urb.Request.SetupPacket;
    const DWORD dwFlags = urb.Transfer.TransferFlags;
    if (dwFlags != USBD_DEFAULT_PIPE_TRANSFER &&
        dwFlags != (USBD_DEFAULT_PIPE_TRANSFER | USBD_TRANSFER_DIRECTION_IN))
        return "the control URB's flags are neither 8 nor 9";
    if (pSetup->wLength != urb.Transfer.TransferBufferLength)
        return "the setup packet's length and the URB's differ";
    const bool bFlagIn = (dwFlags & USBD_TRANSFER_DIRECTION_IN) != 0;
    if (pSetup->wLength != 0 && bFlagIn != ((pSetup->bmRequestType & kDirectionIn) != 0))
        return "the control URB's flags and its setup packet's direction differ";
    return nullptr;
}

const char* DecodeDescriptor(const URB& urb, SETUP_PACKET* pSetup)
{
    const URB_DESCRIPTOR_FIELDS& fields = urb.Request.Descriptor;
    if (fields.Reserved1 != 0 || fields.Reserved2 != 0 || urb.Transfer.TransferFlags != 0)
        return "a reserved byte of the descriptor URB is not zero";
    *pSetup = {kDirectionIn, kGetDescriptor,
               static_cast<USHORT>((fields.DescriptorType << 8) | fields.Index), fields.LanguageId,
               0};
    return nullptr;
}
} // namespace

const char* CProxyDecoder::Open(const CONTROL_REQUEST& request, PROXY_DEVICE_REQUEST* pOut)
{
    if (const char* const pszReason = Take(request, sizeof *pOut, pOut))
        return pszReason;
    return pOut->reserved0 == 0 && pOut->deviceHandle == 0 && pOut->reserved24 == 0
               ? nullptr
               : "a byte of the open request is not zero";
}

const char* CProxyDecoder::Close(const CONTROL_REQUEST& request, PROXY_DEVICE_REQUEST* pOut)
{
    if (const char* const pszReason = Take(request, 0, pOut))
        return pszReason;
    return pOut->reserved0 == 0 && pOut->interfaceHandle == 0 && pOut->reserved24 == 0
               ? nullptr
               : "a byte of the close request is not zero";
}

const char* CProxyDecoder::SendUrb(const CONTROL_REQUEST& request, PROXY_URB_REQUEST* pOut)
{
    if (const char* const pszReason = Take(request, 0, pOut))
        return pszReason;
    if (pOut->reserved0 != 0 || pOut->reserved8 != 0 || pOut->reserved36 != 0)
        return "a byte of the URB request is not zero";
    return pOut->urbAddress == 0 ? "the URB request has no URB" : nullptr;
}

const char* CProxyDecoder::WritePort(const CONTROL_REQUEST& request, PROXY_PORT_REQUEST* pOut)
{
    if (const char* const pszReason = Take(request, 0, pOut))
        return pszReason;
    return pOut->reserved0 == 0 && pOut->reserved12 == 0 &&
                   AllZero(pOut->reserved17, sizeof pOut->reserved17)
               ? nullptr
               : "a byte of the port write is not zero";
}

const char* CProxyDecoder::ReadPort(const CONTROL_REQUEST& request, PROXY_PORT_REQUEST* pOut)
{
    if (const char* const pszReason = Take(request, 1, pOut))
        return pszReason;
    return pOut->reserved0 == 0 && pOut->reserved12 == 0 && pOut->value == 0 &&
                   AllZero(pOut->reserved17, sizeof pOut->reserved17)
               ? nullptr
               : "a byte of the port read is not zero";
}

const char* CProxyDecoder::WriteMemory(const CONTROL_REQUEST& request, PROXY_MEMORY_REQUEST* pOut)
{
    if (request.pIn == nullptr || request.cbIn < PROXY_MEMORY_OVERHEAD || request.cbOut != 0)
        return "the memory write has not its length";
    std::memcpy(pOut, request.pIn, sizeof *pOut);
    if (request.cbIn != ULONGLONG{pOut->length} + PROXY_MEMORY_OVERHEAD)
        return "the memory write's length and its data's differ";
    const BYTE* const pSlack =
        static_cast<const BYTE*>(request.pIn) + PROXY_MEMORY_DATA_OFFSET + pOut->length;
    return pOut->reserved0 == 0 && pOut->reserved12 == 0 && AllZero(pSlack, 4)
               ? nullptr
               : "a byte of the memory write is not zero";
}

const char* CProxyDecoder::ReadMemory(const CONTROL_REQUEST& request, PROXY_MEMORY_REQUEST* pOut)
{
    if (request.pIn == nullptr || request.cbIn != sizeof *pOut)
        return "the input has not the request's length";
    std::memcpy(pOut, request.pIn, sizeof *pOut);
    if (request.cbOut != pOut->length || (pOut->length != 0 && request.pOut == nullptr))
        return "the output has not the request's length";
    return pOut->reserved0 == 0 && pOut->reserved12 == 0 && pOut->reserved20 == 0
               ? nullptr
               : "a byte of the memory read is not zero";
}

const char* CProxyDecoder::Urb(const URB& urb, DECODED_URB* pOut)
{
    const char* pszReason = CheckHeader(urb.Transfer);
    if (pszReason != nullptr)
        return pszReason;
    switch (urb.Transfer.Hdr.Function) {
    case URB_FUNCTION_VENDOR_DEVICE:
        pszReason = DecodeVendor(urb, &pOut->setup);
        break;
    case URB_FUNCTION_CONTROL_TRANSFER:
        pszReason = DecodeControl(urb, &pOut->setup);
        break;
    case URB_FUNCTION_GET_DESCRIPTOR_FROM_DEVICE:
        pszReason = DecodeDescriptor(urb, &pOut->setup);
        break;
    default:
        pszReason = "the URB's function is not one of the three";
        break;
    }
    pOut->setup.wLength = static_cast<USHORT>(urb.Transfer.TransferBufferLength);
    pOut->bIn = (pOut->setup.bmRequestType & kDirectionIn) != 0;
    pOut->cbData = urb.Transfer.TransferBufferLength;
    pOut->dataAddress = urb.Transfer.TransferBuffer;
    return pszReason;
}
