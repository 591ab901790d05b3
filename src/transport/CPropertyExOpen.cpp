// Opening and closing hubs and HID devices.
#include "msg/CMsg.h"
#include "platform/AsciiCase.h"
#include "platform/ErrorCodes.h"
#include "platform/IDeviceFile.h"
#include "platform/IDeviceTree.h"
#include "platform/IHid.h"
#include "platform/IProcess.h"
#include "platform/Platform.h"
#include "transport/CPropertyEx.h"
#include "transport/CScopedHandle.h"
#include "transport/InterfaceSearch.h"
#include "transport/ProxyLayout.h"

#include <cstring>

namespace
{
constexpr DWORD kOpenRefused = 0xFFFFFFFF;
constexpr size_t kLocationChars = 260; // 520 bytes, of which the read is offered 260
constexpr DWORD kLocationReadBytes = 260;
constexpr BYTE kSignature[4] = {'K', 'Y', 'H', 'D'};

constexpr INTERFACE_OPEN kHubInterface = {
    "CPropertyEx::GetDevInstInterfaceHandle",
    MSG_FAIL,
    MSG_INFO,
    kShareNone,
    kAttributeNormal,
    "Interface not found\n",
    "GetDevInstInterfaceHandle::SetupDiEnumDeviceInterfaces error %d\n",
    "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_1st new buffer %d\n",
    "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_1st error %d\n",
    "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_2nd error %d\n",
    "GetDevInstInterfaceHandle::CreateFile failed %d\n",
};

/// The two decimal digits behind "Port_#00"; 0 where the text has no "Port_#".
DWORD PortOfLocation(const WCHAR (&szLocation)[kLocationChars])
{
    static constexpr WCHAR kMark[] = WTEXT("port_#");
    constexpr size_t kMarkChars = 6;
    constexpr size_t kTens = 8;
    constexpr size_t kOnes = 9;
    for (size_t i = 0; szLocation[i] != 0 && i + kOnes < kLocationChars; ++i) {
        size_t nSame = 0;
        while (nSame < kMarkChars && LowerAscii(szLocation[i + nSame]) == kMark[nSame])
            ++nSame;
        // Deliberate: of the four digits only the last two count.
        if (nSame == kMarkChars)
            return static_cast<DWORD>((szLocation[i + kTens] - '0') * 10 +
                                      (szLocation[i + kOnes] - '0'));
    }
    return 0;
}

PROXY_DEVICE_REQUEST BuildDeviceRequest(int nWow64, HANDLE hInterface, LONGLONG llDevice)
{
    return BuildInLayout(nWow64, [&](auto layout) {
        typename decltype(layout)::DeviceRequest request = {};
        request.interfaceHandle = reinterpret_cast<uintptr_t>(hInterface);
        request.deviceHandle = static_cast<ULONGLONG>(llDevice);
        return request;
    });
}
} // namespace

/// What differs between opening a hub and opening a HID device.
struct CPropertyEx::DEVICE_OPEN
{
    const char* pszFunction;
    ERRORLEVEL eFail;
    ERRORLEVEL eOpened;
    GUID guidInterface;
    DWORD (CPropertyEx::*pfnInterface)(DWORD, const GUID*, HANDLE*);
    const char* pszInterfaceFail;
};

DWORD CPropertyEx::GetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid, HANDLE* phInterface)
{
    return OpenNodeInterface(kHubInterface, devInst, pGuid, phInterface);
}

DWORD CPropertyEx::KyHub_OpenDeviceByDevInst(DWORD devInst, DWORD& dwOldSSValue)
{
    const DEVICE_OPEN how = HubOpen();
    if (KyHub_TurnOffHubSS(devInst, dwOldSSValue) == 0)
        return RefuseOpen(how);
    return OpenDevice(devInst, how);
}

DWORD CPropertyEx::KyHub_OpenDeviceByDevInst(DWORD devInst)
{
    const DEVICE_OPEN how = HubOpen();
    if (KyHub_TurnOffHubSS(devInst) == 0)
        return RefuseOpen(how);
    return OpenDevice(devInst, how);
}

DWORD CPropertyEx::KyHub_OpenHidDeviceByDevInst(DWORD devInst)
{
    DEVICE_OPEN how = {"CPropertyEx::KyHub_OpenHidDeviceByDevInst",
                       MSG_ERROR,
                       MSG_FAIL,
                       {},
                       &CPropertyEx::HidGetDevInstInterfaceHandle,
                       "HidGetDevInstInterfaceHandle fail %d\n"};
    CurrentPlatform().Hid().GetHidGuid(&how.guidInterface);
    if (KyHub_TurnOffHubSS(devInst) == 0)
        return RefuseOpen(how);
    return OpenDevice(devInst, how);
}

CPropertyEx::DEVICE_OPEN CPropertyEx::HubOpen()
{
    return {"CPropertyEx::KyHub_OpenDeviceByDevInst",
            MSG_FAIL,
            MSG_INFO,
            kGuidUsbHub,
            &CPropertyEx::GetDevInstInterfaceHandle,
            "GetDevInstInterfaceHandle fail %d\n"};
}

DWORD CPropertyEx::RefuseOpen(const DEVICE_OPEN& how)
{
    CMsg::GetObj()->ShowMsg(how.eFail, how.pszFunction, "Turn off power save mode fail.\n");
    return kOpenRefused;
}

DWORD CPropertyEx::OpenDevice(DWORD devInst, const DEVICE_OPEN& how)
{
    // Deliberate: what an earlier open left in the block is forgotten, not closed; callers close
    // first.
    m_inst = {};
    std::memcpy(m_inst.signature, kSignature, sizeof(kSignature));
    m_bOwnsDevice = false;

    HANDLE hInterface = InvalidHandle();
    const DWORD dwError = OpenElement(devInst, how, &hInterface);
    if (dwError != 0)
        return dwError;
    return OpenProxyDevice(how, hInterface);
}

