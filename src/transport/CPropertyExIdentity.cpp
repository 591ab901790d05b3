// Whether a hub is one of the maker's own.
#include "msg/CMsg.h"
#include "msg/NarrowText.h"
#include "platform/AsciiCase.h"
#include "platform/ErrorCodes.h"
#include "platform/IClock.h"
#include "platform/IDeviceTree.h"
#include "platform/Platform.h"
#include "transport/CPropertyEx.h"
#include "transport/CScopedHandle.h"
#include "transport/LastTransportError.h"
#include "transport/ProxyLayout.h"
#include "wire/HubRequests.h"
#include "wire/UsbDescriptors.h"

#include <cstring>
#include <vector>

namespace
{
constexpr const char* kIsVoHub = "CPropertyEx::KyHub_IsVoHub";
constexpr DWORD kDescriptorTimeoutMs = 5000;
constexpr USHORT kWakeLimitMs = 2000;
constexpr USHORT kWakePollMs = 200;
constexpr DWORD kStringRetryMs = 100;
constexpr int kLastStringRetry = 4;
constexpr int kStringBufferBytes = 255;
constexpr BYTE kStringHeadBytes = 2;
constexpr DWORD kSuspendWasEnabled = 0xFFFFFFFF;

struct DESCRIPTOR_REQUEST
{
    BYTE byType;
    BYTE byIndex;
    USHORT wLanguage;
    void* pBuffer;
    DWORD dwLength;
};

URB BuildDescriptorUrb(int nWow64, const DESCRIPTOR_REQUEST& request)
{
    return BuildInLayout(nWow64, [&](auto layout) {
        typename decltype(layout)::Urb urb = {};
        urb.Transfer.Hdr.Length = URB_LENGTH;
        urb.Transfer.Hdr.Function = URB_FUNCTION_GET_DESCRIPTOR_FROM_DEVICE;
        urb.Transfer.TransferBufferLength = request.dwLength;
        urb.Transfer.TransferBuffer = reinterpret_cast<uintptr_t>(request.pBuffer);
        urb.Request.Descriptor.Index = request.byIndex;
        urb.Request.Descriptor.DescriptorType = request.byType;
        urb.Request.Descriptor.LanguageId = request.wLanguage;
        return urb;
    });
}

/// A status as "%p" takes it.
const void* AsPointer(DWORD dwStatus)
{
    return reinterpret_cast<const void*>(uintptr_t{dwStatus}); // NOLINT(performance-no-int-to-ptr)
}

WString TextOf(const USB_STRING_DESCRIPTOR& descriptor)
{
    if (descriptor.bLength < kStringHeadBytes)
        return {};
    WString strText((descriptor.bLength - kStringHeadBytes) / sizeof(WCHAR), WCHAR{0});
    std::memcpy(strText.data(), reinterpret_cast<const BYTE*>(&descriptor) + kStringHeadBytes,
                strText.size() * sizeof(WCHAR));
    return strText;
}

int JudgeIdentity(const WString& strIdentity, int nAcceptSmBus)
{
    CMsg* const pMsg = CMsg::GetObj();
    if (strIdentity == WTEXT("VO HUB")) {
        pMsg->ShowMsg(MSG_INFO, kIsVoHub, "VO Hub\n");
        return 1;
    }
    if (strIdentity == WTEXT("SM BUS") && nAcceptSmBus != 0) {
        pMsg->ShowMsg(MSG_INFO, kIsVoHub, "VO HUB -> SM BUS\n");
        return 1;
    }
    return 0;
}
} // namespace

int CPropertyEx::KyUsb_GetDeviceDescriptor(LONGLONG llDevice, USB_DEVICE_DESCRIPTOR* pOut)
{
    *pOut = {};
    URB urb = BuildDescriptorUrb(m_nWow64,
                                 {USB_DESCRIPTOR_DEVICE, 0, 0, pOut, USB_DEVICE_DESCRIPTOR_LENGTH});
    if (KyProxy_SendUrb(llDevice, &urb, kDescriptorTimeoutMs) != 0 &&
        urb.Transfer.TransferBufferLength == USB_DEVICE_DESCRIPTOR_LENGTH)
        return 1;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CPropertyEx::KyUsb_GetDeviceDescriptor", "Urb failed %p\n",
                            AsPointer(urb.Transfer.Hdr.Status));
    return 0;
}

int CPropertyEx::KyUsb_GetStringDescriptor(LONGLONG llDevice, USB_STRING_DESCRIPTOR* pOut,
                                           int nLength, BYTE byIndex, USHORT wLanguage)
{
    std::memset(pOut, 0, static_cast<size_t>(nLength));
    URB urb = BuildDescriptorUrb(
        m_nWow64, {USB_DESCRIPTOR_STRING, byIndex, wLanguage, pOut, static_cast<DWORD>(nLength)});
    if (KyProxy_SendUrb(llDevice, &urb, kDescriptorTimeoutMs) != 0)
        return 1;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CPropertyEx::KyUsb_GetStringDescriptor",
                            "GetStringDescriptor failed, UrbStatus %p\n",
                            AsPointer(urb.Transfer.Hdr.Status));
    return 0;
}

