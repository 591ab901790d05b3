#pragma once

#include "platform/Types.h"

/// Local calendar time, broken down.
struct CALENDAR_TIME
{
    int nYear;  ///< full year
    int nMonth; ///< 0 to 11
    int nDay;   ///< 1 to 31
    int nHour;
    int nMinute;
    int nSecond;
};

/// Time. None of these fails or touches the last error.
class IClock
{
public:
    virtual ~IClock() = default;

    virtual void Sleep(DWORD dwMs) = 0;
    virtual LONGLONG Counter() = 0;   ///< performance counter, in ticks
    virtual LONGLONG Frequency() = 0; ///< ticks a second
    virtual void LocalTime(CALENDAR_TIME* pTime) = 0;
};
