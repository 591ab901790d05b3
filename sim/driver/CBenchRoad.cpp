#include "sim/driver/CBenchRoad.h"

#include "sim/driver/BenchControl.h"

void CBenchRoad::CRoadClock::Sleep(DWORD dwMs)
{
    m_road.m_machine.Clock().Sleep(dwMs);
    DWORD cbDone = 0;
    BenchControl(m_road.m_real, IOCTL_BENCH_ADVANCE, &dwMs, sizeof dwMs, nullptr, 0, &cbDone);
}

DWORD CBenchRoad::Load(const std::string& strFile, const std::string& strState)
{
    const std::string strBoth = strFile + '\0' + strState + '\0';
    DWORD cbDone = 0;
    return BenchControlError(m_real, IOCTL_BENCH_LOAD, strBoth.data(),
                             static_cast<DWORD>(strBoth.size()), nullptr, 0, &cbDone);
}

bool CBenchRoad::Keep(bool bFinal)
{
    const DWORD dwFinal = bFinal ? 1 : 0;
    DWORD cbDone = 0;
    return BenchControl(m_real, IOCTL_BENCH_KEEP, &dwFinal, sizeof dwFinal, nullptr, 0, &cbDone);
}

std::string CBenchRoad::RequestLog()
{
    std::string strAll;
    std::vector<char> piece(0x4000);
    for (;;) {
        const auto dwOffset = static_cast<DWORD>(strAll.size());
        DWORD cbDone = 0;
        if (!BenchControl(m_real, IOCTL_BENCH_LOG, &dwOffset, sizeof dwOffset, piece.data(),
                          static_cast<DWORD>(piece.size()), &cbDone) ||
            cbDone == 0)
            return strAll;
        strAll.append(piece.data(), cbDone);
    }
}

void CBenchRoad::ForgetRequests()
{
    DWORD cbDone = 0;
    BenchControl(m_real, IOCTL_BENCH_FORGET_LOG, nullptr, 0, nullptr, 0, &cbDone);
}
