#include "sim/driver/CBenchTree.h"

#include "sim/driver/BenchControl.h"

void CBenchTree::Follow()
{
    const auto& nodes = m_machine.Tree().Nodes();
    std::vector<BYTE> there(nodes.size());
    DWORD cbDone = 0;
    if (!BenchControl(m_real, IOCTL_BENCH_PRESENCE, nullptr, 0, there.data(),
                      static_cast<DWORD>(there.size()), &cbDone) ||
        cbDone != there.size())
        return; // a driver that does not run tells nothing: the bus is as it was
    for (size_t i = 0; i < nodes.size(); ++i)
        nodes[i]->Plug(there[i] != 0);
}

HANDLE CBenchTree::GetClassDevs(const GUID* pClass, const WCHAR* pszEnumerator, DWORD dwFlags)
{
    Follow();
    return Ask([&](IDeviceTree& t) { return t.GetClassDevs(pClass, pszEnumerator, dwFlags); });
}

bool CBenchTree::EnumDeviceInfo(HANDLE hSet, DWORD dwIndex, DEVINFO_DATA* pDev)
{
    return Ask([&](IDeviceTree& t) { return t.EnumDeviceInfo(hSet, dwIndex, pDev); });
}

bool CBenchTree::EnumDeviceInterfaces(HANDLE hSet, const DEVINFO_DATA* pDev, const GUID* pClass,
                                      DWORD dwMember, DEVINTERFACE_DATA* pInterface)
{
    return Ask([&](IDeviceTree& t) {
        return t.EnumDeviceInterfaces(hSet, pDev, pClass, dwMember, pInterface);
    });
}

bool CBenchTree::GetInterfaceDetail(HANDLE hSet, const DEVINTERFACE_DATA* pInterface,
                                    DEVINTERFACE_DETAIL* pDetail, DWORD cbDetail, DWORD* pcbNeeded)
{
    return Ask([&](IDeviceTree& t) {
        return t.GetInterfaceDetail(hSet, pInterface, pDetail, cbDetail, pcbNeeded);
    });
}

bool CBenchTree::GetRegistryProperty(HANDLE hSet, const DEVINFO_DATA* pDev, DWORD dwProperty,
                                     DWORD* pType, BYTE* pBuffer, DWORD cbBuffer, DWORD* pcbNeeded)
{
    return Ask([&](IDeviceTree& t) {
        return t.GetRegistryProperty(hSet, pDev, dwProperty, pType, pBuffer, cbBuffer, pcbNeeded);
    });
}

bool CBenchTree::DestroySet(HANDLE hSet)
{
    return Ask([&](IDeviceTree& t) { return t.DestroySet(hSet); });
}

DWORD CBenchTree::GetParent(DWORD* pDevInst, DWORD devInst)
{
    return Ask([&](IDeviceTree& t) { return t.GetParent(pDevInst, devInst); });
}

DWORD CBenchTree::GetChild(DWORD* pDevInst, DWORD devInst)
{
    return Ask([&](IDeviceTree& t) { return t.GetChild(pDevInst, devInst); });
}

DWORD CBenchTree::GetSibling(DWORD* pDevInst, DWORD devInst)
{
    return Ask([&](IDeviceTree& t) { return t.GetSibling(pDevInst, devInst); });
}

DWORD CBenchTree::GetNodeStatus(DWORD* pStatus, DWORD* pProblem, DWORD devInst)
{
    return Ask([&](IDeviceTree& t) { return t.GetNodeStatus(pStatus, pProblem, devInst); });
}

DWORD CBenchTree::GetDeviceId(DWORD devInst, WCHAR* pBuffer, DWORD cch)
{
    return Ask([&](IDeviceTree& t) { return t.GetDeviceId(devInst, pBuffer, cch); });
}

DWORD CBenchTree::GetNodeProperty(DWORD devInst, const DEVPROP_KEY* pKey, DWORD* pType,
                                  BYTE* pBuffer, DWORD* pcb)
{
    return Ask(
        [&](IDeviceTree& t) { return t.GetNodeProperty(devInst, pKey, pType, pBuffer, pcb); });
}
