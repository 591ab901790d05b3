#include "sim/models/CSimPdBanks.h"

#include <algorithm>
#include <utility>

namespace
{

using Kind = SimPdVerdict::Kind;

constexpr DWORD kMarkLength = 2;
constexpr BYTE kStatus13Isp = 0x08;
constexpr BYTE kStatus13Crc = 0x04;
constexpr BYTE kStatus14Bank1 = 0x10;

SimPdVerdict Misused(const char* pszReason)
{
    return {Kind::Misused, pszReason};
}

SimPdVerdict OfFlash(SimFlashResult eRes)
{
    switch (eRes) {
    case SimFlashResult::Done:
        return {};
    case SimFlashResult::WouldSetBits:
        return Misused("flash write would set bits");
    case SimFlashResult::OutOfRange:
    case SimFlashResult::RunningBank:
        return Misused("outside of the flash");
    case SimFlashResult::PowerLost:
        break;
    }
    return {Kind::PowerLost, ""};
}

bool IsMark(DWORD dwAddr, const BYTE* pData, DWORD cb)
{
    return dwAddr % CSimPdBanks::kBankSize == CSimImage::kMarkAt && cb == kMarkLength &&
           pData[0] == 0 && pData[1] == 0;
}

} // namespace

CSimPdBanks::CSimPdBanks(const SimPdSettings& settings)
    : m_settings(settings), m_flash(2 * kBankSize)
{
    Start(SimStart::PowerUp);
}

void CSimPdBanks::Start(SimStart eStart)
{
    SetEnable(0);
    m_bRunsFlash = false;
    if (eStart == SimStart::ToRom)
        return;
    if (MovesToOther(eStart)) {
        m_nActive = 1 - m_nActive;
        m_bFresh = false;
    }
    m_bRunsFlash = IsComplete(m_nActive);
}

void CSimPdBanks::SetEnable(unsigned nLevel)
{
    m_nEnable = nLevel;
    m_bOtherIsGood = false;
    m_erased.assign(m_flash.Size() / CSimFlash::kSectorSize, false);
}

SimPdVerdict CSimPdBanks::Write(DWORD dwAddr, const BYTE* pData, DWORD cb)
{
    if (m_nEnable != kEnableWrite)
        return Misused("flash write without enable 3");
    if (dwAddr >= m_flash.Size() || cb > m_flash.Size() - dwAddr)
        return Misused("outside of the flash");
    const unsigned nBank = dwAddr / kBankSize;
    if (IsRunning(nBank) || IsRunning((dwAddr + cb - 1) / kBankSize))
        return WriteRunning(dwAddr, pData, cb);
    m_bOtherIsGood = false;
    const SimFlashResult eErased = EraseAtFirstWrite(dwAddr, cb);
    if (eErased != SimFlashResult::Done)
        return OfFlash(eErased);
    m_bFresh = m_bFresh || nBank != m_nActive;
    return OfFlash(m_flash.Program(dwAddr, pData, cb));
}

SimPdVerdict CSimPdBanks::WriteRunning(DWORD dwAddr, const BYTE* pData, DWORD cb)
{
    if (!IsMark(dwAddr, pData, cb))
        return Misused("flash write where code runs from");
    if (!m_bOtherIsGood)
        return Misused("mark before the other bank's CRC was read as good");
    return OfFlash(SetMark(m_nActive));
}

SimPdVerdict CSimPdBanks::Read(DWORD dwAddr, BYTE* pData, DWORD cb) const
{
    if (dwAddr > m_flash.Size() || cb > m_flash.Size() - dwAddr)
        return {Kind::Refused, ""};
    std::copy_n(m_flash.Bytes().begin() + dwAddr, cb, pData);
    return {};
}

SimPdVerdict CSimPdBanks::EraseAll()
{
    if (m_bRunsFlash)
        return EraseBank(1 - m_nActive);
    if (m_nEnable != kEnableErase)
        return Misused("erase without enable 1");
    m_bFresh = false;
    return OfFlash(m_flash.Erase(0, m_flash.Size()));
}

SimPdVerdict CSimPdBanks::EraseBank(unsigned nBank)
{
    if (m_nEnable != kEnableErase)
        return Misused("erase without enable 1");
    if (IsRunning(nBank))
        return Misused("erase where code runs from");
    m_bOtherIsGood = false;
    return OfFlash(m_flash.Erase(nBank * kBankSize, kBankSize));
}

