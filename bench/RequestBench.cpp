#include "bench/CBenchMachine.h"
#include "bench/CNullResponder.h"
#include "cmd/CRequestCMD.h"
#include "msg/CMsg.h"
#include "wire/HubRequests.h"
#include "wire/ProxyIoctl.h"

#include <benchmark/benchmark.h>
#include <cstring>

// What the library adds to one request: the same transfer through the command object, and by
// handing the proxy driver a request that was made ready once.
namespace
{
constexpr DWORD kImageSize = 0x10000;

/// Opens the hub and reads cb bytes of its flash, so that the driver's log has the request.
SimProxyRecord OneRead(CBenchMachine& bench, std::vector<BYTE>& buffer)
{
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    cmd.XH_OpenDevice(bench.Node().DevInst());
    cmd.KyHub_VdCmdEnable(VDCMD_ENABLE_READ_ERASE);
    bench.Machine().Driver().KeepLog(true);
    const DWORD dwStatus =
        cmd.KyHub_ReadFlash2(0, buffer.data(), static_cast<DWORD>(buffer.size()));
    bench.Machine().Driver().KeepLog(false);
    if (dwStatus != 0)
        return {};
    return bench.Machine().Driver().Log().back();
}

void LibraryRequest(benchmark::State& state)
{
    CBenchMachine bench(kImageSize);
    std::vector<BYTE> buffer(static_cast<size_t>(state.range(0)));
    if (OneRead(bench, buffer).in.empty())
        state.SkipWithError("the hub could not be read");
    CNullResponder responder;
    for (int i = 0; i < state.range(1); ++i)
        CMsg::GetObj()->Attach(&responder);
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    while (state.KeepRunning())
        cmd.KyHub_ReadFlash2(0, buffer.data(), static_cast<DWORD>(buffer.size()));
    CMsg::GetObj()->ClearResponder();
}
BENCHMARK(LibraryRequest)->Args({20, 0})->Args({4096, 0})->Args({20, 1})->Args({4096, 1});

void BareRequest(benchmark::State& state)
{
    CBenchMachine bench(kImageSize);
    std::vector<BYTE> buffer(static_cast<size_t>(state.range(0)));
    SimProxyRecord record = OneRead(bench, buffer);
    if (record.in.empty())
        state.SkipWithError("the hub could not be read");
    PROXY_URB_REQUEST request = {};
    if (record.in.size() >= sizeof request)
        std::memcpy(&request, record.in.data(), sizeof request);
    URB urb = {};
    request.urbAddress = reinterpret_cast<uintptr_t>(&urb);
    record.urb.Transfer.TransferBuffer = reinterpret_cast<uintptr_t>(buffer.data());
    IDeviceFile& files = CurrentPlatform().DeviceFile();
    const HANDLE hDriver =
        files.Open(WTEXT("\\\\.\\ZelUpx"), kGenericRead | kGenericWrite, 0, kOpenExisting, 0);
    while (state.KeepRunning()) {
        urb = record.urb; // the driver writes into it
        DWORD cbDone = 0;
        if (!files.Control(hDriver, IOCTL_KYPROXY_SEND_URB, &request, sizeof request, nullptr, 0,
                           &cbDone)) {
            state.SkipWithError("the driver refused the request");
            break;
        }
    }
    files.Close(hDriver);
}
BENCHMARK(BareRequest)->Arg(20)->Arg(4096);

void Copy(benchmark::State& state)
{
    std::vector<BYTE> from(static_cast<size_t>(state.range(0)), BYTE{1});
    std::vector<BYTE> to(from.size());
    while (state.KeepRunning()) {
        std::memcpy(to.data(), from.data(), from.size());
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Copy)->Arg(20)->Arg(4096);
} // namespace
