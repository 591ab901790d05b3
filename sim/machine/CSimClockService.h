#pragma once

#include "platform/IClock.h"
#include "sim/machine/CSimPolls.h"

class CSimMachine;

/// The clock of a simulated process: sleeping jumps, each counter reading takes 1 us.
class CSimClockService : public IClock
{
public:
    explicit CSimClockService(CSimMachine& machine) : m_machine(machine) {}

    void SetFrequency(LONGLONG llFrequency) { m_llFrequency = llFrequency; } ///< 10 MHz at first

    /// The local time at simulated time 0 (2024-03-01 08:00:00 at first).
    void SetStart(const CALENDAR_TIME& start) { m_start = start; }

    /// Makes the local time stand still at the start.
    void SetFixed(bool bFixed) { m_bFixed = bFixed; }

    void Sleep(DWORD dwMs) override;
    LONGLONG Counter() override;
    LONGLONG Frequency() override;
    void LocalTime(CALENDAR_TIME* pTime) override;

private:
    CSimMachine& m_machine;
    LONGLONG m_llFrequency = 10000000;
    CALENDAR_TIME m_start = {2024, 2, 1, 8, 0, 0};
    bool m_bFixed = false;
};
