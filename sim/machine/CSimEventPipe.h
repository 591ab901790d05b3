#pragma once

#include "platform/IEventPipe.h"

class CSimMachine;

/// Events, and the companion service's pipe. A wait without limit that nothing scheduled can end
/// throws CWouldBlockForever.
class CSimEventPipe : public IEventPipe
{
public:
    explicit CSimEventPipe(CSimMachine& machine) : m_machine(machine) {}

    HANDLE OpenNamedEvent(DWORD dwAccess, const WCHAR* pszName) override;
    HANDLE MakeEvent(bool bManualReset, bool bSignalled) override;
    DWORD WaitEvent(HANDLE hEvent, DWORD dwTimeoutMs) override;
    bool CloseEvent(HANDLE hEvent) override;
    bool WaitPipe(const WCHAR* pszName, DWORD dwTimeoutMs) override;
    HANDLE OpenPipe(const WCHAR* pszName, DWORD dwAccess) override;
    bool WritePipe(HANDLE hPipe, const void* pData, DWORD cb, DWORD* pcbDone) override;
    bool ClosePipe(HANDLE hPipe) override;

private:
    CSimMachine& m_machine;
};
