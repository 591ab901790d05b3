#include "bench/CBenchMachine.h"
#include "bench/CHeapMeter.h"
#include "bench/CNullResponder.h"
#include "bench/CProcessorTime.h"
#include "flow/CUniversalFlow.h"
#include "msg/CLogResponder.h"
#include "msg/CMsg.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <memory>

// A whole update, and the bare model that gets the control requests of one.
namespace
{
constexpr USHORT kOldVersion = 0x0100;
constexpr USHORT kNewVersion = 0x0200;
constexpr CSimClock::Micros kSettleMicros = 50'000;

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

/// What the update's own waits do: the chip settles, a restarting one leaves and returns.
void LetTimePass(CSimClock& clock)
{
    clock.Advance(kSettleMicros);
    while (clock.AnythingScheduled())
        clock.AdvanceTo(clock.NextEvent());
}

/// Arguments: KiB of the image, who listens.
void Update(benchmark::State& state)
{
    const DWORD cbImage = static_cast<DWORD>(state.range(0)) * 1024;
    const std::string sImage = ImageFile(cbImage);
    const std::vector<BYTE> image = CBenchMachine::Image(cbImage, kNewVersion);
    std::size_t nPeak = 0;
    while (state.KeepRunning()) {
        CBenchMachine bench(cbImage);
        const std::unique_ptr<IResponder> pListener =
            MakeListener(static_cast<Listener>(state.range(1)));
        if (pListener != nullptr)
            CMsg::GetObj()->Attach(pListener.get());

        const CHeapMeter meter;
        const CProcessorTime time;
        const bool bDone = UpdateOnce(bench, sImage);
        state.SetIterationTime(time.Seconds());
        nPeak = std::max(nPeak, meter.Peak());

        CMsg::GetObj()->ClearResponder();
        state.counters["requests"] = bench.Machine().Driver().Transfers();
        if (!bDone || !bench.Hub().Runs(image)) {
            state.SkipWithError("the update failed");
            break;
        }
    }
    state.counters["peak"] = static_cast<double>(nPeak);
    (void)std::filesystem::remove(sImage);
}
BENCHMARK(Update)
    ->ArgsProduct({{64, 256, 1024}, {NOBODY, NULL_RESPONDER, LOG_FILE}})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();

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
        CSimClock clock;
        CSimHub hub(clock, CBenchMachine::Settings(cbImage));
        hub.LoadImage(CBenchMachine::Image(cbImage, kOldVersion));

        const CProcessorTime time;
        for (SimProxyRecord& request : requests) {
            LetTimePass(clock);
            hub.Control(request.setup, request.data.data(), request.dwTimeoutMs);
        }
        state.SetIterationTime(time.Seconds());

        if (!hub.Runs(CBenchMachine::Image(cbImage, kNewVersion))) {
            state.SkipWithError("the requests did not update the model");
            break;
        }
    }
}
BENCHMARK(BareModel)->Arg(64)->Arg(256)->Arg(1024)->Unit(benchmark::kMillisecond)->UseManualTime();
} // namespace
