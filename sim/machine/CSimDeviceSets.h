#pragma once

#include "platform/IDeviceTree.h"

class CSimMachine;

/// Device sets and device nodes over the simulated device tree. A set is a snapshot.
class CSimDeviceSets : public IDeviceTree
{
public:
    explicit CSimDeviceSets(CSimMachine& machine) : m_machine(machine) {}

    HANDLE GetClassDevs(const GUID* pClass, const WCHAR* pszEnumerator, DWORD dwFlags) override;
    bool EnumDeviceInfo(HANDLE hSet, DWORD dwIndex, DEVINFO_DATA* pDev) override;
    bool EnumDeviceInterfaces(HANDLE hSet, const DEVINFO_DATA* pDev, const GUID* pClass,
                              DWORD dwMember, DEVINTERFACE_DATA* pInterface) override;
    bool GetInterfaceDetail(HANDLE hSet, const DEVINTERFACE_DATA* pInterface,
                            DEVINTERFACE_DETAIL* pDetail, DWORD cbDetail,
                            DWORD* pcbNeeded) override;
    bool GetRegistryProperty(HANDLE hSet, const DEVINFO_DATA* pDev, DWORD dwProperty, DWORD* pType,
                             BYTE* pBuffer, DWORD cbBuffer, DWORD* pcbNeeded) override;
    bool DestroySet(HANDLE hSet) override;

    DWORD GetParent(DWORD* pDevInst, DWORD devInst) override;
    DWORD GetChild(DWORD* pDevInst, DWORD devInst) override;
    DWORD GetSibling(DWORD* pDevInst, DWORD devInst) override;
    DWORD GetNodeStatus(DWORD* pStatus, DWORD* pProblem, DWORD devInst) override;
    DWORD GetDeviceId(DWORD devInst, WCHAR* pBuffer, DWORD cch) override;
    DWORD GetNodeProperty(DWORD devInst, const DEVPROP_KEY* pKey, DWORD* pType, BYTE* pBuffer,
                          DWORD* pcb) override;

private:
    CSimMachine& m_machine;
};
