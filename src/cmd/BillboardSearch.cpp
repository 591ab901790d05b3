#include "cmd/BillboardSearch.h"

#include "msg/CMsg.h"
#include "platform/AsciiCase.h"
#include "platform/HexText.h"
#include "platform/IDeviceTree.h"
#include "platform/Platform.h"
#include "transport/CScopedHandle.h"
#include "transport/InterfaceSearch.h"

namespace
{
constexpr const char* kFunction = "CWinUsb::WinUsb_OpenDevice";
constexpr DWORD kTextChars = 256;

CScopedHandle RequestUsbDevices()
{
    return {CurrentPlatform().DeviceTree().GetClassDevs(&kGuidUsbDevice, nullptr,
                                                        kSetPresent | kSetDeviceInterface),
            CloseDeviceSet};
}

bool ReadElement(HANDLE hSet, DWORD dwIndex, DEVINFO_DATA& dev)
{
    dev = {};
    dev.cbSize = sizeof dev;
    return CurrentPlatform().DeviceTree().EnumDeviceInfo(hSet, dwIndex, &dev);
}

/// Reads the path of an element's first interface. @return empty after a failure
WString ReadInterfacePath(HANDLE hSet, const DEVINFO_DATA& dev)
{
    IDeviceTree& tree = CurrentPlatform().DeviceTree();
    DEVINTERFACE_DATA data = {};
    data.cbSize = sizeof data;
    if (!tree.EnumDeviceInterfaces(hSet, &dev, &kGuidUsbDevice, 0, &data)) {
        CMsg::GetObj()->ShowMsg(MSG_ERROR, kFunction, "SetupDiEnumDeviceInterfaces FAIL\n");
        return {};
    }
    DWORD cbNeeded = 0;
    (void)tree.GetInterfaceDetail(hSet, &data, nullptr, 0, &cbNeeded);
    WString strPath;
    if (!FetchInterfacePath(hSet, data, cbNeeded, &strPath))
        CMsg::GetObj()->ShowMsg(MSG_ERROR, kFunction, "SetupDiGetDeviceInterfaceDetail FAIL\n");
    return strPath;
}

/// Reads a registry text of an element, its first string. @return false when unreadable
bool ReadText(HANDLE hSet, const DEVINFO_DATA& dev, DWORD dwProperty, WString& strText)
{
    WCHAR szText[kTextChars + 1] = {};
    if (!CurrentPlatform().DeviceTree().GetRegistryProperty(hSet, &dev, dwProperty, nullptr,
                                                            reinterpret_cast<BYTE*>(szText),
                                                            kTextChars * sizeof(WCHAR), nullptr))
        return false;
    strText = szText;
    return true;
}

WString LowerCase(WString strText)
{
    for (WCHAR& ch : strText)
        ch = LowerAscii(ch);
    return strText;
}

bool IsBillboard(HANDLE hSet, const DEVINFO_DATA& dev)
{
    WString strDescription;
    if (!ReadText(hSet, dev, kPropDeviceDesc, strDescription)) {
        CMsg::GetObj()->ShowMsg(MSG_ERROR, kFunction,
                                "SetupDiGetDeviceRegistryProperty Get DeviceDESC FAIL\n");
        return false;
    }
    CMsg::GetObj()->ShowMsg_U(MSG_FAIL, kFunction, WTEXT("Deivce Desc is %s\n"),
                              strDescription.c_str());
    return LowerCase(strDescription) == WTEXT("billboard device");
}

bool HasIds(HANDLE hSet, const DEVINFO_DATA& dev, const WString& strPid, const WString& strVid)
{
    WString strHwId;
    if (!ReadText(hSet, dev, kPropHardwareId, strHwId)) {
        CMsg::GetObj()->ShowMsg(MSG_ERROR, kFunction,
                                "SetupDiGetDeviceRegistryProperty Get Hwid FAIL\n");
        return false;
    }
    CMsg::GetObj()->ShowMsg_U(MSG_FAIL, kFunction, WTEXT("Deivce HwId is %s\n"), strHwId.c_str());
    // Deliberate: case counts, and the IDs' digits are in lower case.
    if (strHwId.find(strPid) != WString::npos && strHwId.find(strVid) != WString::npos)
        return true;
    CMsg::GetObj()->ShowMsg_U(MSG_FAIL, kFunction, WTEXT("Hw id is %s,Match Fail\n"),
                              strHwId.c_str());
    return false;
}
} // namespace

WString FindUsbPathByInstance(DWORD devInst)
{
    const CScopedHandle set = RequestUsbDevices();
    if (!set.IsOpen())
        return {};
    DEVINFO_DATA dev = {};
    for (DWORD dwIndex = 0; ReadElement(set.Get(), dwIndex, dev); ++dwIndex) {
        if (dev.DevInst == devInst)
            return ReadInterfacePath(set.Get(), dev);
    }
    return {};
}

WString FindBillboardPathById(DWORD dwPid, DWORD dwVid)
{
    const WString strPid = HexText(dwPid);
    const WString strVid = HexText(dwVid);
    const CScopedHandle set = RequestUsbDevices();
    if (!set.IsOpen())
        return {};
    DEVINFO_DATA dev = {};
    DWORD dwIndex = 0;
    for (; ReadElement(set.Get(), dwIndex, dev); ++dwIndex) {
        if (IsBillboard(set.Get(), dev) && HasIds(set.Get(), dev, strPid, strVid))
            return ReadInterfacePath(set.Get(), dev);
    }
    CMsg::GetObj()->ShowMsg(MSG_ERROR, kFunction, "SetupDiEnumDeviceInfo FAIL,Index is %d\n",
                            dwIndex);
    return {};
}
