#pragma once

#include "platform/IDeviceTree.h"
#include "platform/IProcess.h"
#include "platform/Platform.h"
#include "sim/machine/CSimMachine.h"

/// A simulated device tree among real services: it follows the bench driver's bus whenever a
/// device set is asked for, and its errors become the real thread's last error.
class CBenchTree : public IDeviceTree
{
public:
    CBenchTree(CSimMachine& machine, Platform& real) : m_machine(machine), m_real(real) {}

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
    void Follow();

    /// Calls the simulated tree with the real thread's last error, and takes it back.
    template<class Call>
    auto Ask(Call call)
    {
        m_machine.Process().SetLastError(m_real.Process().LastError());
        const auto result = call(static_cast<IDeviceTree&>(m_machine.DeviceTree()));
        m_real.Process().SetLastError(m_machine.Process().LastError());
        return result;
    }

    CSimMachine& m_machine;
    Platform& m_real;
};
