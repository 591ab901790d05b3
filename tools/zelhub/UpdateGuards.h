#pragma once

#include "tools/zelhub/CHubSession.h"
#include "tools/zelhub/CImageFile.h"

/// What the hub says before an update.
struct HubBefore
{
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

/// Whether an image may be written to a hub. Throws CToolError (image refused) when it may not.
/// @return false when the hub runs that version already, and nobody insists
bool MayUpdate(CHubSession& session, const CImageFile& image, const HubBefore& before,
               const UpdateWishes& wishes);

/// The chip ID in the hub's own flash; nothing when it is blank or cannot be read.
std::optional<USHORT> ChipIdInHub();
