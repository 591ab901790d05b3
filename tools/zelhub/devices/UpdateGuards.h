#pragma once

#include "tools/zelhub/devices/CHubSession.h"
#include "tools/zelhub/input/CImageFile.h"

/// What a device says before an update.
struct HubBefore
{
    std::string strDevice = "hub"; ///< what messages call it
    bool bRunsFlash = false;
    bool bDualBank = false;
    USHORT wVersion = 0;          ///< while flash code runs
    std::optional<USHORT> chipId; ///< in its own flash; nothing: cannot be read
};

struct UpdateWishes
{
    bool bForce = false;
    bool bAllowDowngrade = false;
};

/// Reads what the guards compare. Throws CToolError.
HubBefore AskHub(CHubSession& session);

/// Whether an image may be written to a device. Throws CToolError (image refused) when it may not.
/// @return false when it runs that version already, and nobody insists
bool MayUpdate(COutput& output, const CImageFile& image, const HubBefore& before,
               const UpdateWishes& wishes);

/// The chip ID in the hub's own flash; nothing when it is blank or cannot be read.
std::optional<USHORT> ChipIdInHub();
