// Bench files: whatever stands in them is read, or refused with a word; a machine that was
// accepted can be built.
#include "fuzz/Demand.h"
#include "tools/zelhub/CBenchFile.h"
#include "tools/zelhub/CBenchMachine.h"
#include "tools/zelhub/Failure.h"

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
    DWORD cbFlash = 0;
    for (const BenchHub& hub : bench.hubs) {
        cbFlash += hub.cbFlash;
        if (hub.cbFlash > 0x40000 || hub.cbI2cMemory > 0x40000)
            return false;
        for (const auto* pImage : {&hub.image, &hub.secondImage}) {
            if (*pImage && (!(*pImage)->strFile.empty() || (*pImage)->cbSize > 0x40000))
                return false;
        }
    }
    return cbFlash <= 0x100000 &&
           bench.hubs.size() + bench.devices.size() + bench.pds.size() + bench.billboards.size() <=
               20 &&
           AreBuilt(bench.pds) && AreBuilt(bench.billboards);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* pData, std::size_t cb)
{
    const JsonSource source{"fuzz.json", std::string(pData, pData + cb)};
    try {
        BenchDescription bench = CBenchFile::Parse(source);
        if (!IsModest(bench))
            return 0;
        CBenchMachine machine(std::move(bench));
        machine.StartEvents();
        machine.Settle();
        for (const std::string& strId : machine.Ids())
            Demand(machine.Knows(strId), "a listed thing is known");
    } catch (const CToolError& error) {
        Demand(error.Get().eCode == ExitCode::Usage, "a bad file is a mistake of its writer");
        Demand(!error.Get().strWhat.empty(), "a refusal says why");
    }
    return 0;
}
