#include "sim/models/CSimPd.h"

#include "wire/HubRequests.h"

#include <algorithm>

namespace
{

constexpr BYTE kCmdEnable = 0x01;
constexpr BYTE kCmdToRom = 0x02;
constexpr BYTE kCmdErase = 0x03;
constexpr BYTE kCmdToFlash = 0x05;
constexpr BYTE kCmdValidate = 0x16;
constexpr BYTE kCmdCrc = 0x35;
constexpr BYTE kCmdStatus = 0x3A;
constexpr BYTE kKeyedBytesMax = 8;
constexpr USHORT kCrcOffsetBank1 = 0x100;
constexpr DWORD kSegmentSize = 0x10000;

struct Segment
{
    BYTE byWrite;
    BYTE byRead;
    DWORD dwStart;
};
constexpr Segment kSegments[] = {
    {0x04, 0x24, 0x00000}, {0x06, 0x26, 0x10000}, {0x13, 0x33, 0x20000}, {0x14, 0x34, 0x30000}};

/// A key and, where there is data, a first byte of 1 guard what changes the controller.
bool IsKeyed(USHORT usOffset, const BYTE* pData, BYTE cb)
{
    return usOffset == VDCMD_ENABLE_KEY && cb <= kKeyedBytesMax && (cb == 0 || pData[0] == 1);
}

bool CrossesSegment(USHORT usOffset, BYTE cb)
{
    return usOffset + DWORD{cb} > kSegmentSize;
}

} // namespace

std::string CSimPd::Span::Name() const
{
    return "command " + CSimMisuse::Hex(byCommand) + ", offset " + CSimMisuse::Hex(usOffset, 4) +
           ", length " + std::to_string(cb);
}

CSimPd::CSimPd(CSimClock& clock, const SimPdSettings& settings)
    : m_clock(clock), m_banks(settings), m_pEpoch(std::make_shared<int>(0))
{}

SimI2cResult CSimPd::Write(BYTE byCommand, USHORT usOffset, const BYTE* pData, BYTE cb)
{
    return Serve({byCommand, usOffset, cb}, nullptr, pData);
}

SimI2cResult CSimPd::Read(BYTE byCommand, USHORT usOffset, BYTE* pData, BYTE cb)
{
    return Serve({byCommand, usOffset, cb}, pData, nullptr);
}

SimI2cResult CSimPd::Serve(const Span& span, BYTE* pIn, const BYTE* pOut)
{
    if (!m_bOnBus)
        return {SimI2cAnswer::Nak, 0};
    if (const auto fault = m_faults.Next(span.byCommand))
        return ServeFaulty(*fault, span, pIn, pOut);
    const SimI2cAnswer eAnswer = pIn != nullptr ? ServeRead(span, pIn) : ServeWrite(span, pOut);
    return {eAnswer, m_usStretch + m_banks.TakeTime()};
}

SimI2cResult CSimPd::ServeFaulty(const SimFault& fault, const Span& span, BYTE* pIn,
                                 const BYTE* pOut)
{
    const bool bCorrupt = fault.eKind == SimFaultKind::Corrupt && span.cb != 0;
    const bool bLie = fault.eKind == SimFaultKind::Lie;
    std::vector<BYTE> out(pOut, pOut + (pOut != nullptr ? span.cb : 0));
    if (bCorrupt && !out.empty())
        out[fault.dwOffset % span.cb] ^= fault.byMask;
    SimI2cAnswer eAnswer = SimI2cAnswer::Ack;
    const bool bSlow = fault.eKind == SimFaultKind::Slow;
    if ((fault.bActs && !bLie) || bSlow || fault.eKind == SimFaultKind::Corrupt)
        eAnswer = pIn != nullptr ? ServeRead(span, pIn) : ServeWrite(span, out.data());
    if (bCorrupt && pIn != nullptr && eAnswer == SimI2cAnswer::Ack)
        pIn[fault.dwOffset % span.cb] ^= fault.byMask;

    const CSimClock::Micros usTaken = m_usStretch + m_banks.TakeTime();
    switch (fault.eKind) {
    case SimFaultKind::Corrupt:
    case SimFaultKind::Lie:
        return {eAnswer, usTaken};
    case SimFaultKind::Slow:
        return {eAnswer, usTaken + fault.dwLateMs * CSimClock::Micros{1000}};
    case SimFaultKind::TimeOut:
        return {SimI2cAnswer::Stuck, usTaken};
    case SimFaultKind::Vanish:
        PowerDown();
        if (fault.dwBackMs != 0)
            Later(fault.dwBackMs * CSimClock::Micros{1000}, &CSimPd::ComeBack);
        break;
    default:
        break;
    }
    return {SimI2cAnswer::Nak, usTaken};
}

SimI2cAnswer CSimPd::ServeWrite(const Span& span, const BYTE* pData)
{
    for (const Segment& segment : kSegments)
        if (segment.byWrite == span.byCommand)
            return WriteUnit(span, segment.dwStart, pData);
    switch (span.byCommand) {
    case kCmdEnable:
        return SetEnable(span, pData);
    case kCmdErase:
        return EraseFlash(span, pData);
    case kCmdToRom:
        return Reset(span, pData, SimStart::ToRom);
    case kCmdToFlash:
        return Reset(span, pData, SimStart::ToFlash);
    case kCmdValidate:
        return Validate(span);
    default:
        return Misused("unknown write", span);
    }
}

