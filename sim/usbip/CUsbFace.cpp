#include "sim/usbip/CUsbFace.h"

#include "wire/HubRequests.h"
#include "wire/UsbDescriptors.h"

#include <algorithm>
#include <initializer_list>

namespace
{

constexpr BYTE kDirectionIn = 0x80;
constexpr BYTE kTypeMask = 0x60;
constexpr BYTE kTypeStandard = 0x00;
constexpr BYTE kTypeClass = 0x20;
constexpr BYTE kRecipientMask = 0x1F;
constexpr BYTE kToDevice = 0;
constexpr BYTE kToPort = 3;

constexpr BYTE kGetStatus = 0;
constexpr BYTE kClearFeature = 1;
constexpr BYTE kSetFeature = 3;
constexpr BYTE kGetDescriptor = 6;
constexpr BYTE kGetConfiguration = 8;
constexpr BYTE kSetConfiguration = 9;
constexpr BYTE kGetInterface = 10;
constexpr BYTE kSetInterface = 11;
constexpr BYTE kSetHubDepth = 12;
constexpr BYTE kSetExitLatencies = 48;
constexpr BYTE kSetIsochronousDelay = 49;

constexpr BYTE kDescriptorConfiguration = 2;
constexpr BYTE kDescriptorObjectStore = 15;
constexpr BYTE kDescriptorHub = 0x29;
constexpr BYTE kDescriptorSuperHub = 0x2A;
constexpr USHORT kFeaturePortPower = 8;

constexpr BYTE kProtocolSuperHub = 3;
constexpr USHORT kUsb30 = 0x0300;
constexpr BYTE kSuperMaxPacket = 9; // a power of two: 512 bytes

SimTransferResult Stall()
{
    return {kErrGenFailure, 0, 0};
}

void Append(std::vector<BYTE>& bytes, std::initializer_list<BYTE> more)
{
    for (const BYTE by : more)
        bytes.push_back(by);
}

SimTransferResult Answer(const SETUP_PACKET& setup, BYTE* pData, const std::vector<BYTE>& bytes)
{
    const size_t cb = std::min<size_t>(bytes.size(), pData == nullptr ? 0 : setup.wLength);
    std::copy_n(bytes.begin(), cb, pData);
    return {kErrNone, 0, static_cast<DWORD>(cb)};
}

} // namespace

CUsbFace::CUsbFace(ISimUsbDevice& model, UsbFaceKind eKind, BYTE byInterfaceClass)
    : m_model(model), m_eKind(eKind), m_byInterfaceClass(byInterfaceClass)
{}

SimTransferResult CUsbFace::Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs)
{
    switch (setup.bmRequestType & kTypeMask) {
    case kTypeStandard:
        return Standard(setup, pData, dwTimeoutMs);
    case kTypeClass:
        return IsHub() ? HubClass(setup, pData) : Stall();
    default:
        return m_model.Control(setup, pData, dwTimeoutMs);
    }
}

SimTransferResult CUsbFace::Standard(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs)
{
    if ((setup.bmRequestType & kDirectionIn) == 0)
        return StandardOut(setup);
    switch (setup.bRequest) {
    case kGetDescriptor:
        return Descriptor(setup, pData, dwTimeoutMs);
    case kGetStatus: {
        const bool bDevice = (setup.bmRequestType & kRecipientMask) == kToDevice;
        return Answer(setup, pData, {static_cast<BYTE>(bDevice ? 1 : 0), 0}); // self-powered
    }
    case kGetConfiguration:
        return Answer(setup, pData, {m_byConfiguration});
    case kGetInterface:
        return Answer(setup, pData, {0});
    default:
        return Stall();
    }
}

SimTransferResult CUsbFace::StandardOut(const SETUP_PACKET& setup)
{
    switch (setup.bRequest) {
    case kSetConfiguration:
        if (setup.wValue > 1)
            return Stall();
        m_byConfiguration = static_cast<BYTE>(setup.wValue);
        break;
    case kClearFeature:
    case kSetFeature:
    case kSetInterface:
        break;
    case kSetExitLatencies:
    case kSetIsochronousDelay:
        if (!IsSuper())
            return Stall();
        break;
    default:
        return Stall();
    }
    return {kErrNone, 0, setup.wLength};
}

SimTransferResult CUsbFace::Descriptor(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs)
{
    switch (setup.wValue >> 8) {
    case USB_DESCRIPTOR_DEVICE: {
        const SimTransferResult res = m_model.Control(setup, pData, dwTimeoutMs);
        if (res.dwError == 0 && res.dwUsbdStatus == 0)
            FixDeviceDescriptor(pData, res.cbDone);
        return res;
    }
    case USB_DESCRIPTOR_STRING:
        return m_model.Control(setup, pData, dwTimeoutMs);
    case kDescriptorConfiguration:
        return Answer(setup, pData, ConfigurationDescriptor());
    case kDescriptorObjectStore:
        return IsHub() ? Answer(setup, pData, ObjectStore()) : Stall();
    default:
        return Stall();
    }
}

