#pragma once

#include "platform/AbsentServices.h"
#include "platform/linux/CLinuxHandles.h"

/// Events of this process. Nobody else's are there, nor pipes: no companion service runs here.
class CLinuxEventPipe : public CAbsentEventPipe
{
public:
    /// @param handles outlives this object
    CLinuxEventPipe(IProcess& process, CLinuxHandles& handles)
        : CAbsentEventPipe(process), m_handles(handles)
    {}

    HANDLE MakeEvent(bool bManualReset, bool bSignalled) override;
    DWORD WaitEvent(HANDLE hEvent, DWORD dwTimeoutMs) override;
    bool CloseEvent(HANDLE hEvent) override;

private:
    CLinuxHandles& m_handles;
};
