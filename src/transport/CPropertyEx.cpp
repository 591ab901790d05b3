#include "transport/CPropertyEx.h"

#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IDeviceFile.h"
#include "platform/Platform.h"
#include "transport/CScopedHandle.h"
#include "transport/LastTransportError.h"
#include "transport/ProxyLayout.h"

#include <cstring>

namespace
{
constexpr DWORD kControlTimeoutMs = 5000;

ULONGLONG AddressOf(const void* p)
{
    return reinterpret_cast<uintptr_t>(p);
}

struct VENDOR_REQUEST
{
    BYTE byType;
    BYTE byRequest;
    USHORT wValue;
    USHORT wIndex;
    BYTE* pBuffer;
    DWORD dwLength;
};

URB BuildVendorUrb(int nWow64, const VENDOR_REQUEST& request)
{
    return BuildInLayout(nWow64, [&](auto layout) {
        typename decltype(layout)::Urb urb = {};
        urb.Transfer.Hdr.Length = URB_LENGTH;
        urb.Transfer.Hdr.Function = URB_FUNCTION_VENDOR_DEVICE;
        urb.Transfer.TransferFlags = (request.byType & 0x80) != 0 ? USBD_TRANSFER_DIRECTION_IN : 0;
        urb.Transfer.TransferBufferLength = request.dwLength;
        urb.Transfer.TransferBuffer = AddressOf(request.pBuffer);
        urb.Request.Vendor.RequestTypeReservedBits = request.byType;
        urb.Request.Vendor.Request = request.byRequest;
        urb.Request.Vendor.Value = request.wValue;
        urb.Request.Vendor.Index = request.wIndex;
        return urb;
    });
}

URB BuildControlUrb(int nWow64, DWORD dwFlags, const BYTE* pSetup, const BYTE* pData)
{
    return BuildInLayout(nWow64, [&](auto layout) {
        typename decltype(layout)::Urb urb = {};
        SETUP_PACKET setup = {};
        std::memcpy(&setup, pSetup, sizeof(setup));
        urb.Transfer.Hdr.Length = URB_LENGTH;
        urb.Transfer.Hdr.Function = URB_FUNCTION_CONTROL_TRANSFER;
        urb.Transfer.TransferFlags = dwFlags;
        urb.Transfer.TransferBufferLength = setup.wLength;
        urb.Transfer.TransferBuffer = AddressOf(pData);
        urb.Request.SetupPacket = setup;
        return urb;
    });
}
} // namespace

CPropertyEx::CPropertyEx() : m_hFlagFile(InvalidHandle()) {}

CPropertyEx::CPropertyEx(const CPropertyEx& other)
    : IPropertyEx(other),
      m_lstUnused(other.m_lstUnused),
      m_strUnused(other.m_strUnused),
      hProxyDriver(other.hProxyDriver),
      m_nWow64(other.m_nWow64),
      m_hFlagFile(other.m_hFlagFile),
      m_inst(other.m_inst),
      m_dwOne(other.m_dwOne),
      m_eMachine(other.m_eMachine)
{}

CPropertyEx& CPropertyEx::operator=(const CPropertyEx& other)
{
    if (this == &other)
        return *this;
    CloseOwned();
    m_lstUnused = other.m_lstUnused;
    m_strUnused = other.m_strUnused;
    hProxyDriver = other.hProxyDriver;
    m_nWow64 = other.m_nWow64;
    m_hFlagFile = other.m_hFlagFile;
    m_inst = other.m_inst;
    m_dwOne = other.m_dwOne;
    m_eMachine = other.m_eMachine;
    return *this;
}

CPropertyEx::~CPropertyEx()
{
    CloseOwned();
}

void CPropertyEx::CloseOwned()
{
    // The proxy device itself is not closed here: that would be a request to a device, and the
    // driver gives it up when its control device is closed.
    if (m_bOwnsDevice)
        CScopedHandle(m_inst.hInterface, CloseDeviceFile).Reset();
    if (m_bOwnsDriver)
        CScopedHandle(hProxyDriver, CloseDeviceFile).Reset();
    if (m_bOwnsFlagFile)
        CScopedHandle(m_hFlagFile, CloseWideFile).Reset();
    m_bOwnsDevice = false;
    m_bOwnsDriver = false;
    m_bOwnsFlagFile = false;
}

