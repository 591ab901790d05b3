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
    CBenchBus bus;
    std::vector<WString> paths; ///< by node, empty: no interface

    Bench()
    {
        for (const auto& pNode : Nodes())
            paths.push_back(pNode->Spec().interfaces.empty()
                                ? WString()
                                : pNode->InterfacePath(0).substr(kPathHead));
    }
    const std::vector<std::unique_ptr<CSimNode>>& Nodes() { return bus.System()->tree.Nodes(); }
};

std::unique_ptr<Bench> g_pBench;

DWORD Advance(const void* pBuffer, DWORD cbIn)
{
    DWORD dwMs = 0;
    if (cbIn != sizeof dwMs)
        return kErrInvalidParameter;
    std::memcpy(&dwMs, pBuffer, sizeof dwMs);
    g_pBench->bus.System()->clock.Advance(CSimClock::Micros{dwMs} * 1000);
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
    for (const std::string& strLine : g_pBench->bus.System()->proxyDriver.Lines())
        strAll += strLine + "\n";
    if (dwOffset < strAll.size()) {
        *pcbDone = static_cast<DWORD>(std::min<size_t>(cbOut, strAll.size() - dwOffset));
        std::memcpy(pBuffer, strAll.data() + dwOffset, *pcbDone);
    }
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
        g_pBench->bus.System()->proxyDriver.ClearLog();
        return kErrNone;
    default:
        return kErrInvalidFunction;
    }
}

DWORD ProxyRequest(DWORD dwProcess, DWORD dwCode, void* pBuffer, DWORD cbIn, DWORD cbOut,
                   DWORD* pcbDone)
{
    CSimSystem& system = *g_pBench->bus.System();
    CBenchCaller caller(system, dwProcess);
    SimControlRequest request = {dwCode, pBuffer, cbIn, pBuffer, cbOut};
    const DWORD dwError = system.proxyDriver.Control(caller, request);
    *pcbDone = request.cbDone;
    return caller.CopyBack() ? dwError : kErrNoAccess;
}
} // namespace

unsigned BenchStart(void)
{
    try {
        g_pBench = std::make_unique<Bench>();
        return static_cast<unsigned>(g_pBench->Nodes().size());
    } catch (const std::exception&) {
        return 0;
    }
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
