#pragma once

#include "sim/models/CSimClock.h"

#include "platform/Types.h"

#include <map>
#include <string>

/// A hub's memory registers, and the lock in them that guards its flash against an erase:
/// 0xD820 must be 1, the 32 bits at 0xD825 256, 0xD900 0, then bit 0 of 0xD800 set with its
/// other bits kept, and 20 ms must pass. An erase and a restart lock it again.
class CSimHubRegisters
{
public:
    static constexpr CSimClock::Micros kSettleMicros = 20'000;

    explicit CSimHubRegisters(CSimClock& clock) : m_clock(clock) { Reset(); }

    void Reset();
    BYTE Read(USHORT usAddr) const;
    void Write(USHORT usAddr, BYTE by);

    /// What an erase would find wrong now, empty when all is prepared.
    std::string EraseObstacle() const;
    void LockErase();

private:
    CSimClock& m_clock;
    std::map<USHORT, BYTE> m_values;
    CSimClock::Micros m_usUnlocked = 0;
};
