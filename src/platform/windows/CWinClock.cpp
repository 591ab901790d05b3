#include "platform/windows/CWinClock.h"

#include <windows.h>

void CWinClock::Sleep(DWORD dwMs)
{
    ::Sleep(dwMs);
}

LONGLONG CWinClock::Counter()
{
    LARGE_INTEGER ticks = {};
    ::QueryPerformanceCounter(&ticks);
    return ticks.QuadPart;
}

LONGLONG CWinClock::Frequency()
{
    LARGE_INTEGER ticks = {};
    ::QueryPerformanceFrequency(&ticks);
    return ticks.QuadPart;
}

void CWinClock::LocalTime(CALENDAR_TIME* pTime)
{
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    *pTime = {now.wYear, now.wMonth - 1, now.wDay, now.wHour, now.wMinute, now.wSecond};
}
