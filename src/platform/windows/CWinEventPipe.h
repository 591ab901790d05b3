#pragma once

#include "platform/IEventPipe.h"

class CWinEventPipe : public IEventPipe
{
public:
    HANDLE OpenNamedEvent(DWORD dwAccess, const WCHAR* pszName) override;
    HANDLE MakeEvent(bool bManualReset, bool bSignalled) override;
    DWORD WaitEvent(HANDLE hEvent, DWORD dwTimeoutMs) override;
    bool CloseEvent(HANDLE hEvent) override;
    bool WaitPipe(const WCHAR* pszName, DWORD dwTimeoutMs) override;
    HANDLE OpenPipe(const WCHAR* pszName, DWORD dwAccess) override;
    bool WritePipe(HANDLE hPipe, const void* pData, DWORD cb, DWORD* pcbDone) override;
    bool ClosePipe(HANDLE hPipe) override;
};
