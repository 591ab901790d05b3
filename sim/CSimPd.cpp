#include "sim/CSimPd.h"

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
constexpr unsigned kEnableErase = 1;
constexpr unsigned kEnableWrite = 3;
constexpr BYTE kEnableBytesMax = 8;
constexpr USHORT kCrcOffsetBank1 = 0x100;
constexpr DWORD kSegmentSize = 0x10000;
constexpr DWORD kMarkLength = 2;

constexpr BYTE kStatus13Isp = 0x08;
constexpr BYTE kStatus13Crc = 0x04;
constexpr BYTE kStatus14Bank1 = 0x10;

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
    return usOffset == VDCMD_ENABLE_KEY && (cb == 0 || pData[0] == 1);
}

bool CrossesSegment(USHORT usOffset, BYTE cb)
{
    return usOffset + DWORD{cb} > kSegmentSize;
}

} // namespace

std::string CSimPd::Span::Name(bool bWrite) const
{
    return std::string(bWrite ? "write " : "read ") + CSimMisuse::Hex(byCommand) + ", offset " +
           CSimMisuse::Hex(usOffset, 4) + ", length " + std::to_string(cb);
}

CSimPd::CSimPd(CSimClock& clock, const SimPdSettings& settings)
    : m_clock(clock), m_settings(settings), m_flash(2 * kBankSize)
{
    Start(SimStart::PowerUp);
}

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
    const auto fault = m_faults.Next(span.byCommand);
    const bool bLie = fault && fault->eKind == SimFaultKind::Lie;
    const bool bCorrupt = fault && fault->eKind == SimFaultKind::Corrupt && span.cb != 0;
    const bool bActs = !fault || fault->bActs || fault->eKind == SimFaultKind::Corrupt;
    std::vector<BYTE> out(pOut, pOut + (pOut != nullptr ? span.cb : 0));
    if (bCorrupt && !out.empty())
        out[fault->dwOffset % span.cb] ^= fault->byMask;

    m_usWork = m_usStretch;
    SimI2cAnswer eAnswer = SimI2cAnswer::Ack;
    if (bActs && !bLie)
        eAnswer = pIn != nullptr ? ServeRead(span, pIn) : ServeWrite(span, out.data());
    const SimI2cResult res = {eAnswer, m_usWork + m_flash.TakeTime()};
    if (bCorrupt && pIn != nullptr && eAnswer == SimI2cAnswer::Ack)
        pIn[fault->dwOffset % span.cb] ^= fault->byMask;
    if (!fault || bLie || fault->eKind == SimFaultKind::Corrupt)
        return res;
    if (fault->eKind == SimFaultKind::TimeOut)
        return {SimI2cAnswer::Stuck, res.usTaken};
    if (fault->eKind == SimFaultKind::Vanish) {
        PowerDown();
        if (fault->dwBackMs != 0)
            Later(fault->dwBackMs * CSimClock::Micros{1000}, &CSimPd::ComeBack);
    }
    return {SimI2cAnswer::Nak, res.usTaken};
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
        return Misused("unknown " + span.Name(true));
    }
}

SimI2cAnswer CSimPd::ServeRead(const Span& span, BYTE* pData)
{
    if (span.cb == 0 || span.cb > kReadUnit)
        return Misused("no unit of 1 to 31 bytes: " + span.Name(false));
    for (const Segment& segment : kSegments)
        if (segment.byRead == span.byCommand)
            return ReadUnit(span, segment.dwStart, pData);
    switch (span.byCommand) {
    case kCmdStatus:
        return ReadStatus(span, pData);
    case kCmdCrc:
        return ReadCrc(span, pData);
    default:
        return Misused("unknown " + span.Name(false));
    }
}

SimI2cAnswer CSimPd::SetEnable(const Span& span, const BYTE* pData)
{
    if (!IsKeyed(span.usOffset, pData, span.cb) || span.cb > kEnableBytesMax)
        return Misused("enable without its key: " + span.Name(true));
    m_nEnable = span.cb;
    m_bOtherIsGood = false;
    m_erased.assign(m_flash.Size() / CSimFlash::kSectorSize, false);
    return SimI2cAnswer::Ack;
}

