#include "platform/AbsentServices.h"

namespace
{
bool Refuse(IProcess& process, DWORD dwError)
{
    process.SetLastError(dwError);
    return false;
}
} // namespace

HANDLE CAbsentServiceManager::OpenManager(DWORD)
{
    Refuse(m_process, kErrCallNotImplemented);
    return nullptr;
}
HANDLE CAbsentServiceManager::OpenNamed(HANDLE, const WCHAR*, DWORD)
{
    Refuse(m_process, kErrInvalidHandle);
    return nullptr;
}
HANDLE CAbsentServiceManager::Create(HANDLE, const SERVICE_RECIPE&)
{
    Refuse(m_process, kErrInvalidHandle);
    return nullptr;
}
bool CAbsentServiceManager::Query(HANDLE, SERVICE_STATE*)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentServiceManager::Control(HANDLE, DWORD, SERVICE_STATE*)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentServiceManager::Start(HANDLE)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentServiceManager::Remove(HANDLE)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentServiceManager::Close(HANDLE)
{
    return Refuse(m_process, kErrInvalidHandle);
}

HANDLE CAbsentEventPipe::OpenNamedEvent(DWORD, const WCHAR*)
{
    Refuse(m_process, kErrFileNotFound);
    return nullptr;
}
HANDLE CAbsentEventPipe::MakeEvent(bool, bool)
{
    Refuse(m_process, kErrCallNotImplemented);
    return nullptr;
}
DWORD CAbsentEventPipe::WaitEvent(HANDLE, DWORD)
{
    Refuse(m_process, kErrInvalidHandle);
    return kWaitFailed;
}
bool CAbsentEventPipe::CloseEvent(HANDLE)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentEventPipe::WaitPipe(const WCHAR*, DWORD)
{
    return Refuse(m_process, kErrFileNotFound);
}
HANDLE CAbsentEventPipe::OpenPipe(const WCHAR*, DWORD)
{
    Refuse(m_process, kErrFileNotFound);
    return InvalidHandle();
}
bool CAbsentEventPipe::WritePipe(HANDLE, const void*, DWORD, DWORD*)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentEventPipe::ClosePipe(HANDLE)
{
    return Refuse(m_process, kErrInvalidHandle);
}
