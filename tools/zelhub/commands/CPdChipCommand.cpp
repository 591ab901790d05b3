#include "tools/zelhub/commands/CPdChipCommand.h"

#include "tools/zelhub/devices/FlashDump.h"

#include <algorithm>

namespace
{

constexpr const char* kBankNames[] = {"0 (at 0x000000)", "1 (at 0x020000)"};

Field BankField(const char* pszKey, const char* pszTitle, unsigned nBank)
{
    return {{pszKey, pszTitle}, Cell(kBankNames[nBank], static_cast<long long>(nBank))};
}

Cell VersionCell(bool bRunsFlash, USHORT wVersion)
{
    return bRunsFlash ? Cell(VersionText(wVersion)) : Cell::None("none (ROM code)");
}

CImageFile LoadPdImage(const std::string& strPath)
{
    CImageFile image = CImageFile::Load(strPath, 0);
    if (image.Size() > CGuardedPdDev::kBankSize)
        throw CToolError(
            ExitCode::ImageRefused,
            "image " + Printable(strPath) + ": is too large: " + SizeText(image.Size()) +
                ", a bank of a PD controller has " + SizeText(CGuardedPdDev::kBankSize),
            "Give an image for this PD controller.");
    return image;
}

} // namespace

void CPdChipCommand::Declare(CArguments& root)
{
    const CArguments group = DeclareGroup(root);
    DeclareUpdate(group);
    DeclareOthers(group);
}

void CPdChipCommand::AddList(CArguments group, const char* pszHelp, const char* pszMore)
{
    m_parts.push_back({group.Sub("list", pszHelp, pszMore), nullptr});
}

CArguments& CPdChipCommand::Add(CArguments group, const char* pszName, const char* pszHelp,
                                const char* pszMore, Action pfnRun)
{
    m_parts.push_back({group.Sub(pszName, pszHelp, pszMore), pfnRun});
    DeclareSelector(m_parts.back().arguments);
    return m_parts.back().arguments;
}

void CPdChipCommand::DeclareUpdate(CArguments group)
{
    CArguments& args =
        Add(group, "update", "Write an image to the bank that does not run, and start it",
            "Every byte is read back before the controller checks the image itself and is\n"
            "restarted. Exits 0 also when it runs that version already (--force writes it again).",
            &CPdChipCommand::Update);
    args.Text("IMAGE", m_strImage, "firmware image file", true);
    args.Flag("--dry-run", m_bDryRun, "check everything and change nothing");
    args.Text("--backup", m_strBackup, "first read the bank that runs into this new file");
    args.Flag("--force", m_wishes.bForce,
              "write the same version again; go on where the chip ID cannot be read");
    args.Flag("--allow-downgrade", m_wishes.bAllowDowngrade, "accept an older version");
}

void CPdChipCommand::DeclareOthers(CArguments group)
{
    Add(group, "status", "Show the status block", "", &CPdChipCommand::Status);
    Add(group, "version", "Show the running version", "", &CPdChipCommand::Version);
    Add(group, "info", "Show what the controller is and what its banks hold", "",
        &CPdChipCommand::Info);
    CArguments& erase =
        Add(group, "erase", "Erase both banks; it then runs its ROM code",
            "Reads flash back afterwards: exits 0 only when it is blank.", &CPdChipCommand::Erase);
    erase.Flag("--yes", m_bYes, "really do it: the controller's firmware is lost");
    CArguments& dump = Add(group, "dump", "Read a bank into a file",
                           "Writes the file whole or not at all.", &CPdChipCommand::Dump);
    dump.Text("FILE", m_strFile, "file to write", true);
    dump.Number("--size", m_cb, 1, CGuardedPdDev::kBankSize, "bytes to read (default 131072)");
    dump.Choice("--bank", m_strBank, {"running", "0", "1"}, "which bank (default running)");
    dump.Flag("--overwrite", m_bOverwrite, "replace a file that exists");
    CArguments& verify =
        Add(group, "verify", "Compare the bank that runs with an image, byte by byte",
            "Reads only. Two zeros of the mark that another bank took over are no difference.\n"
            "Exits 7 at the first difference, with its offset and both bytes.",
            &CPdChipCommand::Verify);
    verify.Text("IMAGE", m_strImage, "firmware image file", true);
}

