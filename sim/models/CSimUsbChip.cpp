#include "sim/models/CSimUsbChip.h"

#include "wire/HubRequests.h"
#include "wire/UsbDescriptors.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr CSimClock::Micros kMicrosPerMs = 1000;
constexpr BYTE kReqTypeStandardIn = 0x80;
constexpr BYTE kReqGetDescriptor = 0x06;
constexpr USHORT kLangUsEnglish = 0x0409;

std::vector<BYTE> StringDescriptor(const WString& text)
{
    const std::size_t nUnits = std::min<std::size_t>(text.size(), 126);
    std::vector<BYTE> bytes = {static_cast<BYTE>(2 + 2 * nUnits), USB_DESCRIPTOR_STRING};
    for (std::size_t i = 0; i < nUnits; ++i) {
        bytes.push_back(static_cast<BYTE>(text[i] & 0xFF));
        bytes.push_back(static_cast<BYTE>(text[i] >> 8));
    }
    return bytes;
}

USB_DEVICE_DESCRIPTOR DeviceDescriptor(const SimUsbIdentity& id)
{
    USB_DEVICE_DESCRIPTOR desc{};
    desc.bLength = USB_DEVICE_DESCRIPTOR_LENGTH;
    desc.bDescriptorType = USB_DESCRIPTOR_DEVICE;
    desc.bcdUSB = id.usBcdUsb;
    desc.bDeviceClass = id.byClass;
    desc.bDeviceProtocol = id.byProtocol;
    desc.bMaxPacketSize0 = id.usBcdUsb >= 0x0300 ? 9 : 64;
    desc.idVendor = id.usVid;
    desc.idProduct = id.usPid;
    desc.bcdDevice = id.usBcdDevice;
    desc.iManufacturer = id.strings.count(1) != 0 ? 1 : 0;
    desc.iProduct = id.strings.count(2) != 0 ? 2 : 0;
    desc.bNumConfigurations = 1;
    return desc;
}

} // namespace

CSimUsbChip::CSimUsbChip(CSimClock& clock, SimUsbIdentity identity)
    : m_clock(clock), m_identity(std::move(identity)), m_pEpoch(std::make_shared<int>(0))
{}

CSimUsbChip::~CSimUsbChip() = default;

SimTransferResult CSimUsbChip::Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs)
{
    const Request request{setup, pData, dwTimeoutMs};
    if (!m_bOnBus) {
        m_clock.Advance(kTransferMicros);
        return {kErrDeviceGone, 0, 0};
    }
    if (const auto fault = m_faults.Next(setup.bRequest))
        return Faulty(*fault, request);
    return Carry(request);
}

void CSimUsbChip::PowerUp(bool bNewInstance)
{
    Unplug();
    BeginAnew(SimStart::PowerUp);
    Return(bNewInstance);
}

void CSimUsbChip::Unplug()
{
    m_pEpoch = std::make_shared<int>(0);
    m_bResetting = false;
    m_eNextStart = SimStart::PowerUp;
    m_currentReturn = {};
    Leave();
}

void CSimUsbChip::ScheduleReset(SimStart eStart)
{
    m_currentReturn = m_nextReturn.value_or(m_return);
    m_nextReturn.reset();
    m_bResetting = true;
    m_eNextStart = eStart;
    Later(m_currentReturn.usLeave, &CSimUsbChip::LeaveForReset);
}

SimTransferResult CSimUsbChip::Misused(const std::string& reason, const SETUP_PACKET& setup)
{
    m_misuse.Add(reason + ": request " + CSimMisuse::Hex(setup.bmRequestType) + "/" +
                 CSimMisuse::Hex(setup.bRequest) + ", wValue " + CSimMisuse::Hex(setup.wValue, 4) +
                 ", wIndex " + CSimMisuse::Hex(setup.wIndex, 4) + ", length " +
                 std::to_string(setup.wLength));
    return Stall();
}

SimTransferResult CSimUsbChip::Answer(const Request& request, const BYTE* pFrom, std::size_t cb)
{
    const std::size_t cbSent = std::min<std::size_t>(cb, request.setup.wLength);
    if (cbSent != 0)
        std::memcpy(request.pData, pFrom, cbSent);
    return {kErrNone, 0, static_cast<DWORD>(cbSent)};
}

SimTransferResult CSimUsbChip::Faulty(const SimFault& fault, const Request& request)
{
    if (fault.eKind == SimFaultKind::Corrupt)
        return Corrupted(fault, request);
    if (fault.eKind == SimFaultKind::Vanish) {
        Unplug();
        if (fault.dwBackMs != 0)
            Later(fault.dwBackMs * kMicrosPerMs, &CSimUsbChip::ReturnFromReset);
        return {kErrDeviceGone, 0, 0};
    }
    if (fault.eKind == SimFaultKind::Slow) {
        m_usBusyUntil = std::max(m_usBusyUntil, m_clock.Now() + fault.dwLateMs * kMicrosPerMs);
        return Carry(request);
    }
    const bool bTimeOut = fault.eKind == SimFaultKind::TimeOut;
    if (fault.bActs && fault.eKind != SimFaultKind::Lie)
        (void)Carry(request);
    m_clock.Advance(bTimeOut ? request.dwTimeoutMs * kMicrosPerMs : kTransferMicros);
    switch (fault.eKind) {
    case SimFaultKind::Lie:
        return Done(request);
    case SimFaultKind::TimeOut:
        return {kErrSemTimeout, 0, 0};
    case SimFaultKind::Stall:
        return Stall();
    case SimFaultKind::UrbStatus:
        return {kErrNone, fault.dwCode, 0};
    default:
        return {fault.dwCode, 0, 0};
    }
}

