#include "tools/zelhub/commands/CBenchCommand.h"

#include "tools/zelhub/devices/FlashDump.h"
#include "tools/zelhub/input/CImageFile.h"

#include <algorithm>
#include <cctype>

namespace
{

template<typename Names>
std::vector<std::string> AllNames(const Names& names)
{
    std::vector<std::string> all;
    all.reserve(names.size());
    for (const auto& entry : names)
        all.emplace_back(entry.pszName);
    return all;
}

/// Finds what an option names. Throws CToolError (usage) where it is nothing of a target.
template<typename Names>
const auto& Named(const char* pszOption, const Names& names, const std::string& strName,
                  const std::string& strOfWhat)
{
    const auto it = std::find_if(names.begin(), names.end(),
                                 [&](const auto& entry) { return strName == entry.pszName; });
    if (it != names.end())
        return *it;
    std::string strAll;
    for (const std::string& str : AllNames(names))
        strAll += (strAll.empty() ? "" : ", ") + str;
    throw CToolError(ExitCode::Usage,
                     std::string(pszOption) + ": " + strName + " is no " + strOfWhat,
                     "Name one of " + strAll + ".");
}

/// "0x1234", "4660" or the four hexadecimal digits with dots, "1.2.3.4".
USHORT ParseVersion(const std::string& strText)
{
    std::string strDigits = strText;
    int nBase = 0;
    if (std::count(strText.begin(), strText.end(), '.') == 3 && strText.size() == 7) {
        strDigits.erase(std::remove(strDigits.begin(), strDigits.end(), '.'), strDigits.end());
        nBase = 16;
    }
    unsigned long n = 0x10000;
    size_t nEnd = 0;
    try {
        n = std::stoul(strDigits, &nEnd, nBase);
    } catch (const std::exception&) {
        nEnd = 0;
    }
    if (nEnd == 0 || nEnd != strDigits.size() || n > 0xFFFF || strText[0] == '-')
        throw CToolError(ExitCode::Usage, "--version \"" + Printable(strText) + "\" is no version",
                         "Write 0x1234, or its four digits with dots: 1.2.3.4.");
    return static_cast<USHORT>(n);
}

std::vector<std::string> AllRequests()
{
    std::vector<std::string> all;
    for (const BenchTargetName& target : kBenchTargets)
        for (const std::string& strName : AllNames(target.requests))
            if (std::find(all.begin(), all.end(), strName) == all.end())
                all.push_back(strName);
    return all;
}

std::vector<std::string> AllKinds()
{
    std::vector<std::string> all = AllNames(kBenchFaults);
    for (const std::string& strName : AllNames(kBenchSmbusFaults))
        all.push_back(strName);
    return all;
}

/// How a model stands: what it runs, and what it would not have forgiven.
template<typename Model>
std::vector<Cell> ModelCells(Model& model, bool bRunsFlash)
{
    return {CodeCell(bRunsFlash), bRunsFlash ? Cell(VersionText(model.Version())) : Cell::None(),
            Cell::Number(model.Misuse().Count())};
}

} // namespace

void CBenchCommand::Declare(CArguments& root)
{
    CArguments group = root.Sub("bench", "Act on the simulated machine of --bench");
    m_image = group.Sub("image", "Make a firmware image for simulated hubs");
    m_image->Text("FILE", m_strFile, "file to write", true);
    m_image->Text("--version", m_strVersion, "its version: 0x1234 or 1.2.3.4 (default 0x0100)");
    m_image->Number("--chip", m_wChip, 0, 0xFFFF, "chip ID (default 0x6560)");
    m_image->Number("--size", m_cb, CSimImage::kMinSize, CImageFile::kMaxSize,
                    "bytes (default 65536)");
    m_image->Number("--seed", m_dwSeed, 0, 0xFFFFFFFF, "another seed gives other code bytes");
    m_image->Flag("--overwrite", m_bOverwrite, "replace a file that exists");
    m_check = group.Sub("check", "Check the bench file and show what is on the bench");
    m_unplug = group.Sub("unplug", "Pull a hub or device out");
    m_unplug->Text("ID", m_strId, "its id in the bench file", true);
    m_plug = group.Sub("plug", "Plug a hub or device in; a hub that was off starts anew");
    m_plug->Text("ID", m_strId, "its id in the bench file", true);
    m_cut = group.Sub("power-cut", "Let a device lose its power at a later flash operation");
    m_cut->Text("ID", m_strId, "its id in the bench file", true);
    m_cut->Number("--at", m_nNth, 0, 0xFFFFFFFE, "flash operation, 0 is the next (default 0)");
    m_cut->Choice("--when", m_strWhen, AllNames(kBenchCuts), "within it (default middle)");
    m_fault =
        group.Sub("fault", "Let a later transfer of a hub, PD controller or billboard device, or a "
                           "transaction of the SMBus controller, go wrong");
    DeclareFault(*m_fault);
}