SimI2cAnswer CSimPd::EraseFlash(const Span& span, const BYTE* pData)
{
    if (!IsKeyed(span.usOffset, pData, span.cb) || span.cb > kEnableBytesMax)
        return Misused("erase without its key: " + span.Name(true));
    if (m_nEnable != kEnableErase)
        return Misused("erase without enable 1: " + span.Name(true));
    m_bOtherIsGood = false;
    if (!m_bRunsFlash)
        return OfFlash(m_flash.Erase(0, m_flash.Size()), "erase");
    m_bFresh = false;
    return OfFlash(m_flash.Erase((1 - m_nActive) * kBankSize, kBankSize), "erase");
}

SimI2cAnswer CSimPd::Validate(const Span& span)
{
    if (!m_bRunsFlash || !m_settings.bIspValidation)
        return Misused("no code here that validates: " + span.Name(true));
    if (m_nEnable == 0)
        return Misused("validation without enable: " + span.Name(true));
    if (span.usOffset != 1 || span.cb != 0)
        return Misused("unknown validation: " + span.Name(true));
    m_usWork += m_settings.usCheck;
    if (!IsComplete(1 - m_nActive))
        return SimI2cAnswer::Nak;
    return OfFlash(SetMark(m_nActive), "mark");
}

SimI2cAnswer CSimPd::Reset(const Span& span, const BYTE* pData, SimStart eStart)
{
    if (span.cb != 1 || !IsKeyed(span.usOffset, pData, span.cb))
        return Misused("reset without its key: " + span.Name(true));
    m_currentReturn = m_nextReturn.value_or(m_settings.ret);
    m_nextReturn.reset();
    m_eNextStart = eStart;
    Later(m_currentReturn.usLeave, &CSimPd::Silence);
    return SimI2cAnswer::Ack;
}

SimI2cAnswer CSimPd::WriteUnit(const Span& span, DWORD dwSegment, const BYTE* pData)
{
    const DWORD dwAddr = dwSegment + span.usOffset;
    const unsigned nBank = dwAddr / kBankSize;
    if (span.cb == 0 || span.cb > kWriteUnit)
        return Misused("no unit of 1 to 29 bytes: " + span.Name(true));
    if (CrossesSegment(span.usOffset, span.cb))
        return Misused("unit over the segment's end: " + span.Name(true));
    if (m_nEnable != kEnableWrite)
        return Misused("flash write without enable 3: " + span.Name(true));
    if (IsRunning(nBank)) {
        if (!IsMark(dwAddr, pData, span.cb))
            return Misused("flash write where code runs from: " + span.Name(true));
        if (!m_bOtherIsGood)
            return Misused("mark before the other bank's CRC was read as good: " + span.Name(true));
        return OfFlash(SetMark(nBank), "mark");
    }
    m_bOtherIsGood = false;
    SimFlashResult eRes = EraseAtFirstWrite(dwAddr, span.cb);
    if (eRes == SimFlashResult::Done) {
        m_bFresh = m_bFresh || nBank != m_nActive;
        eRes = m_flash.Program(dwAddr, pData, span.cb);
    }
    return OfFlash(eRes, span.Name(true));
}

SimI2cAnswer CSimPd::ReadUnit(const Span& span, DWORD dwSegment, BYTE* pData)
{
    if (CrossesSegment(span.usOffset, span.cb))
        return Misused("unit over the segment's end: " + span.Name(false));
    std::copy_n(m_flash.Bytes().begin() + dwSegment + span.usOffset, span.cb, pData);
    return SimI2cAnswer::Ack;
}

