#pragma once

#include "dev/CUSBDev.h"

/// The concrete hub: adds the version fields of a hub image.
class ZEL_API CHubDev : public CUSBDev
{
public:
    /// Reads a version out of the firmware buffer (big-endian): 1 = the one that a running hub
    /// reports, any other = the one chosen by the chip ID.
    /// @return false with wVersion unchanged when the image is too short for its version fields
    bool DevReadBINVersion(USHORT& wVersion, int nWhich) override;
};
