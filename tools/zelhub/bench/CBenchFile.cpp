#include "tools/zelhub/bench/CBenchFile.h"

#include "sim/models/CSimHidDevice.h"
#include "tools/zelhub/bench/BenchChecks.h"
#include "tools/zelhub/bench/BenchLabFile.h"
#include "tools/zelhub/output/COutput.h"
#include "tools/zelhub/output/Failure.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace
{

constexpr unsigned long long kSchema = 1;
constexpr unsigned long long kMaxWord = 0xFFFF;
constexpr unsigned long long kMaxDword = 0xFFFFFFFE;
constexpr unsigned long long kMaxPort = 255;
constexpr unsigned long long kMaxMs = 3'600'000;
constexpr unsigned long long kMaxFlash = 16 * 1024 * 1024;
constexpr CSimClock::Micros kMicrosPerMs = 1000;

DWORD Instance(CJsonObject& object, const char* pszKey)
{
    return static_cast<DWORD>(object.Number(pszKey, 1, kMaxDword, 0));
}

BenchImage ReadImage(CJsonObject object, const std::filesystem::path& folder)
{
    BenchImage image;
    const std::string strFile = object.Text("file", "");
    if (!strFile.empty())
        image.strFile = (folder / strFile).string();
    image.wVersion = static_cast<USHORT>(object.Number("version", 0, kMaxWord, image.wVersion));
    image.wChipId = static_cast<USHORT>(object.Number("chip", 0, kMaxWord, image.wChipId));
    image.cbSize =
        static_cast<DWORD>(object.Number("size", CSimImage::kMinSize, kMaxFlash, image.cbSize));
    image.dwSeed = static_cast<DWORD>(object.Number("seed", 0, kMaxDword, image.dwSeed));
    object.Done();
    return image;
}

void ReadNode(CJsonObject& object, BenchNode& node, USHORT wVid, USHORT wPid)
{
    node.strWhere = object.Pointer();
    node.strId = object.Text("id");
    node.strParent = object.Text("parent");
    node.nPort = static_cast<unsigned>(object.Number("port", 1, kMaxPort));
    node.wVid = static_cast<USHORT>(object.Number("vid", 0, kMaxWord, wVid));
    node.wPid = static_cast<USHORT>(object.Number("pid", 0, kMaxWord, wPid));
    node.dwInstance = Instance(object, "instance");
    node.strSerial = object.Text("serial", "");
    node.locationPaths = object.Texts("locationPaths");
    node.hardwareIds = object.Texts("hardwareIds");
    node.bPlugged = object.Flag("plugged", true);
}

BenchController ReadController(CJsonObject object)
{
    BenchController controller;
    controller.strWhere = object.Pointer();
    controller.strId = object.Text("id");
    controller.dwInstance = Instance(object, "instance");
    controller.dwRootInstance = Instance(object, "rootInstance");
    object.Done();
    return controller;
}

CSimClock::Micros Millis(CJsonObject& object, const char* pszKey, CSimClock::Micros usDefault)
{
    return object.Number(pszKey, 0, kMaxMs, usDefault / kMicrosPerMs) * kMicrosPerMs;
}

SimReturn ReadTiming(CJsonObject object)
{
    SimReturn timing;
    timing.usLeave = Millis(object, "leaveMs", timing.usLeave);
    timing.usReturn = Millis(object, "returnMs", timing.usReturn);
    timing.bNewInstance = object.Flag("newInstance", false);
    timing.bNever = object.Flag("neverBack", false);
    object.Done();
    return timing;
}

void ReadSuperSpeed(CJsonObject object, BenchHub& hub)
{
    hub.bSuperSpeed = true;
    hub.strSuperParent = object.Text("parent", hub.strParent);
    hub.nSuperPort = static_cast<unsigned>(object.Number("port", 1, kMaxPort));
    hub.dwSuperInstance = Instance(object, "instance");
    object.Done();
}

/// Of a file that is known when the machine is built.
bool IsTooLarge(const std::optional<BenchImage>& image, DWORD cbBank)
{
    return image && image->strFile.empty() && image->cbSize > cbBank;
}

void ReadFlash(CJsonObject object, BenchHub& hub, const std::filesystem::path& folder)
{
    hub.cbFlash = static_cast<DWORD>(object.Number("size", 0x8000, kMaxFlash, hub.cbFlash));
    if (hub.cbFlash % CSimFlash::kSectorSize != 0)
        object.Refuse("size", "has to be a multiple of 4096");
    hub.bDualBank = object.Number("banks", 1, 2, 1) == 2;
    hub.bIspValidation = object.Flag("validates", true);
    if (object.Has("image"))
        hub.image = ReadImage(object.Object("image"), folder);
    if (object.Has("secondImage"))
        hub.secondImage = ReadImage(object.Object("secondImage"), folder);
    if (hub.secondImage && !hub.bDualBank)
        object.Refuse("secondImage", "needs \"banks\": 2");
    if (IsTooLarge(hub.image, hub.cbFlash))
        object.Refuse("image", "is larger than the flash");
    if (IsTooLarge(hub.secondImage, hub.cbFlash))
        object.Refuse("secondImage", "is larger than the flash");
    object.Done();
}

BenchHub ReadHub(CJsonObject object, const std::filesystem::path& folder)
{
    BenchHub hub;
    ReadNode(object, hub, SimUsbIdentity().usVid, SimUsbIdentity().usPid);
    hub.strIdentity = object.Text("identity", hub.strIdentity);
    if (object.Has("superSpeed"))
        ReadSuperSpeed(object.Object("superSpeed"), hub);
    if (object.Has("flash"))
        ReadFlash(object.Object("flash"), hub, folder);
    if (object.Has("timing"))
        hub.timing = ReadTiming(object.Object("timing"));
    hub.cbI2cMemory = static_cast<DWORD>(object.Number("i2cMemory", 0, kMaxWord + 1, 0));
    object.Done();
    return hub;
}

BenchForeignHub ReadForeignHub(CJsonObject object)
{
    BenchForeignHub hub;
    ReadNode(object, hub, 0x0409, 0x005A);
    hub.strIdentity = object.Text("identity", "");
    hub.dwOpenError = static_cast<DWORD>(object.Number("openError", 0, kMaxDword, 0));
    object.Done();
    return hub;
}

BenchDevice ReadDevice(CJsonObject object)
{
    BenchDevice device;
    ReadNode(object, device, 0x0A0B, 0x0C0D);
    device.strDescription = object.Text("description", device.strDescription);
    device.byClass = static_cast<BYTE>(object.Number("class", 0, 0xFF, device.byClass));
    object.Done();
    return device;
}

void ReadPdChip(CJsonObject& object, BenchPdChip& chip, const std::filesystem::path& folder)
{
    chip.bIspValidation = object.Flag("validates", chip.bIspValidation);
    chip.bCrcCheck = object.Flag("checksCrc", chip.bCrcCheck);
    if (object.Has("image"))
        chip.image = ReadImage(object.Object("image"), folder);
    if (object.Has("secondImage"))
        chip.secondImage = ReadImage(object.Object("secondImage"), folder);
    for (const auto& image : {chip.image, chip.secondImage})
        if (IsTooLarge(image, CSimPdBanks::kBankSize))
            object.Refuse("image", "is larger than a bank of 131072 bytes");
    if (object.Has("timing"))
        chip.timing = ReadTiming(object.Object("timing"));
}

std::vector<BYTE> ReadReport(CJsonObject& object)
{
    const auto number = [&](const char* pszKey, unsigned long long nMost, unsigned nDefault) {
        return object.Number(pszKey, 0, nMost, nDefault);
    };
    const auto wPage = static_cast<USHORT>(number("usagePage", kMaxWord, 0xFF00));
    const auto wUsage = static_cast<USHORT>(number("usage", kMaxWord, 1));
    const auto cbInput = static_cast<BYTE>(number("inputBytes", 0xFF, 64));
    const auto cbOutput = static_cast<BYTE>(number("outputBytes", 0xFF, 64));
    const auto cbFeature = static_cast<BYTE>(number("featureBytes", 0xFF, 0));
    if (object.Has("reportDescriptor"))
        return ReadBenchHex(object, "reportDescriptor");
    return CSimHidDevice::SimpleReport(wPage, wUsage, cbInput, cbOutput, cbFeature);
}

BenchHid ReadHid(CJsonObject object)
{
    BenchHid hid;
    ReadNode(object, hid, 0x0A0B, 0x0C0E);
    hid.dwHidInstance = Instance(object, "hidInstance");
    hid.dwOpenError = static_cast<DWORD>(object.Number("openError", 0, kMaxDword, 0));
    hid.report = ReadReport(object);
    object.Done();
    return hid;
}

BenchPd ReadPd(CJsonObject object, const std::filesystem::path& folder)
{
    BenchPd pd;
    pd.strWhere = object.Pointer();
    pd.strId = object.Text("id");
    pd.strHub = object.Text("hub");
    pd.byAddress = static_cast<BYTE>(object.Number("address", 0x10, 0xEE));
    if (pd.byAddress % 2 != 0)
        object.Refuse("address", "has to be even: the 8-bit form, twice the 7-bit address");
    ReadPdChip(object, pd, folder);
    pd.bPlugged = object.Flag("plugged", true);
    object.Done();
    return pd;
}

BenchBillboard ReadBillboard(CJsonObject object, const std::filesystem::path& folder)
{
    const SimUsbIdentity usual = SimBillboardSettings().usb;
    BenchBillboard billboard;
    ReadNode(object, billboard, usual.usVid, usual.usPid);
    billboard.strDescription = object.Text("description", billboard.strDescription);
    billboard.bWinUsb = object.Flag("winUsb", true);
    ReadPdChip(object, billboard, folder);
    object.Done();
    return billboard;
}

BenchEvent ReadEvent(CJsonObject object)
{
    BenchEvent event;
    event.strWhere = object.Pointer();
    event.dwAtMs = static_cast<DWORD>(object.Number("atMs", 0, kMaxMs));
    event.bPlug = object.Has("plug");
    if (event.bPlug == object.Has("unplug"))
        object.Refuse("an event has either \"plug\" or \"unplug\"");
    event.strId = object.Text(event.bPlug ? "plug" : "unplug");
    object.Done();
    return event;
}

void ReadMachine(CJsonObject object, BenchDescription& bench)
{
    bench.strName = object.Text("name", "");
    bench.bElevated = object.Flag("elevated", true);
    bench.bServiceManager = object.Flag("serviceManager", true);
    bench.dwManagerError =
        static_cast<DWORD>(object.Number("serviceManagerError", 0, kMaxDword, 0));
    bench.bDriverRunning = object.Flag("driverRunning", false);
    bench.lab.ePortDriver = ReadBenchPortDriver(object);
    object.Done();
}

void ReadTransferFault(CJsonObject& object, BenchFault& fault)
{
    if (object.Has("request"))
        fault.byRequest =
            object.Named("request", object.Text("request"), NameOfTarget(fault.eTarget).requests)
                .byRequest;
    fault.fault.eKind = object.Named("kind", object.Text("kind"), kBenchFaults).eKind;
    SimFault& details = fault.fault;
    details.dwCode = static_cast<DWORD>(object.Number("code", 1, 0xFFFFFFFF, details.dwCode));
    details.dwOffset = static_cast<DWORD>(object.Number("offset", 0, kMaxDword, 0));
    details.byMask = static_cast<BYTE>(object.Number("mask", 1, 0xFF, details.byMask));
    details.bActs = object.Flag("acts", false);
    details.dwBackMs = static_cast<DWORD>(object.Number("backMs", 0, kMaxMs, 0));
    details.dwLateMs = static_cast<DWORD>(object.Number("lateMs", 0, kMaxMs, details.dwLateMs));
    details.nTimes = static_cast<unsigned>(object.Number("times", 1, kMaxDword, 1));
}

} // namespace

