#include "tools/zelhub/bench/BenchLabState.h"

#include "tools/zelhub/bench/BenchLabFile.h"
#include "tools/zelhub/output/COutput.h"

#include <algorithm>

using nlohmann::ordered_json;

namespace
{

constexpr DWORD kMaxByte = 0xFF;
constexpr DWORD kMaxAddress = 0xFFFFFFFF;
constexpr DWORD kMaxCount = 1'000'000;

ordered_json SmbusJson(CBenchLab& lab)
{
    ordered_json smbus = {{"corruptReads", lab.Smbus()->CorruptReads()}};
    smbus["faults"] = ordered_json::array();
    for (const BenchSmbusFault& fault : lab.PendingSmbusFaults())
        for (const BenchSmbusFaultName& name : kBenchSmbusFaults)
            if (name.eKind == fault.eKind)
                smbus["faults"].push_back(
                    {{"transaction", fault.nTransaction}, {"kind", name.pszName}});
    smbus["devices"] = ordered_json::array();
    for (const auto& [strId, pDevice] : lab.SmbusDevices()) {
        ordered_json blocks = ordered_json::array();
        for (const auto& [byCommand, data] : pDevice->Blocks())
            if (!data.empty())
                blocks.push_back(
                    {{"command", byCommand}, {"data", HexBytes(data.data(), data.size())}});
        smbus["devices"].push_back({{"id", strId}, {"blocks", blocks}});
    }
    return smbus;
}

/// The bytes that were written, in runs.
ordered_json MemoryJson(const CSimAddressSpace& memory)
{
    ordered_json runs = ordered_json::array();
    std::vector<BYTE> run;
    ULONGLONG from = 0;
    const auto close = [&] {
        if (!run.empty())
            runs.push_back({{"address", from}, {"data", HexBytes(run.data(), run.size())}});
        run.clear();
    };
    for (const auto& [address, by] : memory.Bytes()) {
        if (address != from + run.size())
            close();
        if (run.empty())
            from = address;
        run.push_back(by);
    }
    close();
    return runs;
}

void LoadSmbus(CJsonObject object, CBenchLab& lab)
{
    if (lab.Smbus() == nullptr)
        object.Refuse("this bench has no SMBus controller: this state belongs to another");
    lab.Smbus()->CorruptBufferReads(
        static_cast<unsigned>(object.Number("corruptReads", 0, kMaxCount, 0)));
    std::vector<BenchSmbusFault> faults;
    for (const CJsonObject& entry : object.Objects("faults"))
        faults.push_back(ReadBenchSmbusFault(entry));
    lab.SetSmbusFaults(faults);
    for (CJsonObject& entry : object.Objects("devices")) {
        const auto it = lab.SmbusDevices().find(entry.Text("id"));
        if (it == lab.SmbusDevices().end())
            entry.Refuse("id", "names no SMBus device: this state belongs to another bench");
        it->second->Blocks().clear();
        for (const CJsonObject& block : entry.Objects("blocks")) {
            BenchBytes bytes = ReadBenchBytes(block, "command", kMaxByte);
            it->second->Blocks()[static_cast<BYTE>(bytes.dwFrom)] = std::move(bytes.bytes);
        }
        entry.Done();
    }
    object.Done();
}

void LoadEc(CJsonObject object, CBenchLab& lab)
{
    if (lab.Ec() == nullptr)
        object.Refuse("this bench has no embedded controller: this state belongs to another");
    const std::vector<BYTE> registers = ReadBenchHex(object, "registers");
    if (registers.size() != lab.Ec()->Registers().size())
        object.Refuse("registers", "has to have 256 bytes");
    std::copy(registers.begin(), registers.end(), lab.Ec()->Registers().begin());
    object.Done();
}

} // namespace

void SaveBenchLab(ordered_json& document, CBenchLab& lab)
{
    if (lab.Smbus() != nullptr)
        document["smbus"] = SmbusJson(lab);
    if (lab.Ec() != nullptr)
        document["ec"] = {
            {"registers", HexBytes(lab.Ec()->Registers().data(), lab.Ec()->Registers().size())}};
    if (!lab.Memory().Bytes().empty())
        document["memory"] = MemoryJson(lab.Memory());
}

void LoadBenchLab(CJsonObject& object, CBenchLab& lab)
{
    if (object.Has("smbus"))
        LoadSmbus(object.Object("smbus"), lab);
    if (object.Has("ec"))
        LoadEc(object.Object("ec"), lab);
    for (const CJsonObject& entry : object.Objects("memory")) {
        const BenchBytes run = ReadBenchBytes(entry, "address", kMaxAddress);
        for (size_t i = 0; i < run.bytes.size(); ++i)
            lab.Memory().PutByte(ULONGLONG{run.dwFrom} + i, run.bytes[i]);
    }
}
