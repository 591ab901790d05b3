// The vendor-defined HID collection.
#include "msg/CMsg.h"
#include "platform/FileConstants.h"
#include "platform/IHid.h"
#include "platform/Platform.h"
#include "transport/CPropertyEx.h"
#include "transport/CScopedHandle.h"
#include "transport/InterfaceSearch.h"

namespace
{
constexpr USHORT kVendorUsagePage = 0xFF70;
constexpr USHORT kVendorUsage = 0x0020;
constexpr BYTE kTrue = 1;

constexpr INTERFACE_OPEN kHidInterface = {
    "CPropertyEx::HidGetDevInstInterfaceHandle",
    MSG_ERROR,
    MSG_ERROR,
    kShareRead | kShareWrite, // shared with the system's own HID stack
    0,
    "Interface not found",
    "GetDevInstInterfaceHandle::SetupDiEnumDeviceInterfaces error %d",
    "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_1st new buffer %d",
    "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_1st error %d",
    "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_2nd error %d",
    "GetDevInstInterfaceHandle::CreateFile failed %d",
};

int IsVendorCollection(HANDLE hDevice)
{
    const char* const pszMe = "CPropertyEx::KyHid_IsITEHid";
    CMsg* const pMsg = CMsg::GetObj();
    IHid& hid = CurrentPlatform().Hid();
    HANDLE hData = nullptr;
    const BYTE byGot = hid.GetPreparsedData(hDevice, &hData);
    if (byGot != kTrue) {
        pMsg->ShowMsg(MSG_ERROR, pszMe, "In KyHid_IsITEHid: HidD_GetPreparsedData Fail with (0x%x)",
                      byGot);
        return 0;
    }
    HID_CAPS caps = {};
    const LONG lStatus = hid.GetCaps(hData, &caps);
    pMsg->ShowMsg(MSG_FAIL, pszMe, "In KyHid_IsITEHid: HidP_GetCaps return 0x%x", lStatus);
    pMsg->ShowMsg(MSG_FAIL, pszMe, "In KyHid_IsITEHid: UsagePage is 0x%x, Usage is 0x%x",
                  caps.UsagePage, caps.Usage);
    hid.FreePreparsedData(hData);
    return caps.UsagePage == kVendorUsagePage && caps.Usage == kVendorUsage ? 1 : 0;
}
} // namespace

DWORD CPropertyEx::HidGetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid,
                                                HANDLE* phInterface)
{
    return OpenNodeInterface(kHidInterface, devInst, pGuid, phInterface);
}

int CPropertyEx::KyHid_IsITEHid(DWORD devInst)
{
    const char* const pszMe = "CPropertyEx::KyHid_IsITEHid";
    CMsg* const pMsg = CMsg::GetObj();
    GUID guidHid = {};
    CurrentPlatform().Hid().GetHidGuid(&guidHid);
    HANDLE hDevice = nullptr;
    const DWORD dwError = HidGetDevInstInterfaceHandle(devInst, &guidHid, &hDevice);
    if (dwError != 0) {
        pMsg->ShowMsg(MSG_ERROR, pszMe, "In KyHid_IsITEHid: GetDevInstInterfaceHandle fail %d",
                      dwError);
        pMsg->ShowMsg(MSG_ERROR, pszMe, "KyHid_IsITEHid return FALSE");
        return 0;
    }
    const CScopedHandle device(hDevice, CloseDeviceFile);
    pMsg->ShowMsg(MSG_FAIL, pszMe, "In KyHid_IsITEHid: open handle is 0x%x", HandleBits(hDevice));
    return IsVendorCollection(hDevice);
}
