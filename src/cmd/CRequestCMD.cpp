#include "cmd/CRequestCMD.h"

#include "cmd/CWinUsb.h"
#include "msg/CMsg.h"
#include "platform/Platform.h"

namespace
{
// The stamp is part of the log that hosts know, whenever this was really built.
constexpr const char* kBuildDate = "Jul  5 2021";
constexpr const char* kBuildTime = "13:49:31";
} // namespace

CRequestCMD* CRequestCMD::GetRequestObj()
{
    static CRequestCMD s_obj;
    return &s_obj;
}

CRequestCMD::CRequestCMD()
{
    // The destructor reports and reaches hardware: what it needs must outlive it, so it is built
    // first.
    (void)CMsg::GetObj();
    (void)CurrentPlatform();
}

CRequestCMD::~CRequestCMD()
{
    KyBBPD_CloseBillBoardDevice();
}

int CRequestCMD::XH_InitProxyDriver(IPropertyEx* pTransport)
{
    m_pProxy = std::make_unique<CKyProxy>(pTransport);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::XH_InitProxyDriver",
                            "KyProxy lib built on %s at %s\n", kBuildDate, kBuildTime);
    m_pProxy->GetTransport()->InitProxyDriver();
    return 1; // Deliberate: whether the driver started shows when a hub is opened
}

int CRequestCMD::XH_UnInitProxyDriver()
{
    if (m_pProxy == nullptr)
        return 1;
    const int nResult = m_pProxy->GetTransport()->XH_UnInitProxyDriver();
    m_pProxy.reset();
    return nResult;
}

int CRequestCMD::XH_OpenDevice(DWORD devInst)
{
    return m_pProxy->GetTransport()->KyHub_OpenDeviceByDevInst(devInst) == 0 ? 1 : 0;
}

int CRequestCMD::XH_OpenDevice(DWORD devInst, DWORD& dwOldSSValue)
{
    return m_pProxy->GetTransport()->KyHub_OpenDeviceByDevInst(devInst, dwOldSSValue) == 0 ? 1 : 0;
}

int CRequestCMD::XH_CloseDevice()
{
    return static_cast<int>(m_pProxy->GetTransport()->KyHub_CloseDevice());
}

int CRequestCMD::XH_OpenHidDevice(DWORD devInst)
{
    return m_pProxy->GetTransport()->KyHub_OpenHidDeviceByDevInst(devInst) == 0 ? 1 : 0;
}

DWORD CRequestCMD::KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex,
                                   BYTE* pBuffer, DWORD dwLength, DWORD dwTimeoutMs)
{
    return m_pProxy->GetTransport()->KyHub_SendVDCmd(byType, byRequest, wValue, wIndex, pBuffer,
                                                     dwLength, dwTimeoutMs);
}

DWORD CRequestCMD::KyHub_CtlPipeNoDataOut(BYTE* pSetup)
{
    return m_pProxy->GetTransport()->KyHub_CtlPipeNoDataOut(pSetup);
}

DWORD CRequestCMD::KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData)
{
    return m_pProxy->GetTransport()->KyHub_CtlPipeOut(pSetup, pData);
}

DWORD CRequestCMD::KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData)
{
    return m_pProxy->GetTransport()->KyHub_CtlPipeIn(pSetup, pData);
}

DWORD CRequestCMD::KyHub_Speed(_myUSB_DEVICE_SPEED& eSpeed)
{
    return m_pProxy->GetTransport()->KyHub_Speed(&eSpeed);
}

DWORD CRequestCMD::KyHub_WritePortUCHAR(DWORD dwPort, BYTE byValue)
{
    return m_pProxy->GetTransport()->KyHub_WritePortUCHAR(dwPort, byValue);
}

DWORD CRequestCMD::KyHub_ReadPortUCHAR(DWORD dwPort, BYTE& byValue)
{
    return m_pProxy->GetTransport()->KyHub_ReadPortUCHAR(dwPort, &byValue);
}

DWORD CRequestCMD::KyHub_WriteMemoryUCHAR(DWORD dwAddr, BYTE* pBuf, DWORD dwLen)
{
    return m_pProxy->GetTransport()->KyHub_WriteMemoryUCHAR(dwAddr, pBuf, dwLen);
}

DWORD CRequestCMD::KyHub_ReadMemoryUCHAR(DWORD dwBase, DWORD dwOffset, BYTE* pbyValue)
{
    return m_pProxy->GetTransport()->KyHub_ReadMemoryUCHAR(dwBase + dwOffset, pbyValue, 1);
}

int CRequestCMD::KyHub_IsVoHub(DWORD devInst, int nFlag)
{
    return m_pProxy->GetTransport()->KyHub_IsVoHub(devInst, nFlag);
}

int CRequestCMD::KyHub_TurnOnHubSS(DWORD devInst)
{
    return m_pProxy->GetTransport()->KyHub_TurnOnHubSS(devInst);
}

void CRequestCMD::KyHub_Free(_KYHUB_INST** ppInstance)
{
    m_pProxy->GetTransport()->KyHub_Free(ppInstance);
}

int CRequestCMD::KyHid_IsITEHid(DWORD devInst)
{
    return m_pProxy->GetTransport()->KyHid_IsITEHid(devInst);
}

DWORD CRequestCMD::HidGetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid,
                                                HANDLE* phInterface)
{
    return m_pProxy->GetTransport()->HidGetDevInstInterfaceHandle(devInst, pGuid, phInterface);
}