bool CPdChipCommand::Chosen() const
{
    return std::any_of(m_parts.begin(), m_parts.end(),
                       [](const Part& part) { return part.arguments.Chosen(); });
}

/// What can be refused before anything is opened.
void CPdChipCommand::CheckBefore(Action pfnRun)
{
    CheckSelector();
    if (pfnRun == &CPdChipCommand::Erase && !m_bYes)
        throw CToolError(ExitCode::Usage, "erase takes the PD controller's firmware away",
                         std::string("Add --yes to do it; zelhub ") + Name() +
                             " dump makes a copy before.");
    if (!m_strFile.empty())
        CheckNewFile(m_strFile, m_bOverwrite);
    if (!m_strImage.empty())
        m_image = LoadPdImage(m_strImage);
    if (!m_strBackup.empty())
        CheckNewFile(m_strBackup, false);
}

void CPdChipCommand::Run(CToolContext& context)
{
    const Part& part = *std::find_if(m_parts.begin(), m_parts.end(),
                                     [](const Part& p) { return p.arguments.Chosen(); });
    if (part.pfnRun == nullptr) {
        List(context);
        return;
    }
    CheckBefore(part.pfnRun);
    Open(context, [&](CPdSession& pd) { (this->*part.pfnRun)(pd); });
}

void CPdChipCommand::Status(CPdSession& pd)
{
    const PdStatus status = pd.Status();
    pd.Context().Progress().Clear();
    pd.Context().Out().Show(pd.Fields(
        {{{"code", "Code"}, CodeCell(status.RunsFlash())},
         {{"version", "Version"}, VersionCell(status.RunsFlash(), status.Version())},
         BankField("bank", "Running bank", status.RunningBank()),
         {{"validates", "Validates images"}, Cell::YesNo(status.Validates())},
         {{"checksCrc", "Checks CRC"}, Cell::YesNo(status.ChecksCrc())},
         {{"status", "Status"}, Cell(HexBytes(status.bytes.data(), status.bytes.size()))}}));
}

void CPdChipCommand::Version(CPdSession& pd)
{
    const PdStatus status = pd.Status();
    if (!status.RunsFlash())
        throw CToolError(ExitCode::General,
                         "the " + pd.Name() + " runs its ROM code, which has no version",
                         std::string("zelhub ") + Name() + " update writes an image to it.");
    pd.Context().Progress().Clear();
    pd.Context().Out().Show(
        pd.Fields({{{"code", "Code"}, CodeCell(true)},
                   {{"version", "Version"}, Cell(VersionText(status.Version()))}}));
}

void CPdChipCommand::Info(CPdSession& pd)
{
    constexpr DWORD kHead = CImageFile::kMinSize;
    const PdStatus status = pd.Status();
    std::vector<Field> fields = {{{"code", "Code"}, CodeCell(status.RunsFlash())},
                                 BankField("bank", "Running bank", status.RunningBank())};
    constexpr Heading kVersions[] = {{"bank0Version", "Bank 0"}, {"bank1Version", "Bank 1"}};
    constexpr Heading kChips[] = {{"bank0Chip", "Chip ID 0"}, {"bank1Chip", "Chip ID 1"}};
    for (const unsigned nBank : {0U, 1U}) {
        const std::vector<BYTE> head = pd.ReadBank(nBank, kHead, "read");
        const bool bBlank = IsBlank(head);
        fields.push_back(
            {kVersions[nBank], bBlank ? Cell::None("blank")
                                      : Cell(VersionText(WordAt(head, CImageFile::kVersionAt)))});
        fields.push_back({kChips[nBank], bBlank
                                             ? Cell::None()
                                             : Cell(Hex(WordAt(head, CImageFile::kChipIdAt), 4))});
    }
    pd.Context().Progress().Clear();
    pd.Context().Out().Show(pd.Fields(fields));
}