int CPropertyEx::KyHub_IsVoHub(DWORD devInst, int nAcceptSmBus)
{
    CMsg* const pMsg = CMsg::GetObj();
    DWORD dwOldSSValue = 0;
    int nResult = 0;
    if (KyHub_TurnOffHubSS(devInst, dwOldSSValue) == 0)
        pMsg->ShowMsg(MSG_FAIL, kIsVoHub, "Turn off power save mode fail.\n");
    else
        nResult = ProbeIdentity(devInst, nAcceptSmBus);

    if (dwOldSSValue == kSuspendWasEnabled) {
        pMsg->ShowMsg(MSG_INFO, kIsVoHub, "dwOldSSValue == -1,Need Turn on SS\n");
        if (KyHub_TurnOnHubSS(devInst) == 0)
            pMsg->ShowMsg(MSG_ERROR, kIsVoHub, "Turn On Hub SS Fail,dwOldSSValue is %d\n",
                          dwOldSSValue);
    }
    return nResult;
}

int CPropertyEx::ProbeIdentity(DWORD devInst, int nAcceptSmBus)
{
    CMsg* const pMsg = CMsg::GetObj();
    HANDLE hInterface = InvalidHandle();
    const DWORD dwError = GetDevInstInterfaceHandle(devInst, &kGuidUsbHub, &hInterface);
    if (dwError != 0) {
        pMsg->ShowMsg(MSG_FAIL, kIsVoHub, "GetDevInstInterfaceHandle fail %d\n", dwError);
        return 0;
    }
    CScopedHandle interfaceFile(hInterface, CloseDeviceFile);
    pMsg->ShowMsg(MSG_INFO, kIsVoHub, "KyProxy_Open by handle %08X\n", HandleBits(hInterface));
    LONGLONG llDevice = 0;
    if (KyProxy_OpenByHandle(hInterface, &llDevice) == 0) {
        const DWORD dwOpenError = SystemError();
        pMsg->ShowMsg(MSG_FAIL, kIsVoHub, "KyProxy_Open failed %d, device handle : %08X\n",
                      dwOpenError, HandleBits(hInterface));
        return 0;
    }

    pMsg->ShowMsg(MSG_INFO, kIsVoHub, "KyProxyHandle: 0x%08x\n", static_cast<DWORD>(llDevice));
    USB_DEVICE_DESCRIPTOR device = {};
    if (AwaitDescriptor(llDevice, &device) == 0) {
        // Deliberate: a hub that does not wake up keeps its device and interface handles open.
        interfaceFile.Release();
        return 0;
    }
    pMsg->ShowMsg(
        MSG_INFO, kIsVoHub,
        "Device Descriptor: bDescriptorType:%x, bcdUSB:%x, bDeviceClass:%x, bDeviceSubClass:%x, bDeviceProtocol:%x\n",
        device.bDescriptorType, device.bcdUSB, device.bDeviceClass, device.bDeviceSubClass,
        device.bDeviceProtocol);

    WString strIdentity;
    const int nResult =
        ReadIdentity(llDevice, &strIdentity) != 0 ? JudgeIdentity(strIdentity, nAcceptSmBus) : 0;
    KyProxy_Close(llDevice);
    return nResult;
}

/// @return 0 when the device never woke up
int CPropertyEx::AwaitDescriptor(LONGLONG llDevice, USB_DEVICE_DESCRIPTOR* pOut)
{
    CMsg* const pMsg = CMsg::GetObj();
    USHORT wWaitedMs = 0;
    while (KyUsb_GetDeviceDescriptor(llDevice, pOut) == 0) {
        // Deliberate: any other failure ends the loop, and the check goes on without descriptor.
        if (GetLastTransportError() != kErrNotReady)
            break;
        if (wWaitedMs > kWakeLimitMs) {
            pMsg->ShowMsg(MSG_FAIL, kIsVoHub, "KyCam_OpenDevice check SS resume fail %d\n",
                          GetLastTransportError());
            return 0;
        }
        CurrentPlatform().Clock().Sleep(kWakePollMs);
        wWaitedMs = static_cast<USHORT>(wWaitedMs + kWakePollMs);
        pMsg->ShowMsg(MSG_INFO, kIsVoHub, "KyCam_OpenDevice wait for device to wakeup from SS\n");
    }
    return 1;
}

/// @return 0 when the string could not be read
int CPropertyEx::ReadIdentity(LONGLONG llDevice, WString* pstrIdentity)
{
    CMsg* const pMsg = CMsg::GetObj();
    std::vector<BYTE> buffer(kStringBufferBytes);
    auto* const pDescriptor = reinterpret_cast<USB_STRING_DESCRIPTOR*>(buffer.data());
    if (ReadIdentityDescriptor(llDevice, pDescriptor) == 0) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_FAIL, kIsVoHub, "Can not get devstatus string, return %d\n", dwError);
        pMsg->ShowMsg(MSG_FAIL, kIsVoHub, "Not VO Hub\n");
        return 0;
    }
    *pstrIdentity = TextOf(*pDescriptor);
    pMsg->ShowMsg(MSG_INFO, kIsVoHub, "Dev_String is %s\n", ToNarrow(*pstrIdentity).c_str());
    for (WCHAR& ch : *pstrIdentity)
        ch = UpperAscii(ch);
    return 1;
}

int CPropertyEx::ReadIdentityDescriptor(LONGLONG llDevice, USB_STRING_DESCRIPTOR* pOut)
{
    const auto Read = [&] {
        return KyUsb_GetStringDescriptor(llDevice, pOut, kStringBufferBytes,
                                         HUB_IDENTITY_STRING_INDEX, 0);
    };
    if (Read() != 0)
        return 1;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, kIsVoHub, "Fail1\n");
    for (int i = 0; i <= kLastStringRetry && GetLastTransportError() == kErrOperationAborted; ++i) {
        CMsg::GetObj()->ShowMsg(MSG_INFO, kIsVoHub, "iretry is %d\n", i);
        CurrentPlatform().Clock().Sleep(kStringRetryMs);
        if (Read() != 0)
            return 1;
    }
    return 0;
}
