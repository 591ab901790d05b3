#include "tools/zelhub/context/CWatchdog.h"

#include "tools/zelhub/system/HostSystem.h"

#include <chrono>

CWatchdog::CWatchdog(double dSeconds)
{
    if (dSeconds > 0)
        m_thread = std::thread([this, dSeconds] { Watch(dSeconds); });
}

CWatchdog::~CWatchdog()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bDone = true;
    }
    m_done.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void CWatchdog::Watch(double dSeconds)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_done.wait_for(lock, std::chrono::duration<double>(dSeconds), [this] { return m_bDone; }))
        HostSystem::LeaveNow("\nzelhub: the time of --timeout is over.\n");
}
