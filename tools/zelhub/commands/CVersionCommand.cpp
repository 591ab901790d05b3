#include "tools/zelhub/commands/CVersionCommand.h"

#include "tools/zelhub/devices/CHubSession.h"
#include "tools/zelhub/input/CImageFile.h"

void CVersionCommand::Declare(CArguments& root)
{
    Made(root.Sub("version", "Read the version of the firmware that a hub runs",
                  "Fails when the hub runs its ROM code, which has none."));
}

void CVersionCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    session.OpenChosen();
    const HubReads::Status status = session.Status();
    const unsigned nFailed = session.Responder().FailedTransfers();
    const std::optional<USHORT> version = session.RunningVersion();
    const bool bAgrees = version && session.Responder().FailedTransfers() == nFailed &&
                         *version == HubReads::RunningVersion(status);
    context.Progress().Clear();
    if (!HubReads::RunsFlashCode(status))
        throw CToolError(Failure{ExitCode::General,
                                 "the hub runs its ROM code, which has no version", "",
                                 "the hub is on the bus and can be updated",
                                 CommandPrefix(context.Opts()) + " update IMAGE " +
                                     session.SelectorText() + " --force"});
    if (!bAgrees)
        throw CToolError(session.IsStillOnBus() ? ExitCode::General : ExitCode::DeviceLost,
                         "the hub's version cannot be read",
                         "Type this again; if that does not help, plug the hub in again.");
    context.Out().Show(session.HubFields({{{"version", "Version"}, Cell(VersionText(*version))}}));
}
