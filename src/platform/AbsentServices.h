#pragma once

#include "platform/ErrorCodes.h"
#include "platform/IEventPipe.h"
#include "platform/IProcess.h"
#include "platform/IServiceManager.h"

/// Services of a system that has none of the kind: each refuses as the system would, so that the
/// library's ordinary failure road is the one that is taken. They set the last error of the
/// process service that they are given.

class CAbsentServiceManager : public IServiceManager
{
public:
    explicit CAbsentServiceManager(IProcess& process) : m_process(process) {}
    HANDLE OpenManager(DWORD) override;
    HANDLE OpenNamed(HANDLE, const WCHAR*, DWORD) override;
    HANDLE Create(HANDLE, const SERVICE_RECIPE&) override;
    bool Query(HANDLE, SERVICE_STATE*) override;
    bool Control(HANDLE, DWORD, SERVICE_STATE*) override;
    bool Start(HANDLE) override;
    bool Remove(HANDLE) override;
    bool Close(HANDLE) override;

private:
    IProcess& m_process;
};

class CAbsentEventPipe : public IEventPipe
{
public:
    explicit CAbsentEventPipe(IProcess& process) : m_process(process) {}
    HANDLE OpenNamedEvent(DWORD, const WCHAR*) override;
    HANDLE MakeEvent(bool, bool) override;
    DWORD WaitEvent(HANDLE, DWORD) override;
    bool CloseEvent(HANDLE) override;
    bool WaitPipe(const WCHAR*, DWORD) override;
    HANDLE OpenPipe(const WCHAR*, DWORD) override;
    bool WritePipe(HANDLE, const void*, DWORD, DWORD*) override;
    bool ClosePipe(HANDLE) override;

private:
    IProcess& m_process;
};
