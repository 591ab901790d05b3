#pragma once

/// Where an operation on a hub is.
enum class Phase
{
    Connect,
    ResetToRom,
    Erase,
    Write,
    Verify,
    ResetToFlash,
    Return ///< coming back with the new version
};

/// "write" and the like.
const char* PhaseName(Phase ePhase);
