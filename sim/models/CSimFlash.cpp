#include "sim/models/CSimFlash.h"

#include <algorithm>

namespace
{

constexpr BYTE kWeakBits = 0xA5; // what an interrupted operation leaves undone in its last byte

} // namespace

SimFlashResult CSimFlash::Program(DWORD dwAddr, const BYTE* pData, DWORD cb)
{
    if (!Inside(dwAddr, cb))
        return SimFlashResult::OutOfRange;
    BYTE* const pCell = m_bytes.data() + dwAddr;
    for (DWORD i = 0; i < cb; ++i)
        if ((pData[i] & ~pCell[i]) != 0)
            return SimFlashResult::WouldSetBits;

    const auto eCut = Count();
    if (eCut == SimPowerCut::Before)
        return SimFlashResult::PowerLost;
    const DWORD cbDone = eCut == SimPowerCut::Middle ? cb / 2 : cb;
    if (!std::equal(pData, pData + cb, pCell))
        m_usTaken += kPageProgramMicros * ((cbDone + kPageSize - 1) / kPageSize);
    std::copy(pData, pData + cbDone, pCell);
    if (eCut == SimPowerCut::Middle && cbDone < cb)
        pCell[cbDone] = static_cast<BYTE>(pData[cbDone] | (pCell[cbDone] & kWeakBits));
    return eCut ? SimFlashResult::PowerLost : SimFlashResult::Done;
}

SimFlashResult CSimFlash::Erase(DWORD dwAddr, DWORD cb)
{
    if (!Inside(dwAddr, cb) || dwAddr % kSectorSize != 0 || cb % kSectorSize != 0)
        return SimFlashResult::OutOfRange;
    const auto eCut = Count();
    if (eCut == SimPowerCut::Before)
        return SimFlashResult::PowerLost;
    const DWORD cbDone = eCut == SimPowerCut::Middle ? cb / 2 : cb;
    const auto itFirst = m_bytes.begin() + dwAddr;
    std::fill(itFirst, itFirst + cbDone, BYTE{0xFF});
    if (eCut == SimPowerCut::Middle && cbDone < cb)
        m_bytes[dwAddr + cbDone] |= kWeakBits;
    m_usTaken += kSectorEraseMicros * (cb / kSectorSize);
    return eCut ? SimFlashResult::PowerLost : SimFlashResult::Done;
}

void CSimFlash::Load(DWORD dwAddr, const BYTE* pData, DWORD cb)
{
    if (Inside(dwAddr, cb))
        std::copy(pData, pData + cb, m_bytes.begin() + dwAddr);
}

CSimClock::Micros CSimFlash::TakeTime()
{
    return std::exchange(m_usTaken, 0);
}

std::optional<SimPowerCut> CSimFlash::Count()
{
    const std::uint64_t n = m_nOperations++;
    if (!m_cut || m_cut->n != n)
        return std::nullopt;
    const SimPowerCut eWhen = m_cut->eWhen;
    m_cut.reset();
    return eWhen;
}

bool CSimFlash::Inside(DWORD dwAddr, DWORD cb) const
{
    return dwAddr <= m_bytes.size() && cb <= m_bytes.size() - dwAddr;
}
