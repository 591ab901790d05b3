#include "tools/zelhub/bench/BenchLabFile.h"

#include "tools/zelhub/input/HexInput.h"

const std::vector<BenchSmbusFaultName> kBenchSmbusFaults = {
    {"dev-err", SimSmbusFault::DevErr}, {"bus-err", SimSmbusFault::BusErr},
    {"failed", SimSmbusFault::Failed},  {"crc", SimSmbusFault::Crc},
    {"hang", SimSmbusFault::Hang},
};

const std::vector<BenchPortDriverName> kBenchPortDrivers = {
    {"loads", BenchPortDriver::Loads},
    {"running", BenchPortDriver::Running},
    {"missing", BenchPortDriver::Missing},
    {"denied", BenchPortDriver::Denied},
};

namespace
{

constexpr DWORD kMaxByte = 0xFF;
constexpr DWORD kMaxPort = 0xFFFF;
constexpr DWORD kMaxAddress = 0xFFFFFFFF;
constexpr DWORD kMaxCount = 1'000'000;
constexpr DWORD kMaxEcMicros = 10'000; ///< slow, but no wait that looks like one without end
constexpr size_t kMaxBlock = 32;

USHORT Port(CJsonObject& object, const char* pszKey, USHORT wDefault)
{
    return static_cast<USHORT>(object.Number(pszKey, 0, kMaxPort, wDefault));
}

BenchSmbusDevice ReadSmbusDevice(CJsonObject object)
{
    BenchSmbusDevice device;
    device.strWhere = object.Pointer();
    device.strId = object.Text("id");
    device.byAddress = static_cast<BYTE>(object.Number("address", 0x10, 0xEE));
    if (device.byAddress % 2 != 0)
        object.Refuse("address", "has to be even: the 8-bit form, twice the 7-bit address");
    device.bNeedsPec = object.Flag("needsPec", false);
    for (const CJsonObject& entry : object.Objects("blocks")) {
        device.blocks.push_back(ReadBenchBytes(entry, "command", kMaxByte));
        if (device.blocks.back().bytes.size() > kMaxBlock)
            entry.Refuse("data", "is longer than a block, which has at most 32 bytes");
    }
    object.Done();
    return device;
}

BenchSmbus ReadSmbus(CJsonObject object)
{
    BenchSmbus smbus;
    smbus.strWhere = object.Pointer();
    smbus.strId = object.Text("id");
    smbus.dwBase = static_cast<DWORD>(object.Number("base", 0x100, 0xFFF0, smbus.dwBase));
    if (smbus.dwBase % CSimSmbusController::kRegisters != 0)
        object.Refuse("base", "has to be a multiple of 16");
    smbus.bPresent = object.Flag("present", true);
    smbus.nCorruptReads = static_cast<unsigned>(object.Number("corruptReads", 0, kMaxCount, 0));
    for (const CJsonObject& entry : object.Objects("faults"))
        smbus.faults.push_back(ReadBenchSmbusFault(entry));
    for (const CJsonObject& entry : object.Objects("devices"))
        smbus.devices.push_back(ReadSmbusDevice(entry));
    object.Done();
    return smbus;
}

BenchEc ReadEc(CJsonObject object)
{
    BenchEc ec;
    ec.strWhere = object.Pointer();
    ec.strId = object.Text("id");
    ec.wCommandPort = Port(object, "commandPort", ec.wCommandPort);
    ec.wDataPort = Port(object, "dataPort", ec.wDataPort);
    ec.usTake = object.Number("takeUs", 0, kMaxEcMicros, ec.usTake);
    ec.usAnswer = object.Number("answerUs", 0, kMaxEcMicros, ec.usAnswer);
    ec.bBurst = object.Flag("burst", false);
    ec.bHangs = object.Flag("hangs", false);
    for (const CJsonObject& entry : object.Objects("registers")) {
        ec.registers.push_back(ReadBenchBytes(entry, "register", kMaxByte, true));
        if (ec.registers.back().dwFrom + ec.registers.back().bytes.size() > kMaxByte + 1)
            entry.Refuse("data", "goes beyond register 0xFF");
    }
    object.Done();
    return ec;
}

} // namespace

std::vector<BYTE> ReadBenchHex(CJsonObject& object, const char* pszKey)
{
    std::optional<std::vector<BYTE>> bytes = ParseHexBytes(object.Text(pszKey));
    if (!bytes)
        object.Refuse(pszKey, "has to be hex bytes such as \"01 2A FF\"");
    return std::move(*bytes);
}

BenchBytes ReadBenchBytes(CJsonObject object, const char* pszFrom, DWORD dwMost,
                          bool bMayBeReadOnly)
{
    BenchBytes bytes;
    bytes.dwFrom = static_cast<DWORD>(object.Number(pszFrom, 0, dwMost));
    bytes.bytes = ReadBenchHex(object, "data");
    bytes.bReadOnly = bMayBeReadOnly && object.Flag("readOnly", false);
    object.Done();
    return bytes;
}

BenchSmbusFault ReadBenchSmbusFault(CJsonObject object)
{
    BenchSmbusFault fault;
    fault.nTransaction = static_cast<unsigned>(object.Number("transaction", 0, kMaxCount, 0));
    fault.eKind = object.Named("kind", object.Text("kind"), kBenchSmbusFaults).eKind;
    object.Done();
    return fault;
}

BenchPortDriver ReadBenchPortDriver(CJsonObject& object)
{
    return object.Named("portDriver", object.Text("portDriver", "loads"), kBenchPortDrivers).eState;
}

void ReadBenchLab(CJsonObject& object, BenchLab& lab)
{
    if (object.Has("smbus"))
        lab.smbus = ReadSmbus(object.Object("smbus"));
    if (object.Has("ec"))
        lab.ec = ReadEc(object.Object("ec"));
    for (const CJsonObject& entry : object.Objects("memory")) {
        lab.memory.push_back(ReadBenchBytes(entry, "address", kMaxAddress, true));
        const BenchBytes& bytes = lab.memory.back();
        if (bytes.bytes.size() - 1 > kMaxAddress - bytes.dwFrom)
            entry.Refuse("data", "goes beyond address 0xFFFFFFFF");
    }
}
