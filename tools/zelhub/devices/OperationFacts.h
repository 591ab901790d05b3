#pragma once

#include "platform/Types.h"
#include "tools/zelhub/output/Phase.h"

#include <optional>
#include <string>

/// The first byte that differs.
struct FirstDifference
{
    DWORD dwOffset = 0;
    BYTE byImage = 0;
    BYTE byDevice = 0;
};

/// What really happened to a device, step by step; the library's results alone do not tell.
struct OperationFacts
{
    std::string strDevice;         ///< what messages call it ("hub")
    Phase ePhase = Phase::Connect; ///< the last one that was begun
    bool bReset = false;           ///< a reset to ROM code was accepted
    bool bEraseBegun = false;
    bool bErased = false;
    bool bWriteBegun = false;
    bool bWritten = false;
    bool bVerified = false; ///< the strict read-back found the image, and the hub's check agreed
    bool bStarted = false;  ///< the reset into flash code was accepted
    bool bDualBank = false;
    bool bInterrupted = false;    ///< a step was refused after Ctrl-C
    std::string strTransferError; ///< what the transport said last; empty: nothing
    std::optional<FirstDifference> difference;
    std::string strCheckError; ///< why the check failed where no byte differs

    bool FlashTouched() const { return bEraseBegun || bWriteBegun; }
};

enum class Presence
{
    OnBus,
    Gone,
    Restarting ///< told to restart, and nobody has looked since
};

/// What state a device is in after the operation, in words.
std::string StateText(const OperationFacts& facts, Presence ePresence);
