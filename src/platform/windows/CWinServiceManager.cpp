#include "platform/windows/CWinServiceManager.h"

#include <windows.h>

static_assert(sizeof(SERVICE_STATE) == sizeof(SERVICE_STATUS));

namespace
{
SC_HANDLE Service(HANDLE h)
{
    return static_cast<SC_HANDLE>(h);
}

SERVICE_STATUS* Status(SERVICE_STATE* pState)
{
    return reinterpret_cast<SERVICE_STATUS*>(pState);
}
} // namespace

HANDLE CWinServiceManager::OpenManager(DWORD dwAccess)
{
    return ::OpenSCManagerW(nullptr, nullptr, dwAccess);
}

HANDLE CWinServiceManager::OpenNamed(HANDLE hManager, const WCHAR* pszName, DWORD dwAccess)
{
    return ::OpenServiceW(Service(hManager), pszName, dwAccess);
}

HANDLE CWinServiceManager::Create(HANDLE hManager, const SERVICE_RECIPE& recipe)
{
    return ::CreateServiceW(Service(hManager), recipe.pszName, recipe.pszDisplayName,
                            recipe.dwAccess, recipe.dwType, recipe.dwStart, recipe.dwErrorControl,
                            recipe.pszImagePath, nullptr, nullptr, nullptr, nullptr, nullptr);
}

bool CWinServiceManager::Query(HANDLE hService, SERVICE_STATE* pState)
{
    return ::QueryServiceStatus(Service(hService), Status(pState)) != FALSE;
}

bool CWinServiceManager::Control(HANDLE hService, DWORD dwControl, SERVICE_STATE* pState)
{
    return ::ControlService(Service(hService), dwControl, Status(pState)) != FALSE;
}

bool CWinServiceManager::Start(HANDLE hService)
{
    return ::StartServiceW(Service(hService), 0, nullptr) != FALSE;
}

bool CWinServiceManager::Remove(HANDLE hService)
{
    return ::DeleteService(Service(hService)) != FALSE;
}

bool CWinServiceManager::Close(HANDLE h)
{
    return ::CloseServiceHandle(Service(h)) != FALSE;
}
