#pragma once

#include "platform/IClock.h"

class CLinuxClock : public IClock
{
public:
    void Sleep(DWORD dwMs) override;
    LONGLONG Counter() override;   ///< nanoseconds
    LONGLONG Frequency() override; ///< 1,000,000,000
    void LocalTime(CALENDAR_TIME* pTime) override;
};
