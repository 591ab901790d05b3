#pragma once

#include <atomic>
#include <list>
#include <mutex>
#include <thread>

#include "msg/ERRORLEVEL.h"
#include "platform/Export.h"
#include "platform/Types.h"

class IResponder;

/// Formats a message once and hands it to every attached responder. Any thread may report;
/// Attach and ClearResponder are for start and end, when nobody else does. A report leaves the
/// thread's last error as it was.
class ZEL_API CMsgBase
{
public:
    CMsgBase();
    CMsgBase(const CMsgBase&) = delete;
    CMsgBase& operator=(const CMsgBase&) = delete;
    virtual ~CMsgBase();

    /// Appends a responder (not owned, no duplicate check). Throws std::length_error
    /// "list too long" when the list is full.
    void Attach(IResponder* pResponder);
    void ClearResponder(); ///< empties the list; the responders stay alive

    /// Sends one log line: stamp, "In <func>, ", text; cut at 1,024 bytes with its terminator.
    /// Throws std::system_error when a responder calls back.
    void ShowMsg(ERRORLEVEL eLevel, const char* pszFunc, const char* pszFormat, ...);

    /// The same with a wide format. Fatal when the narrow text does not fit behind its head.
    void ShowMsg_U(ERRORLEVEL eLevel, const char* pszFunc, const WCHAR* pszFormat, ...);

    /// Sends the text alone, cut at 1,024 bytes with its terminator.
    void ShowUIMsg(RESTYPE eType, const char* pszFormat, ...);
    void CountDown(const char* pszTitle, int nSeconds, ERRORLEVEL eLevel); ///< seconds left
    void ShowProgress(int nPercent);                                       ///< 0 to 100

private:
    class CDispatchLock;

    std::list<IResponder*> m_lstResponder;
    std::mutex m_mutex;
    std::atomic<std::thread::id> m_holder; ///< the thread that is calling responders
};
