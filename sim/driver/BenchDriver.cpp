#include "sim/driver/BenchDriver.h"

#include "sim/driver/BenchProtocol.h"
#include "sim/driver/CBenchBus.h"
#include "sim/driver/CBenchCaller.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace
{
constexpr size_t kPathHead = 4; // "\\?\", which the system puts in front
constexpr DWORD kErrInvalidFunction = 1;
constexpr DWORD kErrNoAccess = 998;

/// The bus of a running driver, and what the entry needs of it.
struct Bench
{
    std::unique_ptr<IBenchBus> pBus;
    std::vector<WString> paths; ///< by node, empty: no interface

    explicit Bench(std::unique_ptr<IBenchBus> pPlayed) : pBus(std::move(pPlayed))
    {
        for (const auto& pNode : Nodes())
            paths.push_back(pNode->Traits().interfaces.empty()
                                ? WString()
                                : pNode->InterfacePath(0).substr(kPathHead));
    }
    const std::vector<std::unique_ptr<CSimNode>>& Nodes() { return pBus->System().tree.Nodes(); }
};

std::unique_ptr<Bench> g_pBench;

DWORD Advance(const void* pBuffer, DWORD cbIn)
{
    DWORD dwMs = 0;
    if (cbIn != sizeof dwMs)
        return kErrInvalidParameter;
    std::memcpy(&dwMs, pBuffer, sizeof dwMs);
    g_pBench->pBus->System().clock.Advance(CSimClock::Micros{dwMs} * 1000);
    return kErrNone;
}

DWORD Presence(BYTE* pOut, DWORD cbOut, DWORD* pcbDone)
{
    const auto& nodes = g_pBench->Nodes();
    if (cbOut < nodes.size())
        return kErrInsufficientBuffer;
    for (const auto& pNode : nodes)
        *pOut++ = pNode->IsPresent() ? 1 : 0;
    *pcbDone = static_cast<DWORD>(nodes.size());
    return kErrNone;
}

DWORD Log(BYTE* pBuffer, DWORD cbIn, DWORD cbOut, DWORD* pcbDone)
{
    DWORD dwOffset = 0;
    if (cbIn != sizeof dwOffset)
        return kErrInvalidParameter;
    std::memcpy(&dwOffset, pBuffer, sizeof dwOffset);
    std::string strAll;
    for (const std::string& strLine : g_pBench->pBus->System().proxyDriver.Lines())
        strAll += strLine + "\n";
    if (dwOffset < strAll.size()) {
        *pcbDone = static_cast<DWORD>(std::min<size_t>(cbOut, strAll.size() - dwOffset));
        std::memcpy(pBuffer, strAll.data() + dwOffset, *pcbDone);
    }
    return kErrNone;
}

/// Two texts, each with its zero byte and nothing behind.
DWORD Load(const void* pBuffer, DWORD cbIn)
{
    const std::string strBoth(static_cast<const char*>(pBuffer), cbIn);
    const size_t nMiddle = strBoth.find('\0');
    if (nMiddle == std::string::npos || strBoth.find('\0', nMiddle + 1) + 1 != strBoth.size())
        return kErrInvalidParameter;
    try {
        g_pBench = std::make_unique<Bench>(
            LoadBenchBus(strBoth.substr(0, nMiddle), strBoth.c_str() + nMiddle + 1));
        return kErrNone;
    } catch (const std::exception&) {
        return kErrInvalidData;
    }
}

DWORD Keep(const void* pBuffer, DWORD cbIn)
{
    DWORD dwFinal = 0;
    if (cbIn != sizeof dwFinal)
        return kErrInvalidParameter;
    std::memcpy(&dwFinal, pBuffer, sizeof dwFinal);
    g_pBench->pBus->Keep(dwFinal != 0);
    return kErrNone;
}

DWORD BusRequest(DWORD dwCode, void* pBuffer, DWORD cbIn, DWORD cbOut, DWORD* pcbDone)
{
    auto* const pBytes = static_cast<BYTE*>(pBuffer);
    switch (dwCode) {
    case IOCTL_BENCH_ADVANCE:
        return Advance(pBuffer, cbIn);
    case IOCTL_BENCH_PRESENCE:
        return Presence(pBytes, cbOut, pcbDone);
    case IOCTL_BENCH_LOG:
        return Log(pBytes, cbIn, cbOut, pcbDone);
    case IOCTL_BENCH_FORGET_LOG:
        g_pBench->pBus->System().proxyDriver.ClearLog();
        return kErrNone;
    case IOCTL_BENCH_LOAD:
        return Load(pBuffer, cbIn);
    case IOCTL_BENCH_KEEP:
        return Keep(pBuffer, cbIn);
    default:
        return kErrInvalidFunction;
    }
}

DWORD ProxyRequest(DWORD dwProcess, DWORD dwCode, void* pBuffer, DWORD cbIn, DWORD cbOut,
                   DWORD* pcbDone)
{
    CSimSystem& system = g_pBench->pBus->System();
    CBenchCaller caller(system, dwProcess);
    SimControlRequest request = {dwCode, pBuffer, cbIn, pBuffer, cbOut};
    const DWORD dwError = system.proxyDriver.Control(caller, request);
    *pcbDone = request.cbDone;
    return caller.CopyBack() ? dwError : kErrNoAccess;
}
} // namespace

int BenchStart(void)
{
    try {
        g_pBench = std::make_unique<Bench>(std::make_unique<CBenchBus>());
        return 1;
    } catch (const std::exception&) {
        return 0;
    }
}

unsigned BenchNodeCount(void)
{
    return static_cast<unsigned>(g_pBench->Nodes().size());
}

void BenchStop(void)
{
    g_pBench.reset();
}

const WCHAR* BenchNodePath(unsigned nNode)
{
    const WString& strPath = g_pBench->paths.at(nNode);
    return strPath.empty() ? nullptr : strPath.c_str();
}

int BenchNodeIsThere(unsigned nNode)
{
    return g_pBench->Nodes().at(nNode)->IsPresent() ? 1 : 0;
}

DWORD BenchRequest(int bControl, DWORD dwProcess, DWORD dwCode, void* pBuffer, DWORD cbIn,
                   DWORD cbOut, DWORD* pcbDone)
{
    try {
        return bControl != 0 ? BusRequest(dwCode, pBuffer, cbIn, cbOut, pcbDone)
                             : ProxyRequest(dwProcess, dwCode, pBuffer, cbIn, cbOut, pcbDone);
    } catch (const std::exception&) {
        return kErrGenFailure;
    }
}
