#include "tools/zelhub/commands/CUpdateCommand.h"

#include "tools/zelhub/devices/COperationWatch.h"
#include "tools/zelhub/devices/FlashDump.h"

#include <filesystem>

namespace
{

std::vector<Field> ImageFields(const CImageFile& image, const std::vector<Field>& more)
{
    std::vector<Field> fields = {
        {{"image", "Image"}, Cell(Printable(image.Path()))},
        {{"imageVersion", "Image version"}, Cell(VersionText(image.Version()))},
        {{"size", "Size"}, SizeCell(image.Size())}};
    fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}

Cell BeforeCell(const HubBefore& before)
{
    return before.bRunsFlash ? Cell(VersionText(before.wVersion)) : Cell::None("none (ROM code)");
}

const char* BankText(const HubBefore& before)
{
    return before.bDualBank && before.bRunsFlash ? "the bank that was written (the other one ran)"
                                                 : "the flash that was written";
}

/// Waits until the hub is back and says that it runs the image's version; the flow looks at
/// neither. @return that version
USHORT CheckReturn(CHubSession& session, COperationWatch& watch, const CImageFile& image)
{
    session.Dev().BeginPhase(Phase::Return);
    if (!session.Dev().IsPresent() && !session.WaitForReturn())
        watch.Fail(ExitCode::DeviceLost);
    const std::optional<USHORT> version = session.RunningVersion();
    const std::optional<HubReads::Status> status = session.TryStatus();
    if (!status)
        watch.Fail(session.IsStillOnBus() ? ExitCode::General : ExitCode::DeviceLost,
                   "the hub came back, but does not say what it runs");
    if (!HubReads::RunsFlashCode(*status) || !version)
        watch.Fail(ExitCode::DeviceLost,
                   "the hub is back, but it runs its ROM code and not the new firmware");
    if (*version != image.Version() || HubReads::RunningVersion(*status) != image.Version())
        watch.Fail(ExitCode::Mismatch, "the hub runs version " + VersionText(*version) +
                                           ", the image is " + VersionText(image.Version()));
    return *version;
}

/// After an update that stopped before flash was touched the hub may be left in ROM code
/// although its firmware is whole: starts it again.
void BringBack(CHubSession& session)
{
    const OperationFacts& facts = session.Dev().Facts();
    if (!facts.bReset || facts.FlashTouched() || !session.WaitForReturn())
        return;
    session.Dev().JudgeCodeMode(&session.Dev());
    if (session.Dev().GetDevState() != session.Dev().GetCertainDevState(ROM_STATE))
        return;
    if (session.Dev().CHubDev::Reset2FlashEx() && session.Flow().DisconnectDevice(0))
        (void)session.WaitForReturn();
}

} // namespace

void CUpdateCommand::Declare(CArguments& root)
{
    CArguments& args = Made(root.Sub(
        "update", "Write a firmware image to a hub and restart it into the new version",
        "Checks image and hub before anything is changed, writes, reads every byte back before\n"
        "the hub is restarted, and waits until the hub is back with the image's version.\n"
        "Exits 0 also when the hub runs that version already (--force writes it again)."));
    args.Text("IMAGE", m_strImage, "firmware image file", true);
    args.Flag("--dry-run", m_bDryRun, "check everything and change nothing");
    args.Text("--backup", m_strBackup, "first read as many bytes of flash into this new file");
    args.Number("--flash-size", m_cbFlash, CImageFile::kMinSize, CImageFile::kMaxSize,
                "bytes of the hub's flash: refuse a larger image, back up all of it");
    args.Flag("--force", m_wishes.bForce,
              "write the same version again; go on where the hub's chip ID cannot be read");
    args.Flag("--allow-downgrade", m_wishes.bAllowDowngrade, "accept an older version");
}

void CUpdateCommand::Run(CToolContext& context)
{
    const CImageFile image = CImageFile::Load(m_strImage, static_cast<DWORD>(m_cbFlash));
    if (!m_strBackup.empty())
        CheckNewFile(m_strBackup, false);
    CHubSession session(context);
    session.OpenChosen();
    const HubBefore before = AskHub(session);
    if (!MayUpdate(context.Out(), image, before, m_wishes)) {
        Current(session, image);
        return;
    }
    if (m_bDryRun) {
        Plan(session, image, before);
        return;
    }
    if (!m_strBackup.empty())
        Backup(session, image);
    Load(session, image);
    Update(session, image, before);
}

void CUpdateCommand::Current(CHubSession& session, const CImageFile& image) const
{
    session.Context().Progress().Clear();
    session.Context().Out().Show(session.HubFields(
        {{{"before", "Before"}, Cell(VersionText(image.Version()))},
         {{"after", "After"}, Cell(VersionText(image.Version()))},
         {{"result", "Result"}, Cell("already current", std::string("current"))}}));
}

void CUpdateCommand::Plan(CHubSession& session, const CImageFile& image,
                          const HubBefore& before) const
{
    session.Context().Progress().Clear();
    COutput& output = session.Context().Out();
    output.Show(session.HubFields(ImageFields(
        image, {{{"before", "Before"}, BeforeCell(before)},
                {{"result", "Result"},
                 Cell("would be updated; nothing was changed", std::string("dry-run"))}})));
}

void CUpdateCommand::Backup(CHubSession& session, const CImageFile& image) const
{
    const DWORD cb = m_cbFlash != 0 ? static_cast<DWORD>(m_cbFlash) : image.Size();
    SaveNewFile(m_strBackup, ReadFlashWhole(session, cb, "back up"));
    session.Context().Progress().Clear();
    session.Context().Out().Say("backed up " + SizeText(cb) + " of flash to " +
                                Printable(m_strBackup));
}

void CUpdateCommand::Load(CHubSession& session, const CImageFile& image) const
{
    // The library reads the file once more: what it holds has to be what was checked.
    if (!session.Flow().InitFwFinder(image.Path()) || session.Dev().GetFwBuf() != image.Bytes())
        throw CToolError(ExitCode::ImageRefused,
                         "image " + Printable(image.Path()) + " changed while it was read",
                         "Nothing was touched; type this again when the file is complete.");
}

void CUpdateCommand::Update(CHubSession& session, const CImageFile& image,
                            const HubBefore& before) const
{
    COperationWatch watch(session, RepeatText(), image.Size(),
                          before.bDualBank && before.bRunsFlash);
    const bool bDone = session.Flow().DevUpdate();
    const OperationFacts facts = session.Dev().Facts();
    // The flow says yes also when the hub stayed away after a reset: what happened counts.
    if (!bDone || !facts.bVerified || !facts.bStarted) {
        BringBack(session);
        watch.FailByFacts();
    }
    const USHORT wVersion = CheckReturn(session, watch, image);
    session.Context().Progress().Clear();
    COutput& output = session.Context().Out();
    output.Show(
        session.HubFields(ImageFields(image, {{{"compared", "Read back"}, Cell(BankText(before))},
                                              {{"before", "Before"}, BeforeCell(before)},
                                              {{"after", "After"}, Cell(VersionText(wVersion))},
                                              {{"result", "Result"}, Cell("updated")}})));
}

std::string CUpdateCommand::RepeatText() const
{
    std::string strText = "update " + ShellWord(m_strImage);
    if (m_cbFlash != 0)
        strText += " --flash-size " + std::to_string(m_cbFlash);
    if (m_wishes.bForce)
        strText += " --force";
    if (m_wishes.bAllowDowngrade)
        strText += " --allow-downgrade";
    return strText;
}
