#include "tools/zelhub/devices/UpdateGuards.h"

#include "wire/HubRequests.h"

namespace
{

[[noreturn]] void Refuse(const HubBefore& before, const std::string& strWhat,
                         const std::string& strNext)
{
    throw CToolError(
        Failure{ExitCode::ImageRefused, strWhat, "check",
                "the " + before.strDevice + " is on the bus; its flash was not touched", strNext});
}

void CheckChip(COutput& output, const CImageFile& image, const HubBefore& before,
               const UpdateWishes& wishes)
{
    if (!before.chipId) {
        const std::string strWhat = "the chip ID in the " + before.strDevice +
                                    "'s own flash cannot be read, so it "
                                    "cannot be told whether this image is for it";
        if (!wishes.bForce)
            Refuse(before, strWhat,
                   "If you are sure that image and " + before.strDevice +
                       " belong together, add --force.");
        output.Warn(strWhat + "; going on because of --force");
    } else if (*before.chipId != image.ChipId()) {
        Refuse(before,
               "the image is for chip " + Hex(image.ChipId(), 4) + ", the " + before.strDevice +
                   " is " + Hex(*before.chipId, 4),
               "Give the image for this " + before.strDevice + ".");
    }
}

} // namespace

std::optional<USHORT> ChipIdInHub()
{
    constexpr DWORD dwBlock = CImageFile::kChipIdAt / FLASH_REQUEST_MAX * FLASH_REQUEST_MAX;
    std::vector<BYTE> bytes;
    if (!HubReads::ReadFlash(dwBlock, FLASH_REQUEST_MAX, bytes))
        return std::nullopt;
    const USHORT wChipId = WordAt(bytes, CImageFile::kChipIdAt - dwBlock);
    if (wChipId == 0xFFFF || wChipId == 0)
        return std::nullopt;
    return wChipId;
}

HubBefore AskHub(CHubSession& session)
{
    const HubReads::Status status = session.Status();
    HubBefore before;
    before.bRunsFlash = HubReads::RunsFlashCode(status);
    before.bDualBank = HubReads::IsDualBank(status);
    before.wVersion = HubReads::RunningVersion(status);
    before.chipId = ChipIdInHub();
    return before;
}

bool MayUpdate(COutput& output, const CImageFile& image, const HubBefore& before,
               const UpdateWishes& wishes)
{
    CheckChip(output, image, before, wishes);
    if (!before.bRunsFlash) {
        output.Say("the " + before.strDevice +
                   " runs ROM code; there is no running version to compare with");
        return true;
    }
    const std::string strBoth = "the " + before.strDevice + " runs " +
                                VersionText(before.wVersion) + ", the image is " +
                                VersionText(image.Version());
    if (image.Version() == before.wVersion)
        return wishes.bForce;
    if (image.Version() < before.wVersion && !wishes.bAllowDowngrade)
        Refuse(before, "the image is older: " + strBoth,
               "To go back on purpose, add --allow-downgrade.");
    return true;
}
