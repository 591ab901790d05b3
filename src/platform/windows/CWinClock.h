#pragma once

#include "platform/IClock.h"

class CWinClock : public IClock
{
public:
    void Sleep(DWORD dwMs) override;
    LONGLONG Counter() override;
    LONGLONG Frequency() override;
    void LocalTime(CALENDAR_TIME* pTime) override;
};
