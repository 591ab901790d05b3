#include "msg/CMsgBase.h"

#include <cstring>
#include <system_error>

#include "msg/Formatter.h"
#include "msg/IResponder.h"
#include "msg/NarrowText.h"
#include "platform/Fatal.h"
#include "platform/IClock.h"
#include "platform/IProcess.h"
#include "platform/ListGrowth.h"
#include "platform/Platform.h"

namespace
{
constexpr std::size_t kLineSize = 1024;

std::size_t Append(char* pOut, std::size_t nRoom, const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    const std::size_t n = FormatText(pOut, nRoom, pszFormat, args);
    va_end(args);
    return n;
}

/// Writes stamp and function; @return its length
std::size_t FormatHead(char (&szLine)[kLineSize], const char* pszFunc, std::size_t nRoomForFunc)
{
    CALENDAR_TIME now = {};
    CurrentPlatform().Clock().LocalTime(&now);
    // Deliberate: the month counts from 0, and no field is padded.
    const std::size_t nStamp = Append(szLine, kLineSize, "[%d-%d-%d, %d:%d:%d]  ", now.nYear,
                                      now.nMonth, now.nDay, now.nHour, now.nMinute, now.nSecond);
    return nStamp + Append(szLine + nStamp, nRoomForFunc - nStamp, "In %s, ", pszFunc);
}

/// Gives the thread's last error back when a report ends.
class CLastErrorKeeper
{
public:
    CLastErrorKeeper() : m_dwError(CurrentPlatform().Process().LastError()) {}
    CLastErrorKeeper(const CLastErrorKeeper&) = delete;
    CLastErrorKeeper& operator=(const CLastErrorKeeper&) = delete;
    ~CLastErrorKeeper() { CurrentPlatform().Process().SetLastError(m_dwError); }

private:
    DWORD m_dwError;
};
} // namespace

/// Holds the dispatcher's lock; a second lock by the same thread is an error, not a hang.
class CMsgBase::CDispatchLock
{
public:
    explicit CDispatchLock(CMsgBase& msg) : m_msg(msg)
    {
        if (m_msg.m_holder.load() == std::this_thread::get_id())
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        m_msg.m_mutex.lock();
        m_msg.m_holder.store(std::this_thread::get_id());
    }
    CDispatchLock(const CDispatchLock&) = delete;
    CDispatchLock& operator=(const CDispatchLock&) = delete;
    ~CDispatchLock()
    {
        m_msg.m_holder.store(std::thread::id());
        m_msg.m_mutex.unlock();
    }

private:
    CMsgBase& m_msg;
};

CMsgBase::CMsgBase() = default;
CMsgBase::~CMsgBase() = default;

void CMsgBase::Attach(IResponder* pResponder)
{
    AppendOrThrow(m_lstResponder, pResponder);
}

void CMsgBase::ClearResponder()
{
    m_lstResponder.clear();
}

void CMsgBase::ShowMsg(ERRORLEVEL eLevel, const char* pszFunc, const char* pszFormat, ...)
{
    if (m_lstResponder.empty())
        return;
    const CLastErrorKeeper keeper;
    char szLine[kLineSize] = {};
    const std::size_t nHead = FormatHead(szLine, pszFunc, kLineSize);
    va_list args;
    va_start(args, pszFormat);
    FormatText(szLine + nHead, kLineSize - nHead, pszFormat, args);
    va_end(args);

    const CDispatchLock lock(*this);
    for (IResponder* pResponder : m_lstResponder)
        pResponder->ShowMsg(szLine, eLevel);
}

void CMsgBase::ShowMsg_U(ERRORLEVEL eLevel, const char* pszFunc, const WCHAR* pszFormat, ...)
{
    const CLastErrorKeeper keeper;
    char szLine[kLineSize] = {};
    // Deliberate: the head is offered one byte less here than in ShowMsg.
    const std::size_t nHead = FormatHead(szLine, pszFunc, kLineSize - 1);
    WCHAR szWide[kLineSize] = {};
    va_list args;
    va_start(args, pszFormat);
    FormatText(szWide, kLineSize, pszFormat, args);
    va_end(args);

    const std::string strText = ToNarrow(szWide);
    // Deliberate: a wide message that does not fit ends the process, it is not cut.
    if (strText.size() > kLineSize - nHead)
        Fatal("message too long");
    std::memcpy(szLine + nHead, strText.data(), strText.size());
    if (nHead + strText.size() >= kLineSize)
        Fatal("message too long");
    szLine[nHead + strText.size()] = 0;

    const CDispatchLock lock(*this);
    for (IResponder* pResponder : m_lstResponder)
        pResponder->ShowMsg(szLine, eLevel);
}

void CMsgBase::ShowUIMsg(RESTYPE eType, const char* pszFormat, ...)
{
    if (m_lstResponder.empty())
        return;
    const CLastErrorKeeper keeper;
    char szText[kLineSize] = {};
    va_list args;
    va_start(args, pszFormat);
    FormatText(szText, kLineSize, pszFormat, args);
    va_end(args);

    const CDispatchLock lock(*this);
    for (IResponder* pResponder : m_lstResponder)
        pResponder->ShowUIMsg(szText, eType);
}

void CMsgBase::CountDown(const char* pszTitle, int nSeconds, ERRORLEVEL eLevel)
{
    const CLastErrorKeeper keeper;
    const CDispatchLock lock(*this);
    for (IResponder* pResponder : m_lstResponder)
        pResponder->CountDown(pszTitle, nSeconds, eLevel);
}

void CMsgBase::ShowProgress(int nPercent)
{
    const CLastErrorKeeper keeper;
    const CDispatchLock lock(*this);
    for (IResponder* pResponder : m_lstResponder)
        pResponder->ShowProgress(nPercent);
}
