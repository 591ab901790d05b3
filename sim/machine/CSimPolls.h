#pragma once

#include "sim/models/CSimClock.h"

/// What polling costs: each counter reading or register access takes 1 us. When more polls than
/// the limit follow each other (no sleep, no transfer between them) while nothing is scheduled,
/// CWouldBlockForever is thrown.
class CSimPolls
{
public:
    static constexpr unsigned long long kUsualLimit = 1'000'000;

    explicit CSimPolls(CSimClock& clock) : m_clock(clock) {}

    void Poll();                                                    ///< one reading
    void Progress() { m_nPolls = 0; }                               ///< something else happened
    void SetLimit(unsigned long long nLimit) { m_nLimit = nLimit; } ///< 0: no limit

    /// Simulated time beyond which any sleep or poll throws CWouldBlockForever (0: no limit).
    void SetDeadline(CSimClock::Micros deadline) { m_deadline = deadline; }
    void CheckDeadline() const;

private:
    CSimClock& m_clock;
    unsigned long long m_nPolls = 0;
    unsigned long long m_nLimit = kUsualLimit;
    CSimClock::Micros m_deadline = 0;
};
