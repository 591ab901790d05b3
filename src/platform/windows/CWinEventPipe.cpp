#include "platform/windows/CWinEventPipe.h"

#include "platform/windows/KeepLastError.h"

HANDLE CWinEventPipe::OpenNamedEvent(DWORD dwAccess, const WCHAR* pszName)
{
    return ::OpenEventW(dwAccess, FALSE, pszName);
}

HANDLE CWinEventPipe::MakeEvent(bool bManualReset, bool bSignalled)
{
    const CKeepLastError keep;
    return keep.After(
        ::CreateEventW(nullptr, bManualReset ? TRUE : FALSE, bSignalled ? TRUE : FALSE, nullptr));
}

DWORD CWinEventPipe::WaitEvent(HANDLE hEvent, DWORD dwTimeoutMs)
{
    return ::WaitForSingleObject(hEvent, dwTimeoutMs);
}

bool CWinEventPipe::CloseEvent(HANDLE hEvent)
{
    return ::CloseHandle(hEvent) != FALSE;
}

bool CWinEventPipe::WaitPipe(const WCHAR* pszName, DWORD dwTimeoutMs)
{
    return ::WaitNamedPipeW(pszName, dwTimeoutMs) != FALSE;
}

HANDLE CWinEventPipe::OpenPipe(const WCHAR* pszName, DWORD dwAccess)
{
    return ::CreateFileW(pszName, dwAccess, kShareNone, nullptr, kOpenExisting, 0, nullptr);
}

bool CWinEventPipe::WritePipe(HANDLE hPipe, const void* pData, DWORD cb, DWORD* pcbDone)
{
    return ::WriteFile(hPipe, pData, cb, pcbDone, nullptr) != FALSE;
}

bool CWinEventPipe::ClosePipe(HANDLE hPipe)
{
    return ::CloseHandle(hPipe) != FALSE;
}
