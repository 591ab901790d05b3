#include "tools/zelhub/commands/CResetCommand.h"

#include "tools/zelhub/devices/CHubSession.h"
#include "tools/zelhub/devices/COperationWatch.h"
#include "tools/zelhub/input/CImageFile.h"

void CResetCommand::Declare(CArguments& root)
{
    CArguments& args = Made(root.Sub("reset", "Restart a hub and wait until it is back",
                                     "What is plugged into the hub goes away for a moment."));
    args.Flag("--rom", m_bToRom, "start its ROM code instead of its firmware");
}

void CResetCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    session.OpenChosen();
    const bool bDual = HubReads::IsDualBank(session.Status());
    COperationWatch watch(session, m_bToRom ? "reset --rom" : "reset", 0, bDual);
    CGuardedHubDev& dev = session.Dev();
    if (!(m_bToRom ? dev.Reset2RomEx() : dev.Reset2FlashEx()))
        watch.FailByFacts();
    if (!session.Flow().DisconnectDevice(0))
        watch.Fail(ExitCode::General, "the hub accepted the reset but did not restart");
    if (!session.WaitForReturn())
        watch.FailByFacts();
    const HubReads::Status status = session.Status();
    const bool bFlash = HubReads::RunsFlashCode(status);
    if (bFlash == m_bToRom)
        watch.Fail(ExitCode::General, bFlash ? "the hub is back, but runs its firmware"
                                             : "the hub is back, but runs its ROM code: its flash "
                                               "holds no firmware that it starts");
    context.Progress().Clear();
    context.Out().Show(session.HubFields(
        {{{"code", "Code"}, CodeCell(bFlash)},
         {{"version", "Version"},
          bFlash ? Cell(VersionText(HubReads::RunningVersion(status))) : Cell::None()},
         {{"result", "Result"}, Cell("restarted")}}));
}
