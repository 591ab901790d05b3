#include "sim/machine/CSimPolls.h"

void CSimPolls::Poll()
{
    m_clock.Advance(1);
    ++m_nPolls;
    if (m_nLimit != 0 && m_nPolls > m_nLimit && !m_clock.AnythingScheduled())
        throw CWouldBlockForever("polled beyond the limit while nothing is scheduled");
    CheckDeadline();
}

void CSimPolls::CheckDeadline() const
{
    if (m_deadline != 0 && m_clock.Now() > m_deadline)
        throw CWouldBlockForever("the simulated time that the test allows is over");
}