/// The models describe the high-speed half.
void CUsbFace::FixDeviceDescriptor(BYTE* pData, DWORD cb) const
{
    if (!IsSuper())
        return;
    const auto put = [&](size_t nOffset, BYTE by) {
        if (nOffset < cb)
            pData[nOffset] = by;
    };
    put(offsetof(USB_DEVICE_DESCRIPTOR, bcdUSB), kUsb30 & 0xFF);
    put(offsetof(USB_DEVICE_DESCRIPTOR, bcdUSB) + 1, kUsb30 >> 8);
    put(offsetof(USB_DEVICE_DESCRIPTOR, bDeviceProtocol), kProtocolSuperHub);
    put(offsetof(USB_DEVICE_DESCRIPTOR, bMaxPacketSize0), kSuperMaxPacket);
}

std::vector<BYTE> CUsbFace::ConfigurationDescriptor() const
{
    const BYTE byEndpoints = IsHub() ? 1 : 0;
    const BYTE byAttributes = IsHub() ? 0xE0 : 0xC0; // self-powered; hubs wake the host
    std::vector<BYTE> bytes = {9, 2, 0, 0, 1, 1, 0, byAttributes, 0};
    Append(bytes, {9, 4, 0, 0, byEndpoints, m_byInterfaceClass, 0, 0, 0});
    if (IsSuper())
        Append(bytes, {7, 5, 0x81, 0x13, 2, 0, 8, 6, 0x30, 0, 0, 2, 0});
    else if (IsHub())
        Append(bytes, {7, 5, 0x81, 3, 1, 0, 12});
    bytes[2] = static_cast<BYTE>(bytes.size());
    return bytes;
}

std::vector<BYTE> CUsbFace::ObjectStore() const
{
    std::vector<BYTE> bytes = {5, kDescriptorObjectStore, 0, 0, 1, 7, 16, 2, 0, 0, 0, 0};
    if (IsSuper()) {
        Append(bytes, {10, 16, 3, 0, 8, 0, 3, 0, 0, 0});
        bytes[4] = 2;
    }
    bytes[2] = static_cast<BYTE>(bytes.size());
    return bytes;
}

std::vector<BYTE> CUsbFace::HubDescriptor() const
{
    // Power and over-current by port, good after 20 ms, all ports removable.
    if (IsSuper())
        return {12, kDescriptorSuperHub, kHubPorts, 9, 0, 10, 0, 0, 0, 0, 0, 0};
    return {9, kDescriptorHub, kHubPorts, 9, 0, 10, 0, 0, 0xFF};
}

std::vector<BYTE> CUsbFace::PortStatus(unsigned nPort) const
{
    USHORT wStatus = 0;
    if (IsSuper())
        wStatus = m_powered[nPort] ? 0x02A0 : 0x0080; // power, link: Rx.Detect or disabled
    else
        wStatus = m_powered[nPort] ? 0x0100 : 0;
    return {static_cast<BYTE>(wStatus & 0xFF), static_cast<BYTE>(wStatus >> 8), 0, 0};
}

SimTransferResult CUsbFace::HubClass(const SETUP_PACKET& setup, BYTE* pData)
{
    if ((setup.bmRequestType & kDirectionIn) == 0)
        return HubClassOut(setup);
    const BYTE byRecipient = setup.bmRequestType & kRecipientMask;
    const BYTE byType = IsSuper() ? kDescriptorSuperHub : kDescriptorHub;
    if (setup.bRequest == kGetDescriptor && byRecipient == kToDevice && setup.wValue >> 8 == byType)
        return Answer(setup, pData, HubDescriptor());
    if (setup.bRequest != kGetStatus)
        return Stall();
    if (byRecipient == kToDevice)
        return Answer(setup, pData, {0, 0, 0, 0});
    if (byRecipient != kToPort || setup.wIndex == 0 || setup.wIndex > kHubPorts)
        return Stall();
    return Answer(setup, pData, PortStatus(setup.wIndex));
}

SimTransferResult CUsbFace::HubClassOut(const SETUP_PACKET& setup)
{
    const bool bPort = (setup.bmRequestType & kRecipientMask) == kToPort;
    const bool bFeature = setup.bRequest == kSetFeature || setup.bRequest == kClearFeature;
    const unsigned nPort = setup.wIndex & 0xFF; // above it: the feature's own
    if (bPort && bFeature && (nPort == 0 || nPort > kHubPorts))
        return Stall();
    if (bPort && bFeature && setup.wValue == kFeaturePortPower)
        m_powered[nPort] = setup.bRequest == kSetFeature;
    if (!bPort && setup.bRequest == kSetHubDepth && !IsSuper())
        return Stall();
    return {kErrNone, 0, setup.wLength};
}
