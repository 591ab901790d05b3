#pragma once

#include "platform/Types.h"

#include <array>

/// What a PD controller says of itself.
struct PdStatus
{
    std::array<BYTE, 20> bytes = {};

    bool RunsFlash() const { return bytes[0] != 0; }
    USHORT Version() const { return static_cast<USHORT>(bytes[3] << 8 | bytes[4]); }
    bool Validates() const { return (bytes[13] & 0x08) != 0; }
    bool ChecksCrc() const { return (bytes[13] & 0x04) != 0; }
    unsigned RunningBank() const { return (bytes[14] & 0x10) != 0 ? 1 : 0; }
};
