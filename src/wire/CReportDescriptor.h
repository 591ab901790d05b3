#pragma once

#include "platform/IHid.h"

#include <vector>

/// HID report descriptors (Device Class Definition for HID, 6.2.2).
class CReportDescriptor
{
public:
    /// What a system says about each top-level collection; nothing when the descriptor has none
    /// or is broken. Report lengths count the byte that a report's ID has or would have.
    static std::vector<HID_CAPS> Collections(const std::vector<BYTE>& report);
};