DWORD CPropertyEx::OpenElement(DWORD devInst, const DEVICE_OPEN& how, HANDLE* phInterface)
{
    CMsg* const pMsg = CMsg::GetObj();
    IDeviceTree& tree = CurrentPlatform().DeviceTree();
    CScopedHandle set(RequestSetOfNode(devInst), CloseDeviceSet);
    const DWORD dwSetError = SystemError();
    // Deliberate: with 1300 the set is used whatever it is.
    if ((!set.IsOpen() || dwSetError != 0) && dwSetError != kErrNotAllAssigned) {
        pMsg->ShowMsg(MSG_FAIL, how.pszFunction, "SetupDiGetClassDevs failed %d\n", dwSetError);
        return dwSetError;
    }

    DEVINFO_DATA node = {};
    node.cbSize = sizeof(node);
    if (!tree.EnumDeviceInfo(set.Get(), 0, &node)) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(how.eFail, how.pszFunction, "SetupDiEnumDeviceInfo failed %d\n", dwError);
        return dwError;
    }

    WCHAR szLocation[kLocationChars] = {};
    if (!tree.GetRegistryProperty(set.Get(), &node, kPropLocationInformation, nullptr,
                                  reinterpret_cast<BYTE*>(szLocation), kLocationReadBytes,
                                  nullptr)) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(how.eFail, how.pszFunction,
                      "OpenKyCam::SetupDiGetDeviceRegistryProperty error %d\n", dwError);
        szLocation[0] = 0;
    }
    m_inst.dwPort = PortOfLocation(szLocation);
    m_inst.dwOpened = 1;
    pMsg->ShowMsg(MSG_INFO, how.pszFunction, "[1] Got port num %d\n", m_inst.dwPort);

    const WString strId = ReadInstanceId(node.DevInst);
    pMsg->ShowMsg(MSG_INFO, how.pszFunction, "Checking device %ws\n", strId.c_str());
    const DWORD dwError = (this->*how.pfnInterface)(node.DevInst, &how.guidInterface, phInterface);
    if (dwError != 0)
        pMsg->ShowMsg(how.eFail, how.pszFunction, how.pszInterfaceFail, dwError);
    return dwError;
}

DWORD CPropertyEx::OpenProxyDevice(const DEVICE_OPEN& how, HANDLE hInterface)
{
    CMsg* const pMsg = CMsg::GetObj();
    CScopedHandle interfaceFile(hInterface, CloseDeviceFile);
    pMsg->ShowMsg(MSG_INFO, how.pszFunction, "KyProxy_Open by handle %08X\n",
                  HandleBits(hInterface));
    if (KyProxy_OpenByHandle(hInterface, &m_inst.llDevice) == 0) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(how.eFail, how.pszFunction, "KyProxy_Open failed %d, device handle : %08X\n",
                      dwError, HandleBits(hInterface));
        return dwError;
    }
    m_inst.hInterface = interfaceFile.Release();
    m_bOwnsDevice = true;
    pMsg->ShowMsg(how.eOpened, how.pszFunction, "KyProxy_Open hDev=%08X\n",
                  static_cast<DWORD>(m_inst.llDevice));
    return 0;
}

int CPropertyEx::KyProxy_OpenByHandle(HANDLE hInterface, LONGLONG* pllDevice)
{
    *pllDevice = 0;
    // A null handle is passed on: the driver refuses it.
    if (hInterface == InvalidHandle()) {
        CurrentPlatform().Process().SetLastError(kErrInvalidParameter);
        return 0;
    }
    if (hProxyDriver == nullptr) {
        CurrentPlatform().Process().SetLastError(kErrPathNotFound);
        return 0;
    }

    PROXY_DEVICE_REQUEST request = BuildDeviceRequest(m_nWow64, hInterface, 0);
    DWORD cbDone = 0;
    if (!CurrentPlatform().DeviceFile().Control(hProxyDriver, IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE,
                                                &request, sizeof(request), &request,
                                                sizeof(request), &cbDone)) {
        const DWORD dwError = SystemError();
        CMsg::GetObj()->ShowMsg(MSG_FAIL, "CPropertyEx::KyProxy_OpenByHandle",
                                "IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE failed %d\n", dwError);
        return 0;
    }
    *pllDevice = static_cast<LONGLONG>(request.deviceHandle);
    return 1;
}

int CPropertyEx::KyProxy_Close(LONGLONG llDevice)
{
    const PROXY_DEVICE_REQUEST request = BuildDeviceRequest(m_nWow64, nullptr, llDevice);
    DWORD cbDone = 0;
    if (CurrentPlatform().DeviceFile().Control(hProxyDriver, IOCTL_KYPROXY_CLOSE_DEVICE, &request,
                                               sizeof(request), nullptr, 0, &cbDone))
        return 1;
    const DWORD dwError = SystemError();
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CPropertyEx::KyProxy_Close",
                            "IOCTL_KYPROXY_CLOSE_DEVICE failed %d\n", dwError);
    return 0;
}

DWORD CPropertyEx::KyHub_CloseDevice()
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CPropertyEx::KyHub_CloseDevice", "close device\n");
    CScopedHandle(m_inst.hInterface, CloseDeviceFile).Reset();
    m_inst.hInterface = nullptr;
    m_bOwnsDevice = false;
    if (m_inst.llDevice != 0)
        KyProxy_Close(m_inst.llDevice);
    m_inst.llDevice = 0;
    m_inst.llReserved = 0;
    m_inst.dwOpened = 0;
    return 0;
}
