#include "bench/CNullResponder.h"
#include "bench/CPdBench.h"
#include "bench/CProcessorTime.h"
#include "cmd/CRequestCMD.h"
#include "msg/CMsg.h"
#include "wire/HubRequests.h"
#include "wire/ProxyIoctl.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstring>

// A PD controller behind a hub: a whole update beside the bare model with the same requests, and
// one unit of it beside the request that it becomes.
namespace
{
constexpr BYTE kWriteUnit = 0x13; ///< the first segment of the second bank
constexpr DWORD kUnitTimeoutMs = 20000;

bool IsBlock(const SimProxyRecord& record)
{
    return record.bUrb &&
           (record.setup.bRequest == REQ_BLOCK_OUT || record.setup.bRequest == REQ_BLOCK_IN);
}

void AttachTimes(IResponder& responder, std::int64_t nTimes)
{
    for (std::int64_t i = 0; i < nTimes; ++i)
        CMsg::GetObj()->Attach(&responder);
}

/// Argument: how many null responders listen.
void PdUpdate(benchmark::State& state)
{
    const std::vector<BYTE> image = CPdBench::NewImage();
    CNullResponder responder;
    while (state.KeepRunning()) {
        CPdBench bench;
        const unsigned nBefore = bench.Bench().Machine().Driver().Transfers();
        AttachTimes(responder, state.range(0));
        const CProcessorTime time;
        const bool bDone = bench.Update(image);
        state.SetIterationTime(time.Seconds());
        CMsg::GetObj()->ClearResponder();
        state.counters["requests"] = bench.Bench().Machine().Driver().Transfers() - nBefore;
        if (!bDone) {
            state.SkipWithError("the update failed");
            break;
        }
    }
}
BENCHMARK(PdUpdate)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseManualTime();

/// The block transfers that one update sends.
std::vector<SimProxyRecord> BlocksOfAnUpdate()
{
    CPdBench bench;
    CSimProxyDriver& driver = bench.Bench().Machine().Driver();
    driver.KeepLog(true);
    std::vector<SimProxyRecord> blocks;
    if (bench.Update(CPdBench::NewImage())) {
        for (const SimProxyRecord& record : driver.Log()) {
            if (IsBlock(record))
                blocks.push_back(record);
        }
    }
    return blocks;
}

void PdBareModel(benchmark::State& state)
{
    std::vector<SimProxyRecord> blocks = BlocksOfAnUpdate();
    if (blocks.empty())
        state.SkipWithError("the update failed");
    while (state.KeepRunning()) {
        CSimClock clock;
        CSimHub hub(clock, CBenchMachine::Settings(0x10000));
        CSimPd pd(clock);
        pd.LoadImage(CPdBench::OldImage());
        hub.AttachI2cTarget(CPdBench::kAddress, &pd);
        const CProcessorTime time;
        for (SimProxyRecord& block : blocks) {
            while (clock.AnythingScheduled()) // the controller restarts
                clock.AdvanceTo(clock.NextEvent());
            hub.Control(block.setup, block.data.data(), block.dwTimeoutMs);
        }
        state.SetIterationTime(time.Seconds());
        if (!pd.Runs(CPdBench::NewImage())) {
            state.SkipWithError("the requests did not update the model");
            break;
        }
    }
}
BENCHMARK(PdBareModel)->Unit(benchmark::kMillisecond)->UseManualTime();

/// Writes a unit; the same data again is accepted.
DWORD WriteUnit(CPdBench& bench, BYTE* pUnit)
{
    return bench.Device().BlockOutTrans(bench.Device().GetDeviceAttr(), kWriteUnit, 0, pUnit,
                                        CSimPd::kWriteUnit, kUnitTimeoutMs);
}

/// Argument: how many null responders listen.
void PdUnit(benchmark::State& state)
{
    CPdBench bench;
    BYTE unit[CSimPd::kWriteUnit] = {};
    if (!bench.Device().MP_Vdcmdenable(3) || WriteUnit(bench, unit) != 0)
        state.SkipWithError("the controller could not be written");
    CNullResponder responder;
    AttachTimes(responder, state.range(0));
    while (state.KeepRunning())
        WriteUnit(bench, unit);
    CMsg::GetObj()->ClearResponder();
}
BENCHMARK(PdUnit)->Arg(0)->Arg(1);

void PdBareUnit(benchmark::State& state)
{
    CPdBench bench;
    CSimProxyDriver& driver = bench.Bench().Machine().Driver();
    BYTE unit[CSimPd::kWriteUnit] = {};
    if (!bench.Device().MP_Vdcmdenable(3))
        state.SkipWithError("the controller could not be written");
    driver.KeepLog(true);
    (void)WriteUnit(bench, unit);
    driver.KeepLog(false);
    SimProxyRecord record = driver.Log().back();
    PROXY_URB_REQUEST request = {};
    std::memcpy(&request, record.in.data(), std::min(sizeof request, record.in.size()));
    URB urb = {};
    request.urbAddress = reinterpret_cast<uintptr_t>(&urb);
    record.urb.Transfer.TransferBuffer = reinterpret_cast<uintptr_t>(record.data.data());
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
BENCHMARK(PdBareUnit);
} // namespace
