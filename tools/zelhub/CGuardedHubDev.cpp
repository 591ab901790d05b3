#include "tools/zelhub/CGuardedHubDev.h"

#include "cmd/CRequestCMD.h"
#include "tools/zelhub/COutput.h"
#include "wire/HubRequests.h"

#include <algorithm>

void CGuardedHubDev::BeginPhase(Phase ePhase)
{
    m_facts.ePhase = ePhase;
    if (m_hooks.step)
        m_hooks.step(ePhase, 0);
}

bool CGuardedHubDev::Stopped()
{
    // Once flash is touched, going on is the safest way out.
    if (m_facts.FlashTouched() || !m_hooks.wantsToStop || !m_hooks.wantsToStop())
        return false;
    m_facts.bInterrupted = true;
    return true;
}

void CGuardedHubDev::Noted(Phase ePhase)
{
    constexpr int kUnderWay = 1;
    if (m_hooks.step)
        m_hooks.step(ePhase, kUnderWay);
}

bool CGuardedHubDev::Complain(bool bDone)
{
    if (!bDone && m_hooks.transferError)
        m_facts.strTransferError = m_hooks.transferError();
    return bDone;
}

bool CGuardedHubDev::Reset2RomEx()
{
    BeginPhase(Phase::ResetToRom);
    if (Stopped())
        return false;
    m_facts.bReset = CHubDev::Reset2RomEx();
    Noted(Phase::ResetToRom);
    return Complain(m_facts.bReset);
}

bool CGuardedHubDev::DevEraseEx()
{
    BeginPhase(Phase::Erase);
    if (Stopped())
        return false;
    m_facts.bEraseBegun = true;
    Noted(Phase::Erase);
    m_facts.bErased = CHubDev::DevEraseEx();
    return Complain(m_facts.bErased);
}

bool CGuardedHubDev::WriteFlashEx(const std::vector<BYTE>& vFw)
{
    BeginPhase(Phase::Write);
    if (Stopped())
        return false;
    m_facts.bWriteBegun = true;
    Noted(Phase::Write);
    m_facts.bWritten = CHubDev::WriteFlashEx(vFw);
    return Complain(m_facts.bWritten);
}

bool CGuardedHubDev::StrictReadBack()
{
    const std::vector<BYTE>& image = GetFwBuf();
    const auto cb = static_cast<DWORD>(image.size());
    std::vector<BYTE> chunk;
    for (DWORD dw = 0; dw < cb; dw += FLASH_REQUEST_MAX) {
        const DWORD cbChunk = std::min<DWORD>(FLASH_REQUEST_MAX, cb - dw);
        // Bytes that the transfer leaves alone must not pass: each begins as its opposite.
        chunk.assign(image.begin() + dw, image.begin() + dw + cbChunk);
        for (BYTE& by : chunk)
            by = static_cast<BYTE>(~by);
        const DWORD dwRes = CRequestCMD::GetRequestObj()->KyHub_ReadFlash2(m_dwFlashAddr + dw,
                                                                           chunk.data(), cbChunk);
        if (dwRes != 0) {
            m_facts.strCheckError = "flash cannot be read at offset " + Hex(dw, 6) + " (error " +
                                    std::to_string(dwRes) + ")";
            return Complain(false);
        }
        const auto its = std::mismatch(chunk.begin(), chunk.end(), image.begin() + dw);
        if (its.first != chunk.end()) {
            const auto dwAt = dw + static_cast<DWORD>(its.first - chunk.begin());
            m_facts.difference = FirstDifference{dwAt, *its.second, *its.first};
            return false;
        }
        if (m_hooks.step)
            m_hooks.step(Phase::Verify, static_cast<int>(100ULL * (dw + cbChunk) / cb));
    }
    return cb != 0;
}

bool CGuardedHubDev::CheckFlashWithCmp()
{
    if (!m_bReadBack) { // not when the hub's own check falls back on this one
        BeginPhase(Phase::Verify);
        if (!StrictReadBack())
            return false;
    }
    m_facts.bVerified = CHubDev::CheckFlashWithCmp();
    return Complain(m_facts.bVerified);
}

bool CGuardedHubDev::CheckFlashInFlash()
{
    BeginPhase(Phase::Verify);
    if (!StrictReadBack())
        return false;
    m_bReadBack = true;
    m_facts.bVerified = CHubDev::CheckFlashInFlash();
    m_bReadBack = false;
    if (!m_facts.bVerified)
        m_facts.strCheckError = "every byte is right, but the hub's own check of the image failed";
    return Complain(m_facts.bVerified);
}

bool CGuardedHubDev::Reset2FlashEx()
{
    BeginPhase(Phase::ResetToFlash);
    m_facts.bStarted = CHubDev::Reset2FlashEx();
    Noted(Phase::ResetToFlash);
    return Complain(m_facts.bStarted);
}
