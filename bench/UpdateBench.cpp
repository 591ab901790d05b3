#include "bench/CBenchMachine.h"
#include "bench/CHeapMeter.h"
#include "bench/CNullResponder.h"
#include "flow/CUniversalFlow.h"
#include "msg/CLogResponder.h"
#include "msg/CMsg.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

// A whole update, and the bare model that gets the control requests of one.
namespace
{
constexpr USHORT kNewVersion = 0x0200;
enum Listener
{
    NOBODY,
    NULL_RESPONDER,
    LOG_FILE
};

std::string ImageFile(DWORD cbImage)
{
    const auto path = std::filesystem::temp_directory_path() /
                      ("zelhub-bench-" + std::to_string(cbImage) + ".bin");
    const std::vector<BYTE> image = CBenchMachine::Image(cbImage, kNewVersion);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(image.data()),
               static_cast<std::streamsize>(image.size()));
    return path.string();
}

std::unique_ptr<IResponder> MakeListener(Listener eListener)
{
    if (eListener == NULL_RESPONDER)
        return std::make_unique<CNullResponder>();
    if (eListener == LOG_FILE)
        return std::make_unique<CLogResponder>();
    return nullptr;
}

bool UpdateOnce(CBenchMachine& bench, const std::string& sImage)
{
    CUniversalFlow flow(&bench.Finder(), &bench.Device());
    return flow.InitFwFinder(sImage) && flow.DevUpdate();
}

void Update(benchmark::State& state)
{
    const DWORD cbImage = static_cast<DWORD>(state.range(0)) * 1024;
    const std::string sImage = ImageFile(cbImage);
    const std::vector<BYTE> image = CBenchMachine::Image(cbImage, kNewVersion);
    const std::unique_ptr<IResponder> pListener =
        MakeListener(static_cast<Listener>(state.range(1)));
    std::size_t nPeak = 0;
    unsigned nTransfers = 0;
    while (state.KeepRunning()) {
        state.PauseTiming();
        auto pBench = std::make_unique<CBenchMachine>(cbImage);
        if (pListener != nullptr)
            CMsg::GetObj()->Attach(pListener.get());
        const CHeapMeter meter;
        state.ResumeTiming();

        const bool bDone = UpdateOnce(*pBench, sImage);

        state.PauseTiming();
        nPeak = std::max(nPeak, meter.Peak());
        nTransfers = pBench->Machine().Driver().Transfers();
        CMsg::GetObj()->ClearResponder();
        if (!bDone || !pBench->Hub().Runs(image))
            state.SkipWithError("the update failed");
        pBench.reset();
        state.ResumeTiming();
    }
    state.counters["peak"] = static_cast<double>(nPeak);
    state.counters["requests"] = nTransfers;
    (void)std::filesystem::remove(sImage);
}
BENCHMARK(Update)
    ->ArgsProduct({{64, 256, 1024}, {NOBODY, NULL_RESPONDER, LOG_FILE}})
    ->Unit(benchmark::kMillisecond);

/// The requests that one update sends to the hub.
std::vector<SimProxyRecord> RequestsOfAnUpdate(DWORD cbImage)
{
    const std::string sImage = ImageFile(cbImage);
    CBenchMachine bench(cbImage);
    bench.Machine().Driver().KeepLog(true);
    std::vector<SimProxyRecord> requests;
    if (UpdateOnce(bench, sImage)) {
        for (const SimProxyRecord& record : bench.Machine().Driver().Log()) {
            if (record.bUrb)
                requests.push_back(record);
        }
    }
    (void)std::filesystem::remove(sImage);
    return requests;
}

void BareModel(benchmark::State& state)
{
    const DWORD cbImage = static_cast<DWORD>(state.range(0)) * 1024;
    std::vector<SimProxyRecord> requests = RequestsOfAnUpdate(cbImage);
    if (requests.empty())
        state.SkipWithError("the update failed");
    while (state.KeepRunning()) {
        state.PauseTiming();
        CSimClock clock;
        auto pHub = std::make_unique<CSimHub>(clock, CBenchMachine::Settings(cbImage));
        pHub->LoadImage(CBenchMachine::Image(cbImage, 0x0100));
        state.ResumeTiming();

        for (SimProxyRecord& request : requests) {
            while (clock.AnythingScheduled()) // a restarting hub leaves the bus and returns
                clock.AdvanceTo(clock.NextEvent());
            pHub->Control(request.setup, request.data.data(), request.dwTimeoutMs);
        }

        state.PauseTiming();
        if (!pHub->Banks().Flash().Operations())
            state.SkipWithError("the model was not written");
        pHub.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BareModel)->Arg(64)->Arg(256)->Arg(1024)->Unit(benchmark::kMillisecond);
} // namespace
