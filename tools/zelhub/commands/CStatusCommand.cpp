#include "tools/zelhub/commands/CStatusCommand.h"

#include "tools/zelhub/devices/CHubSession.h"
#include "tools/zelhub/devices/UpdateGuards.h"
#include "tools/zelhub/input/CImageFile.h"

void CStatusCommand::Declare(CArguments& root)
{
    Made(root.Sub("status", "Read a hub's status block and decode it",
                  "Shows which code runs, its version, the flash banks and the chip ID."));
}

void CStatusCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    session.OpenChosen();
    const HubReads::Status status = session.Status();
    const std::optional<USHORT> chipId = ChipIdInHub();
    context.Progress().Clear();
    const bool bFlash = HubReads::RunsFlashCode(status);
    context.Out().Show(session.HubFields(
        {{{"code", "Code"}, CodeCell(bFlash)},
         {{"version", "Version"},
          bFlash ? Cell(VersionText(HubReads::RunningVersion(status))) : Cell::None()},
         {{"dualBank", "Dual bank"}, Cell::YesNo(HubReads::IsDualBank(status))},
         {{"validates", "Validates images"}, Cell::YesNo(HubReads::CanValidate(status))},
         {{"chip", "Chip ID in flash"},
          chipId ? Cell(Hex(*chipId, 4)) : Cell::None("cannot be read")},
         {{"status", "Status block"}, Cell(HexBytes(status.data(), status.size()))}}));
}
