#pragma once

#include "sim/models/CSimClock.h"

#include "platform/Types.h"

enum class SimI2cAnswer
{
    Ack,
    Nak,  ///< nobody there, or refused: the master gives up at once
    Stuck ///< the target holds the bus: nobody on it answers until it is reset
};

/// What came of one transfer on the I2C bus, and the time that the target stretched it by.
struct SimI2cResult
{
    SimI2cAnswer eAnswer = SimI2cAnswer::Ack;
    CSimClock::Micros usTaken = 0;
};

/// A device on the I2C bus behind a hub, as the hub's block transfers reach it.
class ISimI2cTarget
{
public:
    virtual ~ISimI2cTarget() = default;

    /// The hub writes cb bytes (0 is possible) with a command byte and an offset.
    virtual SimI2cResult Write(BYTE byCommand, USHORT usOffset, const BYTE* pData, BYTE cb) = 0;

    /// The hub reads cb bytes; pData is filled only when the answer is Ack.
    virtual SimI2cResult Read(BYTE byCommand, USHORT usOffset, BYTE* pData, BYTE cb) = 0;
};
