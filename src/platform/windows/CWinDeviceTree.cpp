#include "platform/windows/CWinDeviceTree.h"

#include "platform/ErrorCodes.h"

// clang-format off
#include <windows.h>
#include <setupapi.h>
#include <cfgmgr32.h>
// clang-format on

#include "platform/windows/KeepLastError.h"

static_assert(sizeof(DEVINFO_DATA) == sizeof(SP_DEVINFO_DATA));
static_assert(sizeof(DEVINTERFACE_DATA) == sizeof(SP_DEVICE_INTERFACE_DATA));
static_assert(kDetailHeadSize == sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W));
static_assert(sizeof(DEVPROP_KEY) == sizeof(DEVPROPKEY));

namespace
{
// SetupAPI takes the element by a pointer that it does not write through.
SP_DEVINFO_DATA* Element(const DEVINFO_DATA* pDev)
{
    return reinterpret_cast<SP_DEVINFO_DATA*>(const_cast<DEVINFO_DATA*>(pDev));
}

SP_DEVICE_INTERFACE_DATA* Interface(const DEVINTERFACE_DATA* pInterface)
{
    return reinterpret_cast<SP_DEVICE_INTERFACE_DATA*>(const_cast<DEVINTERFACE_DATA*>(pInterface));
}
} // namespace

HANDLE CWinDeviceTree::GetClassDevs(const GUID* pClass, const WCHAR* pszEnumerator, DWORD dwFlags)
{
    HANDLE const hSet = ::SetupDiGetClassDevsW(pClass, pszEnumerator, nullptr, dwFlags);
    // A success may leave any code behind; callers test it.
    if (hSet != INVALID_HANDLE_VALUE && ::GetLastError() != kErrNotAllAssigned)
        ::SetLastError(0);
    return hSet;
}

bool CWinDeviceTree::EnumDeviceInfo(HANDLE hSet, DWORD dwIndex, DEVINFO_DATA* pDev)
{
    const CKeepLastError keep;
    return keep.After(::SetupDiEnumDeviceInfo(hSet, dwIndex, Element(pDev)));
}

bool CWinDeviceTree::EnumDeviceInterfaces(HANDLE hSet, const DEVINFO_DATA* pDev, const GUID* pClass,
                                          DWORD dwMember, DEVINTERFACE_DATA* pInterface)
{
    const CKeepLastError keep;
    return keep.After(::SetupDiEnumDeviceInterfaces(hSet, Element(pDev), pClass, dwMember,
                                                    Interface(pInterface)));
}

bool CWinDeviceTree::GetInterfaceDetail(HANDLE hSet, const DEVINTERFACE_DATA* pInterface,
                                        DEVINTERFACE_DETAIL* pDetail, DWORD cbDetail,
                                        DWORD* pcbNeeded)
{
    const CKeepLastError keep;
    return keep.After(::SetupDiGetDeviceInterfaceDetailW(
        hSet, Interface(pInterface), reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(pDetail),
        cbDetail, pcbNeeded, nullptr));
}

bool CWinDeviceTree::GetRegistryProperty(HANDLE hSet, const DEVINFO_DATA* pDev, DWORD dwProperty,
                                         DWORD* pType, BYTE* pBuffer, DWORD cbBuffer,
                                         DWORD* pcbNeeded)
{
    const CKeepLastError keep;
    return keep.After(::SetupDiGetDeviceRegistryPropertyW(hSet, Element(pDev), dwProperty, pType,
                                                          pBuffer, cbBuffer, pcbNeeded));
}

bool CWinDeviceTree::DestroySet(HANDLE hSet)
{
    const CKeepLastError keep;
    return keep.After(::SetupDiDestroyDeviceInfoList(hSet));
}

DWORD CWinDeviceTree::GetParent(DWORD* pDevInst, DWORD devInst)
{
    return ::CM_Get_Parent(pDevInst, devInst, 0);
}

DWORD CWinDeviceTree::GetChild(DWORD* pDevInst, DWORD devInst)
{
    return ::CM_Get_Child(pDevInst, devInst, 0);
}

DWORD CWinDeviceTree::GetSibling(DWORD* pDevInst, DWORD devInst)
{
    return ::CM_Get_Sibling(pDevInst, devInst, 0);
}

DWORD CWinDeviceTree::GetNodeStatus(DWORD* pStatus, DWORD* pProblem, DWORD devInst)
{
    return ::CM_Get_DevNode_Status(pStatus, pProblem, devInst, 0);
}

DWORD CWinDeviceTree::GetDeviceId(DWORD devInst, WCHAR* pBuffer, DWORD cch)
{
    return ::CM_Get_Device_IDW(devInst, pBuffer, cch, 0);
}

DWORD CWinDeviceTree::GetNodeProperty(DWORD devInst, const DEVPROP_KEY* pKey, DWORD* pType,
                                      BYTE* pBuffer, DWORD* pcb)
{
    return ::CM_Get_DevNode_PropertyW(devInst, reinterpret_cast<const DEVPROPKEY*>(pKey), pType,
                                      pBuffer, pcb, 0);
}
