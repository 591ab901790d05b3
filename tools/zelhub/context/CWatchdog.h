#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

/// Ends the process when a command takes longer than asked, whatever it waits for: the leave
/// card says in which state that leaves the hub.
class CWatchdog
{
public:
    /// @param dSeconds of real time; 0: never
    explicit CWatchdog(double dSeconds);
    CWatchdog(const CWatchdog&) = delete;
    CWatchdog& operator=(const CWatchdog&) = delete;
    ~CWatchdog();

private:
    void Watch(double dSeconds);

    std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_bDone = false;
    std::thread m_thread;
};
