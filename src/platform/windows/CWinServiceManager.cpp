#include "platform/windows/CWinServiceManager.h"

#include "platform/windows/KeepLastError.h"

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
    const CKeepLastError keep;
    return keep.After(::OpenSCManagerW(nullptr, nullptr, dwAccess));
}

HANDLE CWinServiceManager::OpenNamed(HANDLE hManager, const WCHAR* pszName, DWORD dwAccess)
{
    const CKeepLastError keep;
    return keep.After(::OpenServiceW(Service(hManager), pszName, dwAccess));
}

HANDLE CWinServiceManager::Create(HANDLE hManager, const SERVICE_RECIPE& recipe)
{
    const CKeepLastError keep;
    return keep.After(::CreateServiceW(Service(hManager), recipe.pszName, recipe.pszDisplayName,
                                       recipe.dwAccess, recipe.dwType, recipe.dwStart,
                                       recipe.dwErrorControl, recipe.pszImagePath, nullptr, nullptr,
                                       nullptr, nullptr, nullptr));
}

bool CWinServiceManager::Query(HANDLE hService, SERVICE_STATE* pState)
{
    const CKeepLastError keep;
    return keep.After(::QueryServiceStatus(Service(hService), Status(pState)));
}

bool CWinServiceManager::Control(HANDLE hService, DWORD dwControl, SERVICE_STATE* pState)
{
    const CKeepLastError keep;
    return keep.After(::ControlService(Service(hService), dwControl, Status(pState)));
}

bool CWinServiceManager::Start(HANDLE hService)
{
    const CKeepLastError keep;
    return keep.After(::StartServiceW(Service(hService), 0, nullptr));
}

bool CWinServiceManager::Remove(HANDLE hService)
{
    const CKeepLastError keep;
    return keep.After(::DeleteService(Service(hService)));
}

bool CWinServiceManager::Close(HANDLE h)
{
    const CKeepLastError keep;
    return keep.After(::CloseServiceHandle(Service(h)));
}
