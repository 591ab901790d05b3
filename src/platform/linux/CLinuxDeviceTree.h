#pragma once

#include <map>

#include "platform/IDeviceTree.h"
#include "platform/linux/CLinuxNodes.h"

/// Device sets and device nodes from sysfs. Interface paths are the names of device files:
/// "/dev/bus/usb/001/005" for hubs and other USB devices, "/dev/hidraw0" for HID. Asking for a
/// set looks at the machine again (for one node's: only where that has gone); questions about a
/// node are answered from the last look, but for its status. A set is a snapshot.
class CLinuxDeviceTree : public IDeviceTree
{
public:
    explicit CLinuxDeviceTree(CLinuxNodes& nodes) : m_nodes(nodes) {}

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
    using Set = std::vector<LinuxNodePtr>;

    const Set* SetOf(HANDLE hSet) const;
    LinuxNodePtr ElementOf(HANDLE hSet, const DEVINFO_DATA* pDev) const;
    LinuxNodePtr FindById(const WString& strId);
    bool IsThere(const LINUX_NODE& node) const;
    WString Description(const LINUX_NODE& node) const;

    CLinuxNodes& m_nodes;
    std::map<HANDLE, Set> m_sets;
    uintptr_t m_nLastSet = 0;
};