void CBenchCommand::DeclareFault(CArguments& args)
{
    args.Text("ID", m_strId, "its id in the bench file", true);
    args.Choice("--request", m_strRequest, AllRequests(),
                "only transfers of this kind (default: any)");
    args.Number("--nth", m_nNth, 0, 0xFFFFFFFE, "which of them, 0 is the next (default 0)");
    args.Number("--times", m_nTimes, 1, 0xFFFFFFFE, "so many in a row (default 1)");
    args.Choice("--kind", m_strKind, AllKinds(),
                "what goes wrong (default fail; of the SMBus controller: dev-err)");
    args.Number("--code", m_dwCode, 1, 0xFFFFFFFF, "code of fail and urb-status (default 31)");
    args.Number("--offset", m_dwOffset, 0, 0xFFFFFFFE, "byte that corrupt changes (default 0)");
    args.Number("--mask", m_byMask, 1, 0xFF, "bits that corrupt flips (default 1)");
    args.Number("--back-ms", m_dwBackMs, 0, 3'600'000,
                "vanish: back after this time (default: never)");
    args.Number("--late-ms", m_dwLateMs, 0, 3'600'000, "slow: answered so much later");
    args.Flag("--acts", m_bActs, "the device does it, only its answer is lost");
}

bool CBenchCommand::Chosen() const
{
    const auto all = {&m_image, &m_check, &m_unplug, &m_plug, &m_fault, &m_cut};
    return std::any_of(all.begin(), all.end(), [](const auto* p) { return (*p)->Chosen(); });
}

void CBenchCommand::Run(CToolContext& context)
{
    if (m_image->Chosen())
        MakeImage(context);
    else if (m_check->Chosen())
        Check(context);
    else if (m_fault->Chosen())
        Fault(context);
    else if (m_cut->Chosen())
        PowerCut(context);
    else
        Plug(context, m_plug->Chosen());
}

CBenchMachine& CBenchCommand::Machine(CToolContext& context) const
{
    if (!context.OnBench())
        throw CToolError(ExitCode::Usage, "this acts on a simulated machine, and none is given",
                         "Add --bench FILE.json (examples/ has some).");
    if (!m_check->Chosen() && context.Opts().strBenchState.empty())
        throw CToolError(ExitCode::Usage, "without --bench-state nothing of this would be kept",
                         "Add --bench-state FILE, here and in the commands that follow.");
    if (!m_check->Chosen() && !context.Bench().Knows(m_strId) &&
        !context.Bench().IsBuiltIn(m_strId))
        throw CToolError(ExitCode::NoDevice,
                         "nothing on the bench has the id " + Printable(m_strId),
                         "zelhub --bench FILE.json bench check shows the ids.");
    if (!m_check->Chosen())
        CheckTarget(context.Bench());
    return context.Bench();
}

/// Refuses what the command cannot act on.
void CBenchCommand::CheckTarget(CBenchMachine& bench) const
{
    if (m_fault->Chosen() && bench.IsSmbus(m_strId))
        return;
    const bool bModel = m_fault->Chosen() || m_cut->Chosen();
    if (bModel && !bench.HasModel(m_strId))
        throw CToolError(ExitCode::NoDevice,
                         Printable(m_strId) + " has no model in which something could go wrong",
                         "Name one of those under \"hubs\", \"pdControllers\" or \"billboards\" "
                         "in the bench file" +
                             std::string(m_fault->Chosen() ? ", or its SMBus controller." : "."));
    if (!bench.Knows(m_strId))
        throw CToolError(ExitCode::NoDevice,
                         Printable(m_strId) + " is built into the machine: it has no plug",
                         "Name a hub or device that hangs on a port.");
}

void CBenchCommand::MakeImage(CToolContext& context) const
{
    BenchImage image;
    image.wVersion = ParseVersion(m_strVersion);
    image.wChipId = static_cast<USHORT>(m_wChip);
    image.cbSize = static_cast<DWORD>(m_cb);
    image.dwSeed = static_cast<DWORD>(m_dwSeed);
    CheckNewFile(m_strFile, m_bOverwrite);
    SaveNewFile(m_strFile, BuildBenchImage(image));
    context.Out().Show({{{"file", "File"}, Cell(Printable(m_strFile))},
                        {{"version", "Version"}, Cell(VersionText(image.wVersion))},
                        {{"chip", "Chip ID"}, Cell(Hex(image.wChipId, 4))},
                        {{"size", "Size"}, SizeCell(m_cb)}});
}