int CPropertyEx::KyProxy_SendUrb(LONGLONG llDevice, URB* pUrb, DWORD dwTimeoutMs)
{
    if (hProxyDriver == nullptr)
        return 0;

    const PROXY_URB_REQUEST request = BuildInLayout(m_nWow64, [&](auto layout) {
        typename decltype(layout)::UrbRequest built = {};
        built.deviceHandle = static_cast<ULONGLONG>(llDevice);
        built.urbAddress = AddressOf(pUrb);
        built.timeoutMs = dwTimeoutMs;
        return built;
    });
    DWORD cbDone = 0;
    const bool bCarried = CurrentPlatform().DeviceFile().Control(
        hProxyDriver, IOCTL_KYPROXY_SEND_URB, &request, sizeof(request), nullptr, 0, &cbDone);
    // Deliberate: after a carried request with a bad URB status this is whatever code the thread
    // had before, not the status.
    const DWORD dwError = SystemError();
    if (bCarried && pUrb->Transfer.Hdr.Status == 0)
        return 1;

    SetLastTransportError(dwError);
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CPropertyEx::KyProxy_SendUrb",
                            "In KyProxy_SendUrb,IOCTL_KYPROXY_SEND_URB failed %d\n", dwError);
    return 0;
}

DWORD CPropertyEx::KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex,
                                   BYTE* pBuffer, DWORD dwLength, DWORD dwTimeoutMs)
{
    const char* const pszMe = "CPropertyEx::KyHub_SendVDCmd";
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_INFO, pszMe, "KyHub_SendVDCmd -> RequestType: 0x%02x, Request: 0x%02x\n",
                  byType, byRequest);
    pMsg->ShowMsg(MSG_INFO, pszMe, "KyHub_SendVDCmd -> wValue: 0x%04x, wIndex: 0x%04x\n", wValue,
                  wIndex);
    pMsg->ShowMsg(MSG_INFO, pszMe, "KyHub_SendVDCmd -> dwLength: 0x%x\n", dwLength);
    pMsg->ShowMsg(MSG_INFO, pszMe, "KyHub_SendVDCmd -> ulTimeout: 0x%x\n", dwTimeoutMs);

    DWORD dwResult = 0;
    URB urb = BuildVendorUrb(m_nWow64, {byType, byRequest, wValue, wIndex, pBuffer, dwLength});
    if (KyProxy_SendUrb(m_inst.llDevice, &urb, dwTimeoutMs) == 0) {
        dwResult = GetLastTransportError();
        pMsg->ShowMsg(MSG_FAIL, pszMe, "KyProxy_SendUrb failed %d\n", dwResult);
    }
    pMsg->ShowMsg(MSG_INFO, pszMe, "KyHub_SendVDCmd -> return %d\n", dwResult);
    return dwResult;
}

DWORD CPropertyEx::KyHub_SendUrb(URB* pUrb)
{
    if (KyProxy_SendUrb(m_inst.llDevice, pUrb, kControlTimeoutMs) == 0)
        return GetLastTransportError();
    const DWORD dwStatus = pUrb->Transfer.Hdr.Status;
    if (dwStatus != 0)
        SetLastTransportError(dwStatus);
    return dwStatus;
}

DWORD CPropertyEx::KyHub_CtlPipeNoDataOut(BYTE* pSetup)
{
    if (pSetup == nullptr)
        return kErrInvalidParameter;
    URB urb = BuildControlUrb(m_nWow64, USBD_DEFAULT_PIPE_TRANSFER, pSetup, nullptr);
    return KyHub_SendUrb(&urb);
}

DWORD CPropertyEx::KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData)
{
    if (pSetup == nullptr || pData == nullptr)
        return kErrInvalidParameter;
    URB urb = BuildControlUrb(m_nWow64, USBD_DEFAULT_PIPE_TRANSFER, pSetup, pData);
    return KyHub_SendUrb(&urb);
}

DWORD CPropertyEx::KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData)
{
    if (pSetup == nullptr || pData == nullptr)
        return kErrInvalidParameter;
    URB urb = BuildControlUrb(m_nWow64, USBD_DEFAULT_PIPE_TRANSFER | USBD_TRANSFER_DIRECTION_IN,
                              pSetup, pData);
    return KyHub_SendUrb(&urb);
}

DWORD CPropertyEx::KyHub_Speed(_myUSB_DEVICE_SPEED* pSpeed)
{
    if (pSpeed == nullptr) {
        SetLastTransportError(kErrInvalidParameter);
        return kErrInvalidParameter;
    }
    *pSpeed = m_inst.eSpeed;
    return 0;
}

void CPropertyEx::KyHub_Free(_KYHUB_INST** ppInstance)
{
    if (ppInstance == nullptr || *ppInstance == nullptr)
        return;
    delete *ppInstance;
    *ppInstance = nullptr;
}

void CPropertyEx::zel_dump(BYTE* /*pData*/, DWORD /*dwLength*/) {}
