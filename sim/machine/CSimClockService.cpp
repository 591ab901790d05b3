#include "sim/machine/CSimClockService.h"

#include "sim/machine/CSimMachine.h"

namespace
{
constexpr DWORD kSleepForever = 0xFFFFFFFF;
constexpr CSimClock::Micros kMicrosASecond = 1000000;

/// Days since 1970-01-01 of a civil date (month 1 to 12), and back.
long long DaysOf(int nYear, int nMonth, int nDay)
{
    const long long y = nMonth <= 2 ? nYear - 1 : nYear;
    const long long era = y / 400;
    const long long yearOfEra = y - era * 400;
    const long long dayOfYear = (153 * (nMonth + (nMonth > 2 ? -3 : 9)) + 2) / 5 + nDay - 1;
    const long long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

void SetDate(long long days, CALENDAR_TIME* pTime)
{
    const long long z = days + 719468;
    const long long era = z / 146097;
    const long long dayOfEra = z - era * 146097;
    const long long yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long long shifted = (5 * dayOfYear + 2) / 153;
    const long long month = shifted < 10 ? shifted + 3 : shifted - 9;
    pTime->nDay = static_cast<int>(dayOfYear - (153 * shifted + 2) / 5 + 1);
    pTime->nMonth = static_cast<int>(month - 1);
    pTime->nYear = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
}
} // namespace

void CSimClockService::Sleep(DWORD dwMs)
{
    (void)m_machine.Fault("IClock::Sleep");
    if (dwMs == kSleepForever)
        throw CWouldBlockForever("a sleep without end");
    if (dwMs != 0)
        m_machine.Polls().Progress();
    m_machine.Time().Advance(CSimClock::Micros{dwMs} * 1000);
    m_machine.Polls().CheckDeadline();
}

LONGLONG CSimClockService::Counter()
{
    (void)m_machine.Fault("IClock::Counter");
    m_machine.Polls().Poll();
    const CSimClock::Micros now = m_machine.Time().Now();
    const auto frequency = static_cast<CSimClock::Micros>(m_llFrequency);
    const CSimClock::Micros ticks =
        now / kMicrosASecond * frequency + now % kMicrosASecond * frequency / kMicrosASecond;
    return static_cast<LONGLONG>(ticks);
}

LONGLONG CSimClockService::Frequency()
{
    (void)m_machine.Fault("IClock::Frequency");
    return m_llFrequency;
}

void CSimClockService::LocalTime(CALENDAR_TIME* pTime)
{
    (void)m_machine.Fault("IClock::LocalTime");
    *pTime = m_start;
    if (m_bFixed)
        return;
    long long seconds = DaysOf(m_start.nYear, m_start.nMonth + 1, m_start.nDay) * 86400 +
                        m_start.nHour * 3600LL + m_start.nMinute * 60LL + m_start.nSecond;
    seconds += static_cast<long long>(m_machine.Time().Now() / kMicrosASecond);
    SetDate(seconds / 86400, pTime);
    const auto second = static_cast<int>(seconds % 86400);
    pTime->nHour = second / 3600;
    pTime->nMinute = second / 60 % 60;
    pTime->nSecond = second % 60;
}
