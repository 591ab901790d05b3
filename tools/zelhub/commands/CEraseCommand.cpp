#include "tools/zelhub/commands/CEraseCommand.h"

#include "tools/zelhub/devices/COperationWatch.h"
#include "tools/zelhub/devices/FlashDump.h"
#include "tools/zelhub/input/CImageFile.h"

#include <algorithm>

void CEraseCommand::Declare(CArguments& root)
{
    CArguments& args = Made(
        root.Sub("erase", "Erase a hub's flash; the hub then runs its ROM code until it is updated",
                 "Reads the flash back afterwards: exits 0 only when it is blank."));
    args.Flag("--yes", m_bYes, "really do it: the hub's firmware is lost");
    args.Number("--size", m_cbCheck, 4096, CImageFile::kMaxSize,
                "bytes to look at afterwards (default 32768)");
}

void CEraseCommand::Run(CToolContext& context)
{
    if (!m_bYes)
        throw CToolError(ExitCode::Usage, "erase takes the hub's firmware away",
                         "Add --yes to do it; zelhub dump makes a copy before.");
    CHubSession session(context);
    session.OpenChosen();
    const HubReads::Status before = session.Status();
    COperationWatch watch(session, "erase --yes", 0, false);
    const bool bDone = session.Flow().DevErase();
    // The flow says yes also when the hub stayed away and nothing was erased.
    if (!bDone || !session.Dev().Facts().bErased)
        watch.FailByFacts();
    CheckBlank(session, static_cast<DWORD>(m_cbCheck));
    context.Progress().Clear();
    context.Out().Show(session.HubFields(
        {{{"before", "Before"},
          HubReads::RunsFlashCode(before) ? Cell(VersionText(HubReads::RunningVersion(before)))
                                          : Cell::None("none (ROM code)")},
         {{"blank", "Blank"}, SizeCell(m_cbCheck)},
         {{"result", "Result"}, Cell("erased; runs its ROM code", std::string("erased"))}}));
}

void CEraseCommand::CheckBlank(CHubSession& session, DWORD cb) const
{
    const std::vector<BYTE> flash = ReadFlashWhole(session, cb, "look whether it is blank");
    const auto it = std::find_if(flash.begin(), flash.end(), [](BYTE by) { return by != 0xFF; });
    if (it == flash.end())
        return;
    throw CToolError(Failure{
        ExitCode::WriteFailed,
        "the hub reported that it erased its flash, but offset " +
            Hex(static_cast<unsigned long long>(it - flash.begin()), 6) + " holds " + Hex(*it, 2),
        PhaseName(Phase::Erase), "the hub is on the bus; its flash is erased in part or not at all",
        CommandPrefix(session.Context().Opts()) + " erase --yes " + session.SelectorText()});
}
