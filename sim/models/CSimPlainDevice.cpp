#include "sim/models/CSimPlainDevice.h"

#include "wire/HubRequests.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
constexpr BYTE kStandardIn = 0x80;
constexpr BYTE kGetDescriptor = 6;
constexpr CSimClock::Micros kTransferTime = 125;

std::vector<BYTE> StringDescriptor(const WString& strText)
{
    std::vector<BYTE> bytes(2 + 2 * strText.size());
    bytes[0] = static_cast<BYTE>(bytes.size());
    bytes[1] = USB_DESCRIPTOR_STRING;
    std::memcpy(bytes.data() + 2, strText.data(), 2 * strText.size());
    return bytes;
}
} // namespace

CSimPlainDevice::CSimPlainDevice(CSimClock& clock, USHORT wVid, USHORT wPid, BYTE byClass)
    : m_clock(clock)
{
    m_descriptor.bLength = USB_DEVICE_DESCRIPTOR_LENGTH;
    m_descriptor.bDescriptorType = USB_DESCRIPTOR_DEVICE;
    m_descriptor.bcdUSB = 0x0200;
    m_descriptor.bDeviceClass = byClass;
    m_descriptor.bMaxPacketSize0 = 64;
    m_descriptor.idVendor = wVid;
    m_descriptor.idProduct = wPid;
    m_descriptor.bcdDevice = 0x0100;
    m_descriptor.bNumConfigurations = 1;
}

SimTransferResult CSimPlainDevice::Control(const SETUP_PACKET& setup, BYTE* pData,
                                           DWORD /*dwTimeoutMs*/)
{
    m_clock.Advance(kTransferTime);
    const auto stall = SimTransferResult{kErrGenFailure, 0, 0};
    if (setup.bmRequestType != kStandardIn || setup.bRequest != kGetDescriptor)
        return stall;
    const auto byType = static_cast<BYTE>(setup.wValue >> 8);
    const auto byIndex = static_cast<BYTE>(setup.wValue & 0xFF);
    std::vector<BYTE> answer;
    if (byType == USB_DESCRIPTOR_DEVICE && byIndex == 0) {
        answer.resize(sizeof m_descriptor);
        std::memcpy(answer.data(), &m_descriptor, sizeof m_descriptor);
    } else if (byType == USB_DESCRIPTOR_STRING && m_strings.contains(byIndex)) {
        answer = StringDescriptor(m_strings[byIndex]);
    } else {
        return stall;
    }
    const size_t cb = std::min<size_t>(answer.size(), pData == nullptr ? 0 : setup.wLength);
    std::copy_n(answer.begin(), cb, pData);
    return {kErrNone, 0, static_cast<DWORD>(cb)};
}
