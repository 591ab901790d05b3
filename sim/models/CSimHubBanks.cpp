#include "sim/models/CSimHubBanks.h"

#include <algorithm>

CSimHubBanks::CSimHubBanks(DWORD cbBank, bool bDual, SimImageCheck eCheck)
    : m_cbBank(cbBank), m_bDual(bDual), m_eCheck(eCheck), m_flash(bDual ? 2 * cbBank : cbBank)
{}

void CSimHubBanks::Boot(SimStart eStart)
{
    SetWritable(false);
    m_bRunsFlash = false;
    if (eStart == SimStart::ToRom)
        return;
    const bool bSwitch = eStart == SimStart::ToFlash && m_bDual && m_bFresh;
    if (bSwitch && IsComplete(DownloadBank())) {
        m_nActive = DownloadBank();
        m_bFresh = false;
    }
    if (!IsComplete(m_nActive)) {
        if (!m_bDual || !IsComplete(DownloadBank()))
            return;
        m_nActive = DownloadBank();
        m_bFresh = false;
    }
    m_bRunsFlash = true;
}

void CSimHubBanks::SetWritable(bool bWritable)
{
    m_bWritable = bWritable;
    m_erased.clear();
}

SimFlashResult CSimHubBanks::Write(DWORD dwAddr, const BYTE* pData, DWORD cb)
{
    if (dwAddr > m_cbBank || cb > m_cbBank - dwAddr)
        return SimFlashResult::OutOfRange;
    const unsigned nBank = WindowBank();
    if (IsRunning(nBank))
        return SimFlashResult::RunningBank;
    const DWORD dwFlashAddr = nBank * m_cbBank + dwAddr;
    if (m_bDual) {
        const SimFlashResult eErased = EraseAtFirstWrite(dwFlashAddr, cb);
        if (eErased != SimFlashResult::Done)
            return eErased;
        m_bFresh = true; // only now: an old image that nobody touched must not be switched to
    }
    return m_flash.Program(dwFlashAddr, pData, cb);
}

SimFlashResult CSimHubBanks::Erase()
{
    if (!m_bRunsFlash)
        return m_flash.Erase(0, m_flash.Size());
    if (!m_bDual)
        return SimFlashResult::RunningBank;
    m_bFresh = true;
    return m_flash.Erase(DownloadBank() * m_cbBank, m_cbBank);
}

SimFlashResult CSimHubBanks::Read(DWORD dwAddr, BYTE* pData, DWORD cb) const
{
    if (dwAddr > m_cbBank || cb > m_cbBank - dwAddr)
        return SimFlashResult::OutOfRange;
    const BYTE* const pFrom = BankStart(WindowBank()) + dwAddr;
    std::copy(pFrom, pFrom + cb, pData);
    return SimFlashResult::Done;
}

bool CSimHubBanks::IsComplete(unsigned nBank) const
{
    return CSimImage::IsComplete(BankStart(nBank), m_cbBank, m_eCheck);
}

USHORT CSimHubBanks::RunningVersion() const
{
    return CSimImage::VersionOf(BankStart(m_nActive));
}

std::vector<BYTE> CSimHubBanks::Bank(unsigned nBank) const
{
    return {BankStart(nBank), BankStart(nBank) + m_cbBank};
}

void CSimHubBanks::Load(unsigned nBank, const std::vector<BYTE>& image)
{
    std::vector<BYTE> bank(m_cbBank, 0xFF);
    std::copy_n(image.begin(), std::min<std::size_t>(image.size(), m_cbBank), bank.begin());
    m_flash.Load(nBank * m_cbBank, bank.data(), m_cbBank);
}

CSimHubBanks::Kept CSimHubBanks::Keep() const
{
    return {m_flash.Bytes(), m_nActive, m_bFresh, m_bRunsFlash};
}

void CSimHubBanks::Restore(const Kept& kept)
{
    const std::size_t cb = std::min<std::size_t>(kept.flash.size(), m_flash.Size());
    m_flash.Load(0, kept.flash.data(), static_cast<DWORD>(cb));
    m_nActive = m_bDual && kept.nActive == 1 ? 1 : 0;
    m_bFresh = kept.bFresh;
    m_bRunsFlash = kept.bRunsFlash;
    SetWritable(false);
}

unsigned CSimHubBanks::WindowBank() const
{
    return m_bWritable ? DownloadBank() : m_nActive;
}

const BYTE* CSimHubBanks::BankStart(unsigned nBank) const
{
    return m_flash.Bytes().data() + static_cast<std::size_t>(nBank) * m_cbBank;
}

SimFlashResult CSimHubBanks::EraseAtFirstWrite(DWORD dwFlashAddr, DWORD cb)
{
    const DWORD dwFirst = dwFlashAddr / CSimFlash::kSectorSize;
    const DWORD dwEnd = (dwFlashAddr + cb + CSimFlash::kSectorSize - 1) / CSimFlash::kSectorSize;
    for (DWORD dw = dwFirst; dw < dwEnd; ++dw) {
        if (m_erased.count(dw) != 0)
            continue;
        const SimFlashResult eRes =
            m_flash.Erase(dw * CSimFlash::kSectorSize, CSimFlash::kSectorSize);
        if (eRes != SimFlashResult::Done)
            return eRes;
        m_erased.insert(dw);
    }
    return SimFlashResult::Done;
}