SimI2cAnswer CSimPd::ReadStatus(const Span& span, BYTE* pData)
{
    if (span.usOffset != 0)
        return Misused("unknown status: " + span.Name(false));
    auto status = m_settings.status;
    const auto set = [&status](std::size_t nByte, BYTE byMask, bool bOn) {
        status[nByte] = static_cast<BYTE>((status[nByte] & ~byMask) | (bOn ? byMask : 0));
    };
    status[0] = m_bRunsFlash ? 1 : 0;
    status[3] = static_cast<BYTE>(Version() >> 8);
    status[4] = static_cast<BYTE>(Version() & 0xFF);
    set(13, kStatus13Isp, m_bRunsFlash && m_settings.bIspValidation);
    set(13, kStatus13Crc, m_bRunsFlash && m_settings.bCrcCheck);
    set(14, kStatus14Bank1, m_bRunsFlash && m_nActive == 1);
    std::fill_n(pData, span.cb, BYTE{0});
    std::copy_n(status.begin(), std::min<std::size_t>(span.cb, status.size()), pData);
    return SimI2cAnswer::Ack;
}

SimI2cAnswer CSimPd::ReadCrc(const Span& span, BYTE* pData)
{
    if (!m_bRunsFlash || !m_settings.bCrcCheck)
        return Misused("no code here that checks: " + span.Name(false));
    if (span.cb != 1 || (span.usOffset != 0 && span.usOffset != kCrcOffsetBank1))
        return Misused("unknown check: " + span.Name(false));
    const unsigned nBank = span.usOffset == kCrcOffsetBank1 ? 1 : 0;
    const std::vector<BYTE> bank = Bank(nBank);
    const bool bImage = CSimImage::IsComplete(bank.data(), kBankSize, SimImageCheck::NotBlank);
    const BYTE byFound = IsComplete(nBank) ? kCrcGood : bImage ? kCrcBad : kCrcNoImage;
    m_usWork += m_settings.usCheck;
    *pData = m_nextCrcResult.value_or(byFound);
    m_nextCrcResult.reset();
    m_bOtherIsGood = nBank != m_nActive && *pData == kCrcGood;
    return SimI2cAnswer::Ack;
}

void CSimPd::LoadImage(const std::vector<BYTE>& image, unsigned nBank)
{
    std::vector<BYTE> bank(kBankSize, 0xFF);
    std::copy_n(image.begin(), std::min<std::size_t>(image.size(), kBankSize), bank.begin());
    m_flash.Load(nBank * kBankSize, bank.data(), kBankSize);
    Start(SimStart::PowerUp);
}

void CSimPd::PowerUp()
{
    m_bOnBus = true;
    Start(SimStart::PowerUp);
}

void CSimPd::PowerDown()
{
    m_bOnBus = false;
    m_eNextStart = SimStart::PowerUp;
    m_pEpoch = std::make_shared<int>(0);
}

void CSimPd::LosePowerAt(std::uint64_t nFlashOperation, SimPowerCut eWhen)
{
    m_flash.LosePowerAt(nFlashOperation, eWhen);
}

USHORT CSimPd::Version() const
{
    if (!m_bRunsFlash)
        return m_settings.usRomVersion;
    return CSimImage::VersionOf(m_flash.Bytes().data() + m_nActive * kBankSize);
}

bool CSimPd::Runs(const std::vector<BYTE>& image) const
{
    std::vector<BYTE> bank = Bank(m_nActive);
    if (!m_bRunsFlash || image.size() > bank.size() || image.size() < CSimImage::kMinSize)
        return false;
    std::copy_n(image.begin() + CSimImage::kMarkAt, kMarkLength,
                bank.begin() + CSimImage::kMarkAt);
    return std::equal(image.begin(), image.end(), bank.begin());
}

std::vector<BYTE> CSimPd::Bank(unsigned nBank) const
{
    const auto itFirst = m_flash.Bytes().begin() + nBank * kBankSize;
    return {itFirst, itFirst + kBankSize};
}

bool CSimPd::IsComplete(unsigned nBank) const
{
    return CSimImage::IsComplete(m_flash.Bytes().data() + nBank * kBankSize, kBankSize,
                                 m_settings.eImageCheck);
}

