#include "sim/machine/CSimServiceManager.h"

#include "sim/machine/CSimMachine.h"
#include "sim/machine/SimText.h"

namespace
{
constexpr DWORD kErrInvalidServiceControl = 1052;
constexpr DWORD kServiceQueryStatus = 4;
constexpr DWORD kAccessDeleteService = 0x10000;

/// Manager rights that every process has: connect, enumerate, query the lock, read.
constexpr DWORD kManagerUserAccess = 0x80000000 | 0x20000 | 0x15;

class CManagerObject : public CSimHandleObject
{};

class CServiceObject : public CSimHandleObject
{
public:
    CServiceObject(std::shared_ptr<CSimSystem> pSystem, WString strName, DWORD dwAccess)
        : m_pSystem(std::move(pSystem)), m_strName(std::move(strName)), m_dwAccess(dwAccess)
    {
        m_pSystem->services.HandleOpened(m_strName);
    }
    ~CServiceObject() override { m_pSystem->services.HandleClosed(m_strName); }

    SimService* Service() const { return m_pSystem->services.Find(m_strName); }
    bool May(DWORD dwRight) const { return (m_dwAccess & dwRight) == dwRight; }

private:
    std::shared_ptr<CSimSystem> m_pSystem;
    WString m_strName;
    DWORD m_dwAccess;
};

void Report(const SimService& service, SERVICE_STATE* pState)
{
    *pState = {};
    pState->dwServiceType = service.dwType;
    pState->dwCurrentState = service.dwState;
    pState->dwControlsAccepted = service.dwState == kStateRunning ? 1 : 0;
}

/// The service behind a handle that has a right; null sets the last error.
SimService* Take(CSimMachine& machine, HANDLE hService, DWORD dwRight)
{
    const auto pObject = machine.Handles().Find<CServiceObject>(hService);
    SimService* const pService = pObject == nullptr ? nullptr : pObject->Service();
    if (pService == nullptr)
        machine.Fail(kErrInvalidHandle);
    else if (!pObject->May(dwRight))
        machine.Fail(kErrAccessDenied);
    else
        return pService;
    return nullptr;
}
} // namespace

HANDLE CSimServiceManager::OpenManager(DWORD dwAccess)
{
    if (!m_machine.Enter("IServiceManager::OpenManager"))
        return nullptr;
    const CSimServiceTable& services = m_machine.Services();
    if (!services.IsPresent())
        return m_machine.FailNull(kErrCallNotImplemented);
    if (services.ManagerError() != 0)
        return m_machine.FailNull(services.ManagerError());
    if (!m_machine.Traits().bElevated && (dwAccess & ~kManagerUserAccess) != 0)
        return m_machine.FailNull(kErrAccessDenied);
    return m_machine.Handles().Add("service manager", "", std::make_shared<CManagerObject>());
}

HANDLE CSimServiceManager::OpenNamed(HANDLE hManager, const WCHAR* pszName, DWORD dwAccess)
{
    if (!m_machine.Enter("IServiceManager::OpenNamed"))
        return nullptr;
    if (m_machine.Handles().Find<CManagerObject>(hManager) == nullptr)
        return m_machine.FailNull(kErrInvalidHandle);
    const WString strName = SimText::Of(pszName);
    const SimService* const pService = m_machine.Services().Find(strName);
    if (pService == nullptr)
        return m_machine.FailNull(kErrServiceDoesNotExist);
    if (pService->dwOpenError != 0)
        return m_machine.FailNull(pService->dwOpenError);
    return m_machine.Handles().Add(
        "service", SimText::Narrow(strName),
        std::make_shared<CServiceObject>(m_machine.System(), strName, dwAccess));
}

HANDLE CSimServiceManager::Create(HANDLE hManager, const SERVICE_RECIPE& recipe)
{
    if (!m_machine.Enter("IServiceManager::Create"))
        return nullptr;
    if (m_machine.Handles().Find<CManagerObject>(hManager) == nullptr)
        return m_machine.FailNull(kErrInvalidHandle);
    if (const DWORD dwError = m_machine.Services().Create(recipe))
        return m_machine.FailNull(dwError);
    const WString strName = recipe.pszName;
    return m_machine.Handles().Add(
        "service", SimText::Narrow(strName),
        std::make_shared<CServiceObject>(m_machine.System(), strName, recipe.dwAccess));
}

bool CSimServiceManager::Query(HANDLE hService, SERVICE_STATE* pState)
{
    if (!m_machine.Enter("IServiceManager::Query"))
        return false;
    const SimService* const pService = Take(m_machine, hService, kServiceQueryStatus);
    if (pService == nullptr)
        return false;
    Report(*pService, pState);
    return true;
}

bool CSimServiceManager::Control(HANDLE hService, DWORD dwControl, SERVICE_STATE* pState)
{
    if (!m_machine.Enter("IServiceManager::Control"))
        return false;
    SimService* const pService = Take(m_machine, hService, kServiceStop);
    if (pService == nullptr)
        return false;
    if (dwControl != kControlStop)
        return m_machine.Fail(kErrInvalidServiceControl);
    const DWORD dwError = m_machine.Services().Stop(*pService);
    if (pState != nullptr)
        Report(*pService, pState);
    return dwError == 0 || m_machine.Fail(dwError);
}

bool CSimServiceManager::Start(HANDLE hService)
{
    if (!m_machine.Enter("IServiceManager::Start"))
        return false;
    SimService* const pService = Take(m_machine, hService, kServiceStart);
    if (pService == nullptr)
        return false;
    const bool bImage = m_machine.Volume().Exists(pService->strImagePath);
    const DWORD dwError = m_machine.Services().Start(*pService, bImage);
    return dwError == 0 || m_machine.Fail(dwError);
}

bool CSimServiceManager::Remove(HANDLE hService)
{
    if (!m_machine.Enter("IServiceManager::Remove"))
        return false;
    SimService* const pService = Take(m_machine, hService, kAccessDeleteService);
    if (pService == nullptr)
        return false;
    const DWORD dwError = m_machine.Services().Delete(*pService);
    return dwError == 0 || m_machine.Fail(dwError);
}

bool CSimServiceManager::Close(HANDLE h)
{
    if (!m_machine.Enter("IServiceManager::Close"))
        return false;
    CSimHandles& handles = m_machine.Handles();
    const bool bManager = handles.Find<CManagerObject>(h) != nullptr;
    const bool bClosed =
        bManager ? handles.Close<CManagerObject>(h) : handles.Close<CServiceObject>(h);
    return bClosed || m_machine.Fail(kErrInvalidHandle);
}