SimPdVerdict CSimPdBanks::Validate()
{
    if (!m_bRunsFlash || !m_settings.bIspValidation)
        return Misused("no code here that validates");
    if (m_nEnable == 0)
        return Misused("validation without enable");
    m_usTaken += m_settings.usCheck;
    if (!IsComplete(1 - m_nActive))
        return {Kind::Refused, ""};
    return OfFlash(SetMark(m_nActive));
}

SimPdVerdict CSimPdBanks::CheckCrc(unsigned nBank, BYTE& byResult)
{
    if (!m_bRunsFlash || !m_settings.bCrcCheck)
        return Misused("no code here that checks");
    const bool bImage = CSimImage::IsComplete(BankStart(nBank), kBankSize, SimImageCheck::NotBlank);
    const BYTE byFound = IsComplete(nBank) ? kCrcGood : bImage ? kCrcBad : kCrcNoImage;
    m_usTaken += m_settings.usCheck;
    byResult = m_nextCrcResult.value_or(byFound);
    m_nextCrcResult.reset();
    m_bOtherIsGood = nBank != m_nActive && byResult == kCrcGood;
    return {};
}

std::array<BYTE, 20> CSimPdBanks::Status() const
{
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
    return status;
}

void CSimPdBanks::Load(unsigned nBank, const std::vector<BYTE>& image)
{
    std::vector<BYTE> bank(kBankSize, 0xFF);
    std::copy_n(image.begin(), std::min<std::size_t>(image.size(), kBankSize), bank.begin());
    m_flash.Load(nBank * kBankSize, bank.data(), kBankSize);
}

CSimClock::Micros CSimPdBanks::TakeTime()
{
    return std::exchange(m_usTaken, 0) + m_flash.TakeTime();
}

USHORT CSimPdBanks::Version() const
{
    return m_bRunsFlash ? CSimImage::VersionOf(BankStart(m_nActive)) : m_settings.usRomVersion;
}

bool CSimPdBanks::Runs(const std::vector<BYTE>& image) const
{
    if (!m_bRunsFlash || image.size() > kBankSize || image.size() < CSimImage::kMinSize)
        return false;
    std::vector<BYTE> bank = Bank(m_nActive);
    std::copy_n(image.begin() + CSimImage::kMarkAt, kMarkLength, bank.begin() + CSimImage::kMarkAt);
    return std::equal(image.begin(), image.end(), bank.begin());
}

std::vector<BYTE> CSimPdBanks::Bank(unsigned nBank) const
{
    return {BankStart(nBank), BankStart(nBank) + kBankSize};
}

bool CSimPdBanks::IsComplete(unsigned nBank) const
{
    return CSimImage::IsComplete(BankStart(nBank), kBankSize, m_settings.eImageCheck);
}

bool CSimPdBanks::IsMarked(unsigned nBank) const
{
    const BYTE* const p = BankStart(nBank) + CSimImage::kMarkAt;
    return p[0] == 0 && p[1] == 0;
}

CSimPdBanks::Kept CSimPdBanks::Keep() const
{
    return {m_flash.Bytes(), m_nActive, m_bFresh, m_bRunsFlash};
}

void CSimPdBanks::Restore(const Kept& kept)
{
    const std::size_t cb = std::min<std::size_t>(kept.flash.size(), m_flash.Size());
    m_flash.Load(0, kept.flash.data(), static_cast<DWORD>(cb));
    SetEnable(0);
    m_nActive = kept.nActive == 1 ? 1 : 0;
    m_bFresh = kept.bFresh;
    m_bRunsFlash = kept.bRunsFlash;
}

const BYTE* CSimPdBanks::BankStart(unsigned nBank) const
{
    return m_flash.Bytes().data() + std::size_t{nBank} * kBankSize;
}

SimFlashResult CSimPdBanks::EraseAtFirstWrite(DWORD dwAddr, DWORD cb)
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

SimFlashResult CSimPdBanks::SetMark(unsigned nBank)
{
    const BYTE mark[kMarkLength] = {0, 0};
    return m_flash.Program(nBank * kBankSize + CSimImage::kMarkAt, mark, kMarkLength);
}

bool CSimPdBanks::MovesToOther(SimStart eStart) const
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