void CPdChipCommand::Backup(CPdSession& pd, const PdStatus& status) const
{
    SaveNewFile(m_strBackup,
                pd.ReadBank(status.RunningBank(), CGuardedPdDev::kBankSize, "back up"));
    pd.Context().Progress().Clear();
    pd.Context().Out().Say("backed up bank " + std::to_string(status.RunningBank()) + " to " +
                           Printable(m_strBackup));
}

void CPdChipCommand::ShowUpdate(CPdSession& pd, const HubBefore& before,
                                const std::vector<Field>& more) const
{
    std::vector<Field> fields = {
        {{"image", "Image"}, Cell(Printable(m_image->Path()))},
        {{"imageVersion", "Image version"}, Cell(VersionText(m_image->Version()))},
        {{"size", "Size"}, SizeCell(m_image->Size())},
        {{"before", "Before"}, VersionCell(before.bRunsFlash, before.wVersion)}};
    fields.insert(fields.end(), more.begin(), more.end());
    pd.Context().Progress().Clear();
    pd.Context().Out().Show(pd.Fields(fields));
}

void CPdChipCommand::Update(CPdSession& pd)
{
    const HubBefore before = pd.Before();
    if (!MayUpdate(pd.Context().Out(), *m_image, before, m_wishes)) {
        ShowUpdate(pd, before,
                   {{{"after", "After"}, Cell(VersionText(before.wVersion))},
                    {{"result", "Result"}, Cell("already current", std::string("current"))}});
        return;
    }
    if (m_bDryRun) {
        ShowUpdate(pd, before,
                   {{{"result", "Result"},
                     Cell("would be updated; nothing was changed", std::string("dry-run"))}});
        return;
    }
    if (!m_strBackup.empty())
        Backup(pd, pd.Status());
    if (!pd.Flow().InitFwFinder(m_image->Path()) || pd.Dev().GetFwBuf() != m_image->Bytes())
        throw CToolError(ExitCode::ImageRefused,
                         "image " + Printable(m_image->Path()) + " changed while it was read",
                         "Nothing was touched; type this again when the file is complete.");
    COperationWatch watch = pd.Watch(RepeatText(), m_image->Size(), before.bRunsFlash);
    const bool bDone = pd.Flow().DevUpdate();
    const OperationFacts& facts = pd.Dev().Facts();
    // The flow says yes also when the controller stayed away after a reset: what happened counts.
    if (!bDone || !facts.bVerified || !facts.bStarted)
        watch.FailByFacts();
    const USHORT wVersion = CheckReturn(pd, watch);
    ShowUpdate(pd, before,
               {{{"compared", "Read back"},
                 Cell(before.bRunsFlash ? "the bank that was written (the other one ran)"
                                        : "the bank that was written")},
                {{"after", "After"}, Cell(VersionText(wVersion))},
                {{"result", "Result"}, Cell("updated")}});
}

/// Waits until the controller runs the new version; the flow does not look.
USHORT CPdChipCommand::CheckReturn(CPdSession& pd, COperationWatch& watch) const
{
    pd.Dev().BeginPhase(Phase::Return);
    std::optional<PdStatus> status = pd.TryStatus();
    if (!status && pd.WaitForReturn())
        status = pd.TryStatus();
    if (!status)
        watch.Fail(ExitCode::DeviceLost);
    if (!status->RunsFlash())
        watch.Fail(ExitCode::DeviceLost,
                   "the " + pd.Name() +
                       " is back, but it runs its ROM code and not the new firmware");
    if (status->Version() != m_image->Version())
        watch.Fail(ExitCode::Mismatch, "the " + pd.Name() + " runs version " +
                                           VersionText(status->Version()) + ", the image is " +
                                           VersionText(m_image->Version()));
    return status->Version();
}

