#include "tools/zelhub/devices/CGuardedPdDev.h"

#include <algorithm>

namespace
{

constexpr std::array<BYTE, 4> kReadCommands = {0x24, 0x26, 0x33, 0x34}; ///< by segment of flash
constexpr DWORD kSegmentSize = 0x10000;
constexpr DWORD kTimeoutMs = 5000;
constexpr BYTE kPattern = 0xA5;

} // namespace

DWORD CGuardedPdDev::BlockInTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset,
                                  BYTE* pData, BYTE byLen, DWORD dwTimeoutMs)
{
    m_dwReadError = CI2CPdDev::BlockInTrans(attr, byCommand, wOffset, pData, byLen, dwTimeoutMs);
    return m_dwReadError;
}

bool CGuardedPdDev::MP_GetICStatus(BYTE* pBuf, BYTE byLen)
{
    std::vector<BYTE> first(byLen, kPattern);
    std::vector<BYTE> second(byLen, static_cast<BYTE>(~kPattern));
    const bool bRead = CI2CPdDev::MP_GetICStatus(first.data(), byLen) &&
                       CI2CPdDev::MP_GetICStatus(second.data(), byLen) && first == second;
    if (bRead)
        std::copy(first.begin(), first.end(), pBuf);
    return bRead;
}

bool CGuardedPdDev::Reset2RomEx()
{
    if (!m_facts.bDualBank)
        return CGuardedDev::Reset2RomEx();
    BeginPhase(Phase::ResetToRom);
    m_facts.strCheckError = "the " + m_facts.strDevice + " did not say from which bank it runs";
    return Complain(false);
}

DWORD CGuardedPdDev::ReadFlash(DWORD dwAddr, BYTE* pBuf, DWORD cb)
{
    while (cb != 0) {
        const DWORD cbUnit = std::min({kUnit, cb, kSegmentSize - dwAddr % kSegmentSize});
        const BYTE byCommand = kReadCommands[std::min<size_t>(dwAddr / kSegmentSize, 3)];
        const DWORD dwRes = BlockInTrans(m_attr, byCommand, static_cast<USHORT>(dwAddr), pBuf,
                                         static_cast<BYTE>(cbUnit), kTimeoutMs);
        if (dwRes != 0)
            return dwRes;
        dwAddr += cbUnit;
        pBuf += cbUnit;
        cb -= cbUnit;
    }
    return 0;
}

void CGuardedPdDev::CompareBank(unsigned nBank, bool bMarkMayBeSet)
{
    m_dwFlashAddr = nBank * kBankSize;
    m_bMarkMayBeSet = bMarkMayBeSet;
}

DWORD CGuardedPdDev::ReadPiece(DWORD dwOffset, BYTE* pBuf, DWORD cb)
{
    return ReadFlash(m_dwFlashAddr + dwOffset, pBuf, cb);
}

bool CGuardedPdDev::Excuses(DWORD dwOffset, BYTE byDevice) const
{
    return m_bMarkMayBeSet && dwOffset >= kMarkAt && dwOffset < kMarkAt + kMarkLength &&
           byDevice == 0;
}