SimTransferResult CSimUsbChip::Corrupted(const SimFault& fault, const Request& request)
{
    const DWORD cb = request.pData == nullptr ? 0 : request.setup.wLength;
    if (request.IsIn() || cb == 0) {
        const SimTransferResult res = Carry(request);
        if (res.cbDone != 0 && cb != 0)
            request.pData[fault.dwOffset % res.cbDone] ^= fault.byMask;
        return res;
    }
    std::vector<BYTE> data(request.pData, request.pData + cb);
    data[fault.dwOffset % cb] ^= fault.byMask;
    return Carry({request.setup, data.data(), request.dwTimeoutMs});
}

SimTransferResult CSimUsbChip::Carry(const Request& request)
{
    const CSimClock::Micros usLimit = request.dwTimeoutMs * kMicrosPerMs;
    const CSimClock::Micros usWait =
        m_usBusyUntil > m_clock.Now() ? m_usBusyUntil - m_clock.Now() : 0;
    if (usLimit != 0 && usWait > usLimit) {
        m_clock.Advance(usLimit);
        return {kErrSemTimeout, 0, 0};
    }
    m_clock.Advance(usWait + kTransferMicros + request.setup.wLength / kBytesPerMicro);
    if (!m_bOnBus)
        return {kErrDeviceGone, 0, 0};
    if (m_bResetting)
        return Stall();

    m_usWork = 0;
    const SimTransferResult res = PerformOrDescribe(request);
    const CSimClock::Micros usWork = m_usWork;
    const bool bLate = usLimit != 0 && usWork > usLimit;
    m_usBusyUntil = m_clock.Now() + usWork;
    m_clock.Advance(bLate ? usLimit : usWork);
    if (bLate && m_bOnBus)
        return {kErrSemTimeout, 0, 0};
    return res;
}

SimTransferResult CSimUsbChip::PerformOrDescribe(const Request& request)
{
    if (request.setup.wLength != 0 && request.pData == nullptr)
        return {kErrInvalidParameter, 0, 0};
    if (const auto res = Descriptor(request))
        return *res;
    return Perform(request);
}

std::optional<SimTransferResult> CSimUsbChip::Descriptor(const Request& request)
{
    const SETUP_PACKET& setup = request.setup;
    if (setup.bmRequestType != kReqTypeStandardIn || setup.bRequest != kReqGetDescriptor)
        return std::nullopt;
    if (m_nResumeReads != 0) {
        --m_nResumeReads;
        return SimTransferResult{kErrNotReady, 0, 0};
    }
    const BYTE byType = static_cast<BYTE>(setup.wValue >> 8);
    const BYTE byIndex = static_cast<BYTE>(setup.wValue & 0xFF);
    if (byType == USB_DESCRIPTOR_DEVICE && byIndex == 0) {
        const USB_DEVICE_DESCRIPTOR desc = DeviceDescriptor(m_identity);
        return Answer(request, reinterpret_cast<const BYTE*>(&desc), sizeof(desc));
    }
    if (byType != USB_DESCRIPTOR_STRING)
        return std::nullopt;
    const auto it = m_identity.strings.find(byIndex);
    if (byIndex != 0 && it == m_identity.strings.end())
        return Stall();
    const std::vector<BYTE> text =
        StringDescriptor(byIndex == 0 ? WString(1, WCHAR{kLangUsEnglish}) : it->second);
    return Answer(request, text.data(), text.size());
}

void CSimUsbChip::BeginAnew(SimStart eStart)
{
    m_pEpoch = std::make_shared<int>(0);
    m_bResetting = false;
    m_nResumeReads = 0;
    m_usBusyUntil = 0;
    Restart(eStart);
}

void CSimUsbChip::Later(CSimClock::Micros us, Event pfnWhat)
{
    m_clock.Schedule(us, [this, pfnWhat, pEpoch = std::weak_ptr<int>(m_pEpoch)] {
        if (!pEpoch.expired())
            (this->*pfnWhat)();
    });
}

void CSimUsbChip::LeaveForReset()
{
    m_bResetting = false;
    Leave();
    if (!m_currentReturn.bNever)
        Later(m_currentReturn.usReturn, &CSimUsbChip::ReturnFromReset);
}

void CSimUsbChip::ReturnFromReset()
{
    BeginAnew(m_eNextStart);
    Return(m_currentReturn.bNewInstance);
}

void CSimUsbChip::Leave()
{
    if (!m_bOnBus)
        return;
    m_bOnBus = false;
    for (ISimPort* const pPort : m_ports)
        pPort->DeviceLeft();
}

void CSimUsbChip::Return(bool bNewInstance)
{
    m_bOnBus = true;
    for (ISimPort* const pPort : m_ports)
        pPort->DeviceReturned(bNewInstance);
}