void CBenchCommand::Check(CToolContext& context) const
{
    CBenchMachine& bench = Machine(context);
    Table table;
    table.columns = {{"id", "Id"},
                     {"plugged", "Plugged"},
                     {"code", "Code"},
                     {"version", "Version"},
                     {"misuse", "Misuse"}};
    table.pszEmpty = "nothing on the bench";
    const auto add = [&](const std::string& strId, const std::vector<Cell>& cells) {
        table.rows.push_back({Cell(Printable(strId)), Cell::YesNo(bench.IsPlugged(strId))});
        table.rows.back().insert(table.rows.back().end(), cells.begin(), cells.end());
    };
    for (const std::string& strId : bench.Ids()) {
        if (CSimHub* const pHub = bench.Hub(strId))
            add(strId, ModelCells(*pHub, pHub->RunsFlash()));
        else if (CSimBillboard* const pBillboard = bench.Billboard(strId))
            add(strId, ModelCells(*pBillboard, pBillboard->Banks().RunsFlash()));
        else
            add(strId, {Cell::None(), Cell::None(), Cell::None()});
    }
    for (const std::string& strId : bench.PdIds()) {
        CSimPd& pd = *bench.Pd(strId);
        add(strId, ModelCells(pd, pd.Banks().RunsFlash()));
    }
    const auto addOwn = [&](const std::string& strId, CSimMisuse& misuse) {
        table.rows.push_back({Cell(Printable(strId)), Cell::YesNo(true), Cell::None(), Cell::None(),
                              Cell::Number(misuse.Count())});
    };
    if (CSimSmbusController* const pSmbus = bench.Lab().Smbus())
        addOwn(bench.Description().lab.smbus->strId, pSmbus->Misuse());
    if (CSimEc* const pEc = bench.Lab().Ec())
        addOwn(bench.Description().lab.ec->strId, pEc->Misuse());
    context.Out().Show("bench", table);
}

void CBenchCommand::Plug(CToolContext& context, bool bPlugged) const
{
    CBenchMachine& bench = Machine(context);
    bench.Plug(m_strId, bPlugged);
    context.Out().Show({{{"id", "Id"}, Cell(Printable(m_strId))},
                        {{"plugged", "Plugged"}, Cell::YesNo(bPlugged)}});
}

void CBenchCommand::Fault(CToolContext& context) const
{
    CBenchMachine& bench = Machine(context);
    if (bench.IsSmbus(m_strId)) {
        SmbusFault(context);
        return;
    }
    BenchFault fault;
    fault.strTarget = m_strId;
    fault.eTarget = bench.TargetOf(m_strId);
    const BenchTargetName& target = NameOfTarget(fault.eTarget);
    const std::string strOf = std::string(" of a ") + target.pszTitle;
    if (!m_strRequest.empty())
        fault.byRequest =
            Named("--request", target.requests, m_strRequest, "request" + strOf).byRequest;
    fault.nNth = m_nNth;
    const std::string strKind = m_strKind.empty() ? kBenchFaults.front().pszName : m_strKind;
    fault.fault.eKind = Named("--kind", kBenchFaults, strKind, "fault" + strOf).eKind;
    fault.fault.dwCode = static_cast<DWORD>(m_dwCode);
    fault.fault.dwOffset = static_cast<DWORD>(m_dwOffset);
    fault.fault.byMask = static_cast<BYTE>(m_byMask);
    fault.fault.bActs = m_bActs;
    fault.fault.dwBackMs = static_cast<DWORD>(m_dwBackMs);
    fault.fault.dwLateMs = static_cast<DWORD>(m_dwLateMs);
    fault.fault.nTimes = static_cast<unsigned>(m_nTimes);
    bench.AddFault(fault);
    context.Out().Show({{{"id", "Id"}, Cell(Printable(m_strId))},
                        {{"fault", "Fault"}, Cell(strKind)},
                        {{"pending", "Pending"}, Cell::Number(bench.PendingFaults().size())}});
}

void CBenchCommand::SmbusFault(CToolContext& context) const
{
    constexpr CArguments::Value kMost = 1000;
    if (!m_strRequest.empty())
        throw CToolError(ExitCode::Usage, "--request: transactions on the SMBus are of one kind",
                         "Leave it out.");
    if (m_nNth + m_nTimes > kMost)
        throw CToolError(ExitCode::Usage,
                         "--nth and --times go beyond the next 1000 transactions on the SMBus",
                         "Give smaller numbers.");
    const std::string strKind = m_strKind.empty() ? kBenchSmbusFaults.front().pszName : m_strKind;
    BenchSmbusFault fault;
    fault.eKind =
        Named("--kind", kBenchSmbusFaults, strKind, "fault of the SMBus controller").eKind;
    CBenchLab& lab = context.Bench().Lab();
    std::vector<BenchSmbusFault> faults = lab.PendingSmbusFaults();
    for (CArguments::Value n = 0; n < m_nTimes; ++n) {
        fault.nTransaction = static_cast<unsigned>(m_nNth + n);
        faults.push_back(fault);
    }
    lab.SetSmbusFaults(faults);
    context.Out().Show({{{"id", "Id"}, Cell(Printable(m_strId))},
                        {{"fault", "Fault"}, Cell(strKind)},
                        {{"pending", "Pending"}, Cell::Number(faults.size())}});
}

void CBenchCommand::PowerCut(CToolContext& context) const
{
    CBenchMachine& bench = Machine(context);
    BenchFault fault;
    fault.strTarget = m_strId;
    fault.eTarget = bench.TargetOf(m_strId);
    fault.bPowerCut = true;
    fault.nNth = m_nNth;
    fault.eWhen = Named("--when", kBenchCuts, m_strWhen, "part of a flash operation").eWhen;
    bench.AddFault(fault);
    context.Out().Show({{{"id", "Id"}, Cell(Printable(m_strId))},
                        {{"fault", "Fault"}, Cell("power-cut")},
                        {{"pending", "Pending"}, Cell::Number(bench.PendingFaults().size())}});
}
