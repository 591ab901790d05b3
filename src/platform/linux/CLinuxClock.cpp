#include "platform/linux/CLinuxClock.h"

#include <cerrno>
#include <ctime>

namespace
{
constexpr LONGLONG kNanosPerSecond = 1000000000;
}

void CLinuxClock::Sleep(DWORD dwMs)
{
    timespec left = {static_cast<time_t>(dwMs / 1000), static_cast<long>(dwMs % 1000) * 1000000L};
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

LONGLONG CLinuxClock::Counter()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<LONGLONG>(now.tv_sec) * kNanosPerSecond + now.tv_nsec;
}

LONGLONG CLinuxClock::Frequency()
{
    return kNanosPerSecond;
}

void CLinuxClock::LocalTime(CALENDAR_TIME* pTime)
{
    // Every log line asks, mostly many times a second; taking the time apart costs more than the
    // rest of the call.
    thread_local time_t t_then = -1;
    thread_local tm t_local = {};
    const time_t now = ::time(nullptr);
    if (now != t_then) {
        ::localtime_r(&now, &t_local);
        t_then = now;
    }
    const tm& local = t_local;
    *pTime = {local.tm_year + 1900, local.tm_mon, local.tm_mday,
              local.tm_hour,        local.tm_min, local.tm_sec};
}
