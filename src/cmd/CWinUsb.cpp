#include "cmd/CWinUsb.h"

#include "cmd/BillboardSearch.h"
#include "msg/CMsg.h"
#include "platform/IDeviceFile.h"
#include "platform/IEventPipe.h"
#include "platform/Platform.h"
#include "transport/CScopedHandle.h"

CWinUsb::CWinUsb(DWORD devInst)
    : m_hDevice(InvalidHandle()), m_hEvent(InvalidHandle()), m_devInst(devInst)
{}

CWinUsb::CWinUsb(DWORD dwPid, DWORD dwVid)
    : m_hDevice(InvalidHandle()), m_hEvent(InvalidHandle()), m_dwPid(dwPid), m_dwVid(dwVid)
{}

CWinUsb::~CWinUsb()
{
    CWinUsb::WinUsb_CloseDevice();
}

int CWinUsb::WinUsb_OpenDevice()
{
    CMsg* const pMsg = CMsg::GetObj();
    WString strPath;
    if (m_devInst != 0) {
        pMsg->ShowMsg(MSG_FAIL, "CWinUsb::WinUsb_OpenDevice", "dwInst is %d\n", m_devInst);
        strPath = FindUsbPathByInstance(m_devInst);
    } else {
        if (m_dwPid == 0 || m_dwVid == 0) {
            pMsg->ShowMsg(MSG_ERROR, "CWinUsb::WinUsb_OpenDevice",
                          "Open Fail,PID is %04x,VID is %04x\n", m_dwPid, m_dwVid);
            return 0;
        }
        pMsg->ShowMsg(MSG_FAIL, "CWinUsb::WinUsb_OpenDevice", "VID is %04x,PID is %04x\n", m_dwVid,
                      m_dwPid);
        strPath = FindBillboardPathById(m_dwPid, m_dwVid);
    }
    return strPath.empty() ? 0 : OpenPath(strPath);
}

int CWinUsb::OpenPath(const WString& strPath)
{
    CMsg* const pMsg = CMsg::GetObj();
    CScopedHandle device(CurrentPlatform().DeviceFile().Open(
                             strPath.c_str(), kGenericRead | kGenericWrite,
                             kShareRead | kShareWrite, kOpenExisting, kFlagOverlapped),
                         CloseDeviceFile);
    if (!device.IsOpen()) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_ERROR, "CWinUsb::WinUsb_OpenDevice",
                      "CreateFile Fail,ErrorCode is %08x\n", dwError);
        return 0;
    }
    HANDLE hWinUsb = nullptr;
    if (!CurrentPlatform().WinUsb().Initialize(device.Get(), &hWinUsb)) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_ERROR, "CWinUsb::WinUsb_OpenDevice",
                      "Init WinUsbHandle Fail.Error Code is %d\n", dwError);
        return 0;
    }
    HANDLE const hEvent = CurrentPlatform().EventPipe().MakeEvent(false, false);
    if (hEvent == nullptr) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_ERROR, "CWinUsb::WinUsb_OpenDevice",
                      "Create Event Fail.Error Code is %d\n", dwError);
        (void)CurrentPlatform().WinUsb().Free(hWinUsb);
        return 0;
    }
    m_hWinUsb = hWinUsb;
    m_hDevice = device.Release();
    m_hEvent = hEvent;
    m_nOpen = 1;
    return 1;
}

int CWinUsb::WinUsb_CloseDevice()
{
    if (m_nOpen == 0)
        return 1;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CWinUsb::WinUsb_CloseDevice", "Close Winusb Handle\n");
    m_nOpen = 0;
    if (m_hEvent != InvalidHandle())
        CloseNamedEvent(m_hEvent);
    m_hEvent = InvalidHandle();
    if (m_hDevice != InvalidHandle())
        CloseDeviceFile(m_hDevice);
    m_hDevice = InvalidHandle();
    if (!CurrentPlatform().WinUsb().Free(m_hWinUsb)) {
        CMsg::GetObj()->ShowMsg(MSG_ERROR, "CWinUsb::WinUsb_CloseDevice", "Close WinUsb Fail\n");
        return 0;
    }
    return 1;
}

void CWinUsb::StartTransfer(const BYTE* pSetup, BYTE* pBuffer, DWORD dwLength)
{
    m_transfer = {};
    m_transfer.hEvent = m_hEvent;
    // The immediate result says nothing: mostly that the transfer is under way.
    (void)CurrentPlatform().WinUsb().ControlTransfer(m_hWinUsb, pSetup, pBuffer, dwLength, nullptr,
                                                     &m_transfer);
}

int CWinUsb::WaitTransfer(DWORD dwTimeoutMs)
{
    DWORD cbDone = 0;
    return CurrentPlatform().WinUsb().TransferResult(m_hDevice, &m_transfer, &cbDone, dwTimeoutMs,
                                                     false)
               ? 1
               : 0;
}
