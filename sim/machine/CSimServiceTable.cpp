#include "sim/machine/CSimServiceTable.h"

#include "platform/ErrorCodes.h"
#include "sim/machine/SimText.h"

using SimText::Upper;

CSimServiceTable::CSimServiceTable() = default;

CSimServiceTable::~CSimServiceTable() = default;

void CSimServiceTable::SetTemplate(SimService service)
{
    const WString strKey = Upper(service.strName);
    m_templates.insert_or_assign(strKey, std::move(service));
}

SimService& CSimServiceTable::Put(SimService service)
{
    const WString strKey = Upper(service.strName);
    return m_services.insert_or_assign(strKey, std::move(service)).first->second;
}

SimService* CSimServiceTable::Find(const WString& strName)
{
    const auto it = m_services.find(Upper(strName));
    return it == m_services.end() ? nullptr : &it->second;
}

bool CSimServiceTable::IsRunning(const WString& strName)
{
    const SimService* const pService = Find(strName);
    return pService != nullptr && pService->dwState != kStateStopped;
}

bool CSimServiceTable::HasRunningImage(const WString& strPath)
{
    for (const auto& [strKey, service] : m_services)
        if (service.dwState != kStateStopped &&
            SimText::PathKey(service.strImagePath) == SimText::PathKey(strPath))
            return true;
    return false;
}

void CSimServiceTable::SetDriver(const WString& strService, ISimDriver* pDriver)
{
    m_drivers[Upper(strService)] = pDriver;
}

ISimDriver* CSimServiceTable::RunningDriver(const WString& strService)
{
    const SimService* const pService = Find(strService);
    const auto it = m_drivers.find(Upper(strService));
    const bool bRuns = pService != nullptr && pService->dwState == kStateRunning;
    return bRuns && it != m_drivers.end() ? it->second : nullptr;
}

DWORD CSimServiceTable::Create(const SERVICE_RECIPE& recipe)
{
    const WString strName = SimText::Of(recipe.pszName);
    if (const SimService* const pOld = Find(strName))
        return Note("create", strName,
                    pOld->bMarked ? kErrServiceMarkedForDelete : kErrServiceExists);
    if (strName.empty() || recipe.pszImagePath == nullptr)
        return Note("create", strName, kErrInvalidParameter);
    const auto it = m_templates.find(Upper(strName));
    SimService service = it == m_templates.end() ? SimService() : it->second;
    service.strName = strName;
    service.strDisplayName = SimText::Of(recipe.pszDisplayName);
    service.strImagePath = recipe.pszImagePath;
    service.dwType = recipe.dwType;
    service.dwStart = recipe.dwStart;
    service.dwErrorControl = recipe.dwErrorControl;
    Put(std::move(service));
    return Note("create", strName, kErrNone);
}

DWORD CSimServiceTable::Start(SimService& service, bool bImageExists)
{
    DWORD dwError = service.dwStartError;
    if (service.bMarked)
        dwError = kErrServiceMarkedForDelete;
    else if (service.dwState != kStateStopped)
        dwError = kErrServiceAlreadyRunning;
    else if (dwError == 0 && !bImageExists)
        dwError = kErrFileNotFound;
    if (dwError == 0)
        service.dwState = kStateRunning;
    return Note("start", service.strName, dwError);
}

DWORD CSimServiceTable::Stop(SimService& service)
{
    DWORD dwError = service.dwStopError;
    if (service.dwState != kStateRunning)
        dwError = kErrServiceNotActive;
    if (dwError == 0) {
        service.dwState = kStateStopPending;
        Settle(service.strName);
    }
    return Note("stop", service.strName, dwError);
}

DWORD CSimServiceTable::Delete(SimService& service)
{
    const DWORD dwError = service.bMarked ? kErrServiceMarkedForDelete : service.dwDeleteError;
    if (dwError == 0)
        service.bMarked = true;
    return Note("delete", service.strName, dwError); // it goes with the caller's handle
}

void CSimServiceTable::HandleOpened(const WString& strName)
{
    if (SimService* const pService = Find(strName))
        ++pService->nHandles;
}

void CSimServiceTable::HandleClosed(const WString& strName)
{
    SimService* const pService = Find(strName);
    if (pService != nullptr && pService->nHandles > 0)
        --pService->nHandles;
    Settle(strName);
}

void CSimServiceTable::DeviceFileOpened(const WString& strName)
{
    if (SimService* const pService = Find(strName))
        ++pService->nDeviceFiles;
}

void CSimServiceTable::DeviceFileClosed(const WString& strName)
{
    SimService* const pService = Find(strName);
    if (pService != nullptr && pService->nDeviceFiles > 0)
        --pService->nDeviceFiles;
    Settle(strName);
}

/// Ends a pending stop when nothing holds it up, then a pending deletion.
void CSimServiceTable::Settle(const WString& strName)
{
    SimService* const pService = Find(strName);
    if (pService == nullptr)
        return;
    if (pService->dwState == kStateStopPending && pService->nDeviceFiles == 0 &&
        !pService->bStuckStop) {
        pService->dwState = kStateStopped;
        if (const auto it = m_drivers.find(Upper(strName)); it != m_drivers.end())
            it->second->Unload();
    }
    if (pService->bMarked && pService->nHandles == 0 && pService->dwState == kStateStopped)
        m_services.erase(Upper(strName));
}

DWORD CSimServiceTable::Note(const char* pszWhat, const WString& strName, DWORD dwError)
{
    std::string strLine = std::string(pszWhat) + " " + SimText::Narrow(strName);
    if (dwError != 0)
        strLine += " -> " + std::to_string(dwError);
    m_log.push_back(std::move(strLine));
    return dwError;
}