std::string CPdChipCommand::RepeatText() const
{
    std::string strText = std::string(Name()) + " update " + ShellWord(m_strImage);
    if (m_wishes.bForce)
        strText += " --force";
    if (m_wishes.bAllowDowngrade)
        strText += " --allow-downgrade";
    return strText;
}

void CPdChipCommand::CheckBlank(CPdSession& pd) const
{
    for (const unsigned nBank : {0U, 1U}) {
        const std::vector<BYTE> flash =
            pd.ReadBank(nBank, CGuardedPdDev::kBankSize, "look whether it is blank");
        const auto it =
            std::find_if(flash.begin(), flash.end(), [](BYTE by) { return by != 0xFF; });
        if (it != flash.end())
            throw CToolError(
                Failure{ExitCode::WriteFailed,
                        "the " + pd.Name() + " reported that it erased its flash, but offset " +
                            Hex(static_cast<DWORD>(it - flash.begin()), 6) + " of bank " +
                            std::to_string(nBank) + " holds " + Hex(*it, 2),
                        PhaseName(Phase::Erase),
                        "the " + pd.Name() + " answers; its flash is erased in part or not at all",
                        "Type this again."});
    }
}

void CPdChipCommand::Erase(CPdSession& pd)
{
    const PdStatus before = pd.Status();
    {
        COperationWatch watch = pd.Watch(std::string(Name()) + " erase --yes", 0, false);
        const bool bDone = pd.Flow().DevErase();
        // The flow says yes also when the controller stayed away and nothing was erased.
        if (!bDone || !pd.Dev().Facts().bErased)
            watch.FailByFacts();
    }
    CheckBlank(pd);
    pd.Context().Progress().Clear();
    pd.Context().Out().Show(pd.Fields(
        {{{"before", "Before"}, VersionCell(before.RunsFlash(), before.Version())},
         {{"blank", "Blank"}, SizeCell(2 * CGuardedPdDev::kBankSize)},
         {{"result", "Result"}, Cell("erased; runs its ROM code", std::string("erased"))}}));
}

void CPdChipCommand::Dump(CPdSession& pd)
{
    const PdStatus status = pd.Status();
    const unsigned nBank = m_strBank == "running" ? status.RunningBank() : m_strBank == "1" ? 1 : 0;
    const std::vector<BYTE> flash = pd.ReadBank(nBank, static_cast<DWORD>(m_cb), "read");
    SaveNewFile(m_strFile, flash);
    pd.Context().Progress().Clear();
    pd.Context().Out().Show(pd.Fields({BankField("bank", "Bank", nBank),
                                       {{"file", "File"}, Cell(Printable(m_strFile))},
                                       {{"size", "Size"}, SizeCell(m_cb)}}));
    if (IsBlank(flash))
        pd.Context().Out().Warn("what was read is blank: every byte is " + Hex(flash.front(), 2));
}

void CPdChipCommand::Verify(CPdSession& pd)
{
    const PdStatus status = pd.Status();
    COperationWatch watch =
        pd.Watch(std::string(Name()) + " verify " + ShellWord(m_strImage), m_image->Size(), false);
    pd.Dev().SetFwBuf(m_image->Bytes());
    pd.Dev().CompareBank(status.RunningBank(), true);
    pd.Dev().BeginPhase(Phase::Verify);
    if (!pd.Dev().StrictReadBack())
        watch.FailByFacts();
    pd.Context().Progress().Clear();
    pd.Context().Out().Show(pd.Fields({{{"image", "Image"}, Cell(Printable(m_image->Path()))},
                                       {{"size", "Size"}, SizeCell(m_image->Size())},
                                       BankField("bank", "Compared bank", status.RunningBank()),
                                       {{"result", "Result"}, Cell("equal")}}));
}
