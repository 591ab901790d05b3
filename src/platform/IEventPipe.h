#pragma once

#include "platform/FileConstants.h"

constexpr DWORD kEventAllAccess = 0x1F0003;
constexpr DWORD kWaitForever = 0xFFFFFFFF;
constexpr DWORD kWaitSignalled = 0;
constexpr DWORD kWaitTimeout = 0x102;
constexpr DWORD kWaitFailed = 0xFFFFFFFF;

/// Events and named pipes. Failures set the thread's last error, successes leave it alone.
class IEventPipe
{
public:
    virtual ~IEventPipe() = default;

    /// Opens an event that somebody else made. @return a handle for CloseEvent, or null
    virtual HANDLE OpenNamedEvent(DWORD dwAccess, const WCHAR* pszName) = 0;

    /// Makes an unnamed event. @return a handle for CloseEvent, or null
    virtual HANDLE MakeEvent(bool bManualReset, bool bSignalled) = 0;

    /// @param dwTimeoutMs kWaitForever = without limit
    /// @return kWaitSignalled, kWaitTimeout or kWaitFailed
    virtual DWORD WaitEvent(HANDLE hEvent, DWORD dwTimeoutMs) = 0;
    virtual bool CloseEvent(HANDLE hEvent) = 0; ///< true on success

    /// Waits for a pipe's free instance; 0 ms is the pipe's default. @return true on success
    virtual bool WaitPipe(const WCHAR* pszName, DWORD dwTimeoutMs) = 0;

    /// @return a handle for ClosePipe, or InvalidHandle()
    virtual HANDLE OpenPipe(const WCHAR* pszName, DWORD dwAccess) = 0;
    virtual bool WritePipe(HANDLE hPipe, const void* pData, DWORD cb, DWORD* pcbDone) = 0;
    virtual bool ClosePipe(HANDLE hPipe) = 0; ///< true on success
};