BenchFault CBenchFile::ParseFault(CJsonObject object)
{
    BenchFault fault;
    fault.strWhere = object.Pointer();
    if (object.Has("call")) {
        fault.strCall = object.Text("call");
        fault.nNth = object.Number("nth", 1, kMaxDword, 1);
        fault.dwCode = static_cast<DWORD>(object.Number("code", 1, 0xFFFFFFFF));
        object.Done();
        return fault;
    }
    for (const BenchTargetName& target : kBenchTargets)
        if (object.Has(target.pszKey))
            fault.eTarget = target.eTarget;
    fault.strTarget = object.Text(NameOfTarget(fault.eTarget).pszKey);
    fault.bPowerCut = object.Has("powerCut");
    if (fault.bPowerCut) {
        fault.nNth = object.Number("powerCut", 0, kMaxDword);
        fault.eWhen = object.Named("when", object.Text("when", "middle"), kBenchCuts).eWhen;
    } else {
        fault.nNth = object.Number("nth", 0, kMaxDword, 0);
        ReadTransferFault(object, fault);
    }
    object.Done();
    return fault;
}

BenchDescription CBenchFile::Parse(const JsonSource& source)
{
    const nlohmann::json document = ParseJson(source);
    const std::filesystem::path folder = std::filesystem::path(source.strName).parent_path();
    CJsonObject object(source, document, "");
    BenchDescription bench;
    (void)object.Number("schema", kSchema, kSchema);
    if (object.Has("machine"))
        ReadMachine(object.Object("machine"), bench);
    for (CJsonObject& entry : object.Objects("controllers"))
        bench.controllers.push_back(ReadController(entry));
    for (CJsonObject& entry : object.Objects("hubs"))
        bench.hubs.push_back(ReadHub(entry, folder));
    for (CJsonObject& entry : object.Objects("foreignHubs"))
        bench.foreignHubs.push_back(ReadForeignHub(entry));
    for (CJsonObject& entry : object.Objects("devices"))
        bench.devices.push_back(ReadDevice(entry));
    for (CJsonObject& entry : object.Objects("hidDevices"))
        bench.hids.push_back(ReadHid(entry));
    for (CJsonObject& entry : object.Objects("pdControllers"))
        bench.pds.push_back(ReadPd(entry, folder));
    for (CJsonObject& entry : object.Objects("billboards"))
        bench.billboards.push_back(ReadBillboard(entry, folder));
    ReadBenchLab(object, bench.lab);
    for (CJsonObject& entry : object.Objects("faults"))
        bench.faults.push_back(ParseFault(entry));
    for (CJsonObject& entry : object.Objects("events"))
        bench.events.push_back(ReadEvent(entry));
    object.Done();
    CheckBench(source, bench);
    return bench;
}

BenchDescription CBenchFile::Load(const std::string& strPath)
{
    std::error_code error;
    const bool bFolder = std::filesystem::is_directory(strPath, error);
    std::ifstream file(strPath, std::ios::binary);
    if (bFolder || !file)
        throw CToolError(ExitCode::Usage,
                         "bench file " + Printable(strPath) +
                             (bFolder ? ": is a folder, not a file" : ": cannot be opened"),
                         "Give a bench file; examples/ has some.");
    std::ostringstream text;
    text << file.rdbuf();
    return Parse(JsonSource{strPath, text.str()});
}
