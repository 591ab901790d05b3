#pragma once

#include "platform/IServiceManager.h"

class CSimMachine;

/// The service control manager over the machine's services. Full access to the manager needs an
/// elevated process.
class CSimServiceManager : public IServiceManager
{
public:
    explicit CSimServiceManager(CSimMachine& machine) : m_machine(machine) {}

    HANDLE OpenManager(DWORD dwAccess) override;
    HANDLE OpenNamed(HANDLE hManager, const WCHAR* pszName, DWORD dwAccess) override;
    HANDLE Create(HANDLE hManager, const SERVICE_RECIPE& recipe) override;
    bool Query(HANDLE hService, SERVICE_STATE* pState) override;
    bool Control(HANDLE hService, DWORD dwControl, SERVICE_STATE* pState) override;
    bool Start(HANDLE hService) override;
    bool Remove(HANDLE hService) override;
    bool Close(HANDLE h) override;

private:
    CSimMachine& m_machine;
};
