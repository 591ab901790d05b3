#pragma once

#include "platform/IHid.h"

#include <optional>
#include <vector>

/// HID report descriptors (Device Class Definition for HID, 6.2.2).
class CReportDescriptor
{
public:
    /// What a system says about the first top-level collection; nothing when the descriptor has
    /// none or breaks off. Report lengths are those of the whole first collection, with the byte
    /// that a report's ID has or would have.
    static std::optional<HID_CAPS> Capabilities(const std::vector<BYTE>& report);
};
