#include "bench/CBenchMachine.h"
#include "cmd/CRequestCMD.h"
#include "sim/models/CSimEc.h"
#include "sim/models/CSimSmbusController.h"

#include <benchmark/benchmark.h>
#include <numeric>

// Registers of the embedded controller and blocks on the SMBus, on their models.
namespace
{
constexpr DWORD kImageSize = 0x10000;
constexpr DWORD kEcCommand = 0x66;
constexpr DWORD kEcData = 0x62;
constexpr DWORD kSmbusBase = 0xEFA0;
constexpr BYTE kSmbusDevice = 0x58;
constexpr int kRead = 0;
constexpr int kWrite = 1;

void EcRegisterRead(benchmark::State& state)
{
    CBenchMachine bench(kImageSize);
    CSimEc ec(bench.Machine().Time(), kEcCommand, kEcData);
    bench.Machine().Ports().Claim(kEcCommand, 1, &ec);
    bench.Machine().Ports().Claim(kEcData, 1, &ec);
    ec.Registers()[0x10] = 0x77;
    bench.Machine().Polls().SetLimit(0); // nothing but polls, for a long time
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    BYTE byValue = 0;
    while (state.KeepRunning())
        cmd.ReadGeneralECReg(kEcCommand, kEcData, 0x10, byValue);
    if (byValue != 0x77 || ec.Misuse().Text() != "")
        state.SkipWithError("the register was not read");
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(EcRegisterRead);

/// Argument: the mode.
void SmbusBlock(benchmark::State& state)
{
    CBenchMachine bench(kImageSize);
    CSimMachine& machine = bench.Machine();
    machine.PortDriver().KeepLog(false);
    machine.Polls().SetLimit(0);
    CSimSmbusController controller(machine.Time(), kSmbusBase);
    CSimSmbusMemory device;
    device.Blocks()[0] = std::vector<BYTE>(32, 0x5A);
    controller.Attach(kSmbusDevice, &device);
    machine.Ports().Claim(kSmbusBase, CSimSmbusController::kRegisters, &controller);
    machine.Ports().Claim(CSimSmbusController::kPciAddressPort, CSimSmbusController::kPciPorts,
                          &controller);
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    bool bGood = cmd.XH_InitVoPortDriver(0, 0, 0) != 0;
    BYTE buffer[256];
    std::iota(std::begin(buffer), std::end(buffer), BYTE{0});
    while (bGood && state.KeepRunning()) {
        buffer[0] = 32;
        bGood = cmd.IntelBlockTransByBlk(kSmbusBase, kSmbusDevice, 0, buffer,
                                         static_cast<int>(state.range(0))) == 1;
    }
    if (!bGood || controller.Misuse().Text() != "")
        state.SkipWithError("the block did not move");
    cmd.XH_UnInitVoPortDriver();
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(SmbusBlock)->Arg(kWrite)->Arg(kRead);
} // namespace
