// Bench files: whatever stands in them is read, or refused with a word; a machine that was
// accepted can be built.
#include "fuzz/Demand.h"
#include "tools/zelhub/bench/BenchLabState.h"
#include "tools/zelhub/bench/CBenchFile.h"
#include "tools/zelhub/bench/CBenchMachine.h"
#include "tools/zelhub/output/Failure.h"

namespace
{
/// Their images are made from numbers, not read from other files.
template<typename Chips>
bool AreBuilt(const Chips& chips)
{
    for (const auto& chip : chips)
        for (const auto* pImage : {&chip.image, &chip.secondImage})
            if (*pImage && !(*pImage)->strFile.empty())
                return false;
    return true;
}

/// Nothing that would fill the memory or read other files.
bool IsModest(const BenchDescription& bench)
{
    constexpr DWORD kMostBytes = 0x40000;
    constexpr std::size_t kMostThings = 20;
    DWORD cbFlash = 0;
    for (const BenchHub& hub : bench.hubs) {
        cbFlash += hub.cbFlash;
        if (hub.cbFlash > kMostBytes || hub.cbI2cMemory > kMostBytes)
            return false;
    }
    const std::size_t nOnSmbus = bench.lab.smbus ? bench.lab.smbus->devices.size() : 0;
    return cbFlash <= 4 * kMostBytes &&
           bench.hubs.size() + bench.foreignHubs.size() + bench.devices.size() + bench.hids.size() +
                   bench.pds.size() + bench.billboards.size() + nOnSmbus <=
               kMostThings &&
           AreBuilt(bench.hubs) && AreBuilt(bench.pds) && AreBuilt(bench.billboards);
}

/// What a bench holds besides its devices, a state can keep and bring back.
void KeepLab(CBenchMachine& machine)
{
    auto document = nlohmann::ordered_json::object();
    SaveBenchLab(document, machine.Lab());
    const JsonSource source{"state", document.dump()};
    const nlohmann::json kept = ParseJson(source);
    CJsonObject object(source, kept, "");
    LoadBenchLab(object, machine.Lab());
    object.Done();
    auto again = nlohmann::ordered_json::object();
    SaveBenchLab(again, machine.Lab());
    Demand(again == document, "a state brings back what it kept");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* pData, std::size_t cb)
{
    const JsonSource source{"fuzz.json", std::string(pData, pData + cb)};
    bool bBuilt = false;
    try {
        BenchDescription bench = CBenchFile::Parse(source);
        if (!IsModest(bench))
            return 0;
        CBenchMachine machine(std::move(bench));
        machine.StartEvents();
        machine.Settle();
        for (const std::string& strId : machine.Ids())
            Demand(machine.Knows(strId), "a listed thing is known");
        bBuilt = true;
        KeepLab(machine);
    } catch (const CToolError& error) {
        Demand(!bBuilt, "a bench takes its own state");
        Demand(error.Get().eCode == ExitCode::Usage, "a bad file is a mistake of its writer");
        Demand(!error.Get().strWhat.empty(), "a refusal says why");
    }
    return 0;
}
