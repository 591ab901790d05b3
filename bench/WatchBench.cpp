#include "find/CHubFind.h"
#include "sim/machine/CSimMachine.h"

#include <benchmark/benchmark.h>

namespace
{
/// One watch cycle of a finder with as many hubs on the machine as the argument says; nothing
/// comes or goes.
void WatchCycle(benchmark::State& state)
{
    CSimMachine machine;
    SetCurrentPlatform(&machine);
    for (int i = 0; i < state.range(0); ++i)
        machine.Tree().AddHub(machine.RootHub(), static_cast<unsigned>(i + 1), {});
    {
        CHubFind finder;
        finder.WatchAllDevs(); // the first cycle sees every hub arrive
        while (state.KeepRunning())
            finder.WatchAllDevs();
    }
    SetCurrentPlatform(nullptr);
}
BENCHMARK(WatchCycle)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
} // namespace