bool CSimPd::IsMarked(unsigned nBank) const
{
    const BYTE* const p = m_flash.Bytes().data() + nBank * kBankSize + CSimImage::kMarkAt;
    return p[0] == 0 && p[1] == 0;
}

CSimPd::Kept CSimPd::Keep() const
{
    return {m_flash.Bytes(), m_nActive, m_bFresh, m_bRunsFlash, m_bOnBus};
}

void CSimPd::Restore(const Kept& kept)
{
    const std::size_t cb = std::min<std::size_t>(kept.flash.size(), m_flash.Size());
    m_flash.Load(0, kept.flash.data(), static_cast<DWORD>(cb));
    Start(SimStart::ToRom);
    m_nActive = kept.nActive == 1 ? 1 : 0;
    m_bFresh = kept.bFresh;
    m_bRunsFlash = kept.bRunsFlash;
    m_bOnBus = kept.bOnBus;
}

SimI2cAnswer CSimPd::Misused(const std::string& reason)
{
    m_misuse.Add(reason);
    return SimI2cAnswer::Nak;
}

SimI2cAnswer CSimPd::OfFlash(SimFlashResult eRes, const std::string& what)
{
    switch (eRes) {
    case SimFlashResult::Done:
        return SimI2cAnswer::Ack;
    case SimFlashResult::WouldSetBits:
        return Misused("would set bits: " + what);
    case SimFlashResult::OutOfRange:
    case SimFlashResult::RunningBank:
        return Misused("outside of the flash: " + what);
    case SimFlashResult::PowerLost:
        break;
    }
    PowerDown();
    return SimI2cAnswer::Nak;
}

bool CSimPd::IsMark(DWORD dwAddr, const BYTE* pData, BYTE cb) const
{
    return dwAddr % kBankSize == CSimImage::kMarkAt && cb == kMarkLength && pData[0] == 0 &&
           pData[1] == 0;
}

SimFlashResult CSimPd::EraseAtFirstWrite(DWORD dwAddr, DWORD cb)
{
    const DWORD dwEnd = (dwAddr + cb - 1) / CSimFlash::kSectorSize;
    for (DWORD dw = dwAddr / CSimFlash::kSectorSize; dw <= dwEnd; ++dw) {
        if (m_erased[dw])
            continue;
        const SimFlashResult eRes =
            m_flash.Erase(dw * CSimFlash::kSectorSize, CSimFlash::kSectorSize);
        if (eRes != SimFlashResult::Done)
            return eRes;
        m_erased[dw] = true;
    }
    return SimFlashResult::Done;
}

SimFlashResult CSimPd::SetMark(unsigned nBank)
{
    const BYTE mark[kMarkLength] = {0, 0};
    return m_flash.Program(nBank * kBankSize + CSimImage::kMarkAt, mark, kMarkLength);
}

void CSimPd::Start(SimStart eStart)
{
    m_pEpoch = std::make_shared<int>(0);
    m_nEnable = 0;
    m_bOtherIsGood = false;
    m_erased.assign(m_flash.Size() / CSimFlash::kSectorSize, false);
    m_bRunsFlash = false;
    if (eStart == SimStart::ToRom)
        return;
    if (MovesToOther(eStart)) {
        m_nActive = 1 - m_nActive;
        m_bFresh = false;
    }
    m_bRunsFlash = IsComplete(m_nActive);
}

bool CSimPd::MovesToOther(SimStart eStart) const
{
    const unsigned nOther = 1 - m_nActive;
    if (!IsComplete(nOther))
        return false;
    if (!IsComplete(m_nActive))
        return true;
    if (IsMarked(m_nActive) != IsMarked(nOther))
        return IsMarked(m_nActive);
    const bool bMarks = m_settings.bIspValidation || m_settings.bCrcCheck;
    return !bMarks && m_bFresh && eStart == SimStart::ToFlash;
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
