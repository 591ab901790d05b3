#include "platform/AbsentServices.h"

namespace
{
bool Refuse(IProcess& process, DWORD dwError)
{
    process.SetLastError(dwError);
    return false;
}
} // namespace

HANDLE CAbsentDeviceTree::GetClassDevs(const GUID* pClass, const WCHAR*, DWORD dwFlags)
{
    const bool bNoClass = pClass == nullptr && (dwFlags & kSetAllClasses) == 0;
    Refuse(m_process, bNoClass ? kErrInvalidParameter : kErrCallNotImplemented);
    return InvalidHandle();
}
bool CAbsentDeviceTree::EnumDeviceInfo(HANDLE, DWORD, DEVINFO_DATA*)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentDeviceTree::EnumDeviceInterfaces(HANDLE, const DEVINFO_DATA*, const GUID*, DWORD,
                                             DEVINTERFACE_DATA*)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentDeviceTree::GetInterfaceDetail(HANDLE, const DEVINTERFACE_DATA*, DEVINTERFACE_DETAIL*,
                                           DWORD, DWORD*)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentDeviceTree::GetRegistryProperty(HANDLE, const DEVINFO_DATA*, DWORD, DWORD*, BYTE*,
                                            DWORD, DWORD*)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentDeviceTree::DestroySet(HANDLE)
{
    return Refuse(m_process, kErrInvalidHandle);
}
DWORD CAbsentDeviceTree::GetNodeProperty(DWORD, const DEVPROP_KEY*, DWORD*, BYTE*, DWORD* pcb)
{
    if (pcb != nullptr)
        *pcb = 0;
    return kCrNoSuchDevNode;
}

HANDLE CAbsentDeviceFile::Open(const WCHAR*, DWORD, DWORD, DWORD, DWORD)
{
    Refuse(m_process, kErrFileNotFound);
    return InvalidHandle();
}
bool CAbsentDeviceFile::Close(HANDLE)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentDeviceFile::Control(HANDLE, DWORD, const void*, DWORD, void*, DWORD, DWORD*)
{
    return Refuse(m_process, kErrInvalidHandle);
}

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

LONG CAbsentPowerSwitch::SetProxyBlanket(HANDLE, DWORD, DWORD, DWORD, DWORD, DWORD)
{
    return kHrNotImplemented;
}
LONG CAbsentPowerSwitch::ExecQuery(HANDLE, const WCHAR*, const WCHAR*, DWORD, HANDLE*)
{
    return kHrNotImplemented;
}
LONG CAbsentPowerSwitch::Next(HANDLE, LONG, HANDLE*, DWORD* pdwReturned)
{
    *pdwReturned = 0;
    return kHrFalse;
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

bool CAbsentWinUsb::Initialize(HANDLE, HANDLE*)
{
    return Refuse(m_process, kErrCallNotImplemented);
}
bool CAbsentWinUsb::ControlTransfer(HANDLE, const BYTE*, BYTE*, DWORD, DWORD*, OVERLAPPED_TRANSFER*)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentWinUsb::TransferResult(HANDLE, OVERLAPPED_TRANSFER*, DWORD*, DWORD, bool)
{
    return Refuse(m_process, kErrInvalidHandle);
}
bool CAbsentWinUsb::Free(HANDLE)
{
    return Refuse(m_process, kErrInvalidHandle);
}

void CAbsentHid::GetHidGuid(GUID* pGuid)
{
    *pGuid = kGuidHid;
}
