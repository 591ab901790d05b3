#include "tools/zelhub/bench/CBenchState.h"

#include "tools/zelhub/bench/BenchFlashText.h"
#include "tools/zelhub/bench/BenchLabState.h"
#include "tools/zelhub/bench/CBenchFile.h"
#include "tools/zelhub/output/COutput.h"
#include "tools/zelhub/output/Failure.h"
#include "tools/zelhub/system/HostSystem.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <type_traits>

using nlohmann::ordered_json;

namespace
{

constexpr int kSchema = 2;
constexpr const char* kKind = "zelhub bench state";

/// The two banks' (or the one flash's) contents. Refuses what does not fit.
std::vector<BYTE> ReadFlash(CJsonObject& object, size_t cb)
{
    std::vector<BYTE> flash;
    if (!ParseBenchFlashText(object.Text("flash"), cb, flash) || flash.size() != cb)
        object.Refuse("flash", "does not fit this device: the state belongs to another bench");
    return flash;
}

template<typename Names>
std::string NameOf(const Names& names, const auto& matches)
{
    for (const auto& entry : names)
        if (matches(entry))
            return entry.pszName;
    return {};
}

ordered_json FaultJson(const BenchFault& fault)
{
    const BenchTargetName& target = NameOfTarget(fault.eTarget);
    ordered_json json = {{target.pszKey, fault.strTarget}};
    if (fault.bPowerCut) {
        json["powerCut"] = fault.nNth;
        json["when"] = NameOf(kBenchCuts, [&](const auto& e) { return e.eWhen == fault.eWhen; });
        return json;
    }
    if (fault.byRequest)
        json["request"] =
            NameOf(target.requests, [&](const auto& e) { return e.byRequest == *fault.byRequest; });
    json["nth"] = fault.nNth;
    const SimFault& details = fault.fault;
    json["kind"] = NameOf(kBenchFaults, [&](const auto& e) { return e.eKind == details.eKind; });
    json["code"] = details.dwCode;
    json["offset"] = details.dwOffset;
    json["mask"] = details.byMask;
    json["acts"] = details.bActs;
    json["backMs"] = details.dwBackMs;
    json["lateMs"] = details.dwLateMs;
    json["times"] = details.nTimes;
    return json;
}

/// @param find the model of an id, or null
template<typename Find>
void LoadModel(CJsonObject object, const Find& find)
{
    auto* const pModel = find(object.Text("id"));
    if (pModel == nullptr)
        object.Refuse("id", "names nothing of this kind on the bench: this state belongs to "
                            "another");
    auto kept = pModel->Keep();
    kept.flash = ReadFlash(object, kept.flash.size());
    kept.nActive = static_cast<unsigned>(object.Number("activeBank", 0, 1));
    kept.bFresh = object.Flag("fresh", false);
    kept.bRunsFlash = object.Flag("runsFlash", false);
    const bool bOnBus = object.Flag("onBus", true);
    // Whether a USB device is there was decided by "plugged".
    constexpr bool bUsb = std::is_base_of_v<CSimUsbChip, std::remove_pointer_t<decltype(pModel)>>;
    pModel->Restore(kept, bUsb ? pModel->IsOnBus() : bOnBus);
    object.Done();
}

template<typename Model>
ordered_json ModelJson(const std::string& strId, const Model& model)
{
    const auto kept = model.Keep();
    return {{"id", strId},
            {"onBus", model.IsOnBus()},
            {"activeBank", kept.nActive},
            {"fresh", kept.bFresh},
            {"runsFlash", kept.bRunsFlash},
            {"flash", BenchFlashText(kept.flash)}};
}

void LoadPlugged(CJsonObject object, CBenchMachine& bench)
{
    const std::string strId = object.Text("id");
    if (!bench.Knows(strId))
        object.Refuse("id", "names nothing on the bench: this state belongs to another");
    const bool bPlugged = object.Flag("plugged", true);
    if (bench.IsPlugged(strId) != bPlugged)
        bench.Plug(strId, bPlugged);
    object.Done();
}

} // namespace

void CBenchState::Load(CBenchMachine& bench) const
{
    std::error_code error;
    if (!std::filesystem::exists(m_strPath, error))
        return;
    std::ifstream file;
    if (!std::filesystem::is_directory(m_strPath, error))
        file = HostSystem::OpenToRead(m_strPath);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file.is_open())
        throw CToolError(ExitCode::Usage,
                         "bench state " + Printable(m_strPath) + ": cannot be read",
                         "Give another file, or delete it to begin anew.");
    const JsonSource source{m_strPath, text.str()};
    const nlohmann::json document = ParseJson(source);
    CJsonObject object(source, document, "");
    if (object.Text("kind") != kKind)
        object.Refuse("kind", "is no bench state");
    (void)object.Number("schema", kSchema, kSchema);
    for (CJsonObject& entry : object.Objects("plugged"))
        LoadPlugged(entry, bench);
    for (CJsonObject& entry : object.Objects("hubs"))
        LoadModel(entry, [&](const std::string& str) { return bench.Hub(str); });
    for (CJsonObject& entry : object.Objects("pdControllers"))
        LoadModel(entry, [&](const std::string& str) { return bench.Pd(str); });
    for (CJsonObject& entry : object.Objects("billboards"))
        LoadModel(entry, [&](const std::string& str) { return bench.Billboard(str); });
    LoadBenchLab(object, bench.Lab());
    bench.ForgetFaults(); // those of the bench file were taken over when the state was made
    for (CJsonObject& entry : object.Objects("faults"))
        bench.AddFault(CBenchFile::ParseFault(entry));
    object.Done();
}

void CBenchState::Save(CBenchMachine& bench) const
{
    ordered_json document = {{"kind", kKind}, {"schema", kSchema}};
    document["plugged"] = ordered_json::array();
    document["hubs"] = ordered_json::array();
    document["faults"] = ordered_json::array();
    for (const std::string& strId : bench.Ids()) {
        document["plugged"].push_back({{"id", strId}, {"plugged", bench.IsPlugged(strId)}});
        if (const CSimHub* const pHub = bench.Hub(strId))
            document["hubs"].push_back(ModelJson(strId, *pHub));
        if (const CSimBillboard* const pBillboard = bench.Billboard(strId))
            document["billboards"].push_back(ModelJson(strId, *pBillboard));
    }
    for (const std::string& strId : bench.PdIds())
        document["pdControllers"].push_back(ModelJson(strId, *bench.Pd(strId)));
    SaveBenchLab(document, bench.Lab());
    for (const BenchFault& fault : bench.PendingFaults())
        document["faults"].push_back(FaultJson(fault));
    const std::string strText = document.dump(1) + "\n";
    const std::string strWhy =
        HostSystem::WriteWhole(m_strPath, strText.data(), strText.size(), false);
    if (!strWhy.empty())
        throw CToolError(ExitCode::General,
                         "bench state " + Printable(m_strPath) + ": cannot be written: " + strWhy,
                         "Give a file in a folder that you may write to.");
}