SimI2cAnswer CSimPd::ServeRead(const Span& span, BYTE* pData)
{
    if (span.cb == 0 || span.cb > kReadUnit)
        return Misused("no unit of 1 to 31 bytes", span);
    for (const Segment& segment : kSegments)
        if (segment.byRead == span.byCommand)
            return ReadUnit(span, segment.dwStart, pData);
    switch (span.byCommand) {
    case kCmdStatus:
        return ReadStatus(span, pData);
    case kCmdCrc:
        return ReadCrc(span, pData);
    default:
        return Misused("unknown read", span);
    }
}

SimI2cAnswer CSimPd::SetEnable(const Span& span, const BYTE* pData)
{
    if (!IsKeyed(span.usOffset, pData, span.cb))
        return Misused("enable without its key", span);
    m_banks.SetEnable(span.cb);
    return SimI2cAnswer::Ack;
}

SimI2cAnswer CSimPd::EraseFlash(const Span& span, const BYTE* pData)
{
    if (!IsKeyed(span.usOffset, pData, span.cb))
        return Misused("erase without its key", span);
    return OfVerdict(m_banks.EraseAll(), span);
}

SimI2cAnswer CSimPd::Validate(const Span& span)
{
    if (span.usOffset != 1 || span.cb != 0)
        return Misused("unknown validation", span);
    return OfVerdict(m_banks.Validate(), span);
}

SimI2cAnswer CSimPd::Reset(const Span& span, const BYTE* pData, SimStart eStart)
{
    if (span.cb != 1 || !IsKeyed(span.usOffset, pData, span.cb))
        return Misused("reset without its key", span);
    m_currentReturn = m_nextReturn.value_or(m_return);
    m_nextReturn.reset();
    m_eNextStart = eStart;
    Later(m_currentReturn.usLeave, &CSimPd::Silence);
    return SimI2cAnswer::Ack;
}

SimI2cAnswer CSimPd::WriteUnit(const Span& span, DWORD dwSegment, const BYTE* pData)
{
    if (span.cb == 0 || span.cb > kWriteUnit)
        return Misused("no unit of 1 to 29 bytes", span);
    if (CrossesSegment(span.usOffset, span.cb))
        return Misused("unit over the segment's end", span);
    return OfVerdict(m_banks.Write(dwSegment + span.usOffset, pData, span.cb), span);
}

SimI2cAnswer CSimPd::ReadUnit(const Span& span, DWORD dwSegment, BYTE* pData)
{
    if (CrossesSegment(span.usOffset, span.cb))
        return Misused("unit over the segment's end", span);
    return OfVerdict(m_banks.Read(dwSegment + span.usOffset, pData, span.cb), span);
}

SimI2cAnswer CSimPd::ReadStatus(const Span& span, BYTE* pData)
{
    if (span.usOffset != 0)
        return Misused("unknown status", span);
    const auto status = m_banks.Status();
    std::fill_n(pData, span.cb, BYTE{0});
    std::copy_n(status.begin(), std::min<std::size_t>(span.cb, status.size()), pData);
    return SimI2cAnswer::Ack;
}

SimI2cAnswer CSimPd::ReadCrc(const Span& span, BYTE* pData)
{
    if (span.cb != 1 || (span.usOffset != 0 && span.usOffset != kCrcOffsetBank1))
        return Misused("unknown check", span);
    return OfVerdict(m_banks.CheckCrc(span.usOffset == kCrcOffsetBank1 ? 1 : 0, *pData), span);
}

void CSimPd::LoadImage(const std::vector<BYTE>& image, unsigned nBank)
{
    m_banks.Load(nBank, image);
    Start(SimStart::PowerUp);
}

void CSimPd::PowerUp()
{
    m_eNextStart = SimStart::PowerUp;
    ComeBack();
}

void CSimPd::PowerDown()
{
    m_bOnBus = false;
    m_eNextStart = SimStart::PowerUp;
    m_pEpoch = std::make_shared<int>(0);
}

void CSimPd::LosePowerAt(std::uint64_t nFlashOperation, SimPowerCut eWhen)
{
    m_banks.Flash().LosePowerAt(nFlashOperation, eWhen);
}

void CSimPd::Restore(const CSimPdBanks::Kept& kept, bool bOnBus)
{
    m_pEpoch = std::make_shared<int>(0);
    m_banks.Restore(kept);
    m_bOnBus = bOnBus;
}

SimI2cAnswer CSimPd::Misused(const char* pszReason, const Span& span)
{
    m_misuse.Add(std::string(pszReason) + ": " + span.Name());
    return SimI2cAnswer::Nak;
}

SimI2cAnswer CSimPd::OfVerdict(const SimPdVerdict& verdict, const Span& span)
{
    switch (verdict.eKind) {
    case SimPdVerdict::Kind::Done:
        return SimI2cAnswer::Ack;
    case SimPdVerdict::Kind::Misused:
        return Misused(verdict.pszReason, span);
    case SimPdVerdict::Kind::PowerLost:
        PowerDown();
        break;
    case SimPdVerdict::Kind::Refused:
        break;
    }
    return SimI2cAnswer::Nak;
}

void CSimPd::Start(SimStart eStart)
{
    m_pEpoch = std::make_shared<int>(0);
    m_banks.Start(eStart);
}

void CSimPd::Later(CSimClock::Micros us, void (CSimPd::*pfnWhat)())
{
    m_clock.Schedule(us, [this, pfnWhat, pEpoch = std::weak_ptr<int>(m_pEpoch)] {
        if (!pEpoch.expired())
            (this->*pfnWhat)();
    });
}

void CSimPd::Silence()
{
    m_bOnBus = false;
    if (!m_currentReturn.bNever)
        Later(m_currentReturn.usReturn, &CSimPd::ComeBack);
}

void CSimPd::ComeBack()
{
    m_bOnBus = true;
    Start(m_eNextStart);
}
