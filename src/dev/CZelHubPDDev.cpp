#include "dev/CZelHubPDDev.h"

#include "cmd/CRequestCMD.h"
#include "dev/CFlashMode.h"
#include "dev/COfflineState.h"
#include "dev/CRomMode.h"
#include "dev/CUnknownState.h"
#include "dev/CWaitState.h"
#include "flow/CHubFwFinder.h"
#include "msg/CMsg.h"

#include <algorithm>

namespace
{
template<typename State>
std::unique_ptr<CState> StateOf(CZelHubPDDev* pDev)
{
    auto pState = std::make_unique<State>();
    pState->SetDev(pDev);
    return pState;
}
} // namespace

CZelHubPDDev::CZelHubPDDev()
{
    InitState();
}

CZelHubPDDev::~CZelHubPDDev()
{
    UninitState();
}

void CZelHubPDDev::InitState()
{
    UninitState();
    m_mapState[OFFLINE_STATE] = StateOf<COfflineState>(this);
    m_mapState[UNKNOWN_STATE] = StateOf<CUnknownState>(this);
    m_mapState[ROM_STATE] = StateOf<CRomMode>(this);
    m_mapState[FLASH_STATE] = StateOf<CFlashMode>(this);
    m_mapState[WAIT_STATE] = StateOf<CWaitState>(this);
    m_pState = m_mapState[OFFLINE_STATE].get();
}

void CZelHubPDDev::UninitState()
{
    m_pState = nullptr;
    m_mapState.clear();
}

void CZelHubPDDev::SetDevState(CState* pState)
{
    m_pState = pState;
}

CState* CZelHubPDDev::GetDevState()
{
    return m_pState;
}

CState* CZelHubPDDev::GetCertainDevState(DEVSTATE eState)
{
    return m_mapState[eState].get();
}

void CZelHubPDDev::AddDevID(DWORD dwFirst, DWORD dwSecond)
{
    __DevMatchID id = {dwSecond, dwFirst};
    AttachDevMatchList(id);
}

void CZelHubPDDev::DeleteDevID(DWORD dwFirst, DWORD dwSecond)
{
    __DevMatchID id = {dwSecond, dwFirst};
    UnattachDevMatchList(id);
}

bool CZelHubPDDev::GetDevID(DWORD& dwFirst, DWORD& dwSecond, DWORD dwIndex)
{
    if (dwIndex >= m_vDevID.size())
        return false;
    dwFirst = m_vDevID[dwIndex].dwFirst;
    dwSecond = m_vDevID[dwIndex].dwSecond;
    return true;
}

void CZelHubPDDev::AttachDevMatchList(__DevMatchID& id)
{
    m_vDevID.push_back(id);
}

void CZelHubPDDev::UnattachDevMatchList(__DevMatchID& id)
{
    const auto it = std::find_if(m_vDevID.begin(), m_vDevID.end(), [&id](const auto& other) {
        return other.dwFirst == id.dwFirst && other.dwSecond == id.dwSecond;
    });
    if (it != m_vDevID.end())
        m_vDevID.erase(it);
}

void CZelHubPDDev::SetTopo(WCHAR* pszLocation)
{
    m_strLocation = pszLocation == nullptr ? WString() : WString(pszLocation);
}

void CZelHubPDDev::SetTopo(int nLevel, int nPort)
{
    m_nLevel = nLevel;
    m_nPort = nPort;
}

WString CZelHubPDDev::GetLocationPath()
{
    return m_strLocation;
}

int CZelHubPDDev::GetLevel()
{
    return m_nLevel;
}

int CZelHubPDDev::GetPort()
{
    return m_nPort;
}

bool CZelHubPDDev::ForceReset2Rom()
{
    return Reset2RomEx();
}

bool CZelHubPDDev::Reset2Rom()
{
    return m_pState != nullptr && m_pState->Reset2Rom();
}

bool CZelHubPDDev::Reset2Flash()
{
    return m_pState != nullptr && m_pState->Reset2Flash();
}

bool CZelHubPDDev::WriteFlash()
{
    return m_pState != nullptr && m_pState->WriteFlash();
}

bool CZelHubPDDev::CheckFlash()
{
    return m_pState != nullptr && m_pState->CheckFlash();
}

void CZelHubPDDev::JudgeCodeMode(IDev* pDev)
{
    const bool bRom = IsRomCode();
    CState* const pState = pDev != nullptr ? pDev->GetDevState() : nullptr;
    if (pState != nullptr)
        (void)(bRom ? pState->ToRom() : pState->ToFlash());
    LogState("CZelHubPDDev::JudgeCodeMode");
}

void CZelHubPDDev::InitFwFinder(const std::string& strPath)
{
    m_vFwFinders.push_back(std::make_unique<CHubFwFinder>(strPath));
    m_pFwFinder = m_vFwFinders.back().get();
}

bool CZelHubPDDev::DevReadVersion(USHORT& wVersion)
{
    return m_pState != nullptr && m_pState->DevReadVersion(wVersion);
}

bool CZelHubPDDev::DevErase()
{
    return m_pState != nullptr && m_pState->DevErase();
}

bool CZelHubPDDev::IsPresent()
{
    return m_pState != nullptr && m_pState->IsPresent();
}

bool CZelHubPDDev::IsAbsent()
{
    return m_pState != nullptr && m_pState->IsAbsent();
}

void CZelHubPDDev::ForceRemove()
{
    SetDevState(GetCertainDevState(OFFLINE_STATE));
}

bool CZelHubPDDev::CheckFlashWithCmp()
{
    static constexpr char kFunc[] = "CZelHubPDDev::CheckFlashWithCmp";
    std::vector<BYTE> vRead(m_vFwBuf.size());
    bool bResult = ReadFlashEx(vRead);
    CMsg::GetObj()->ShowMsg(MSG_INFO, kFunc, "Read Flash Success\n");
    // Deliberate: equal bytes turn a failed read into success, but different bytes do not fail
    // a read that succeeded.
    if (vRead == m_vFwBuf)
        bResult = true;
    if (bResult)
        CMsg::GetObj()->ShowMsg(MSG_INFO, kFunc, "check flash with compare return true\n");
    else
        CMsg::GetObj()->ShowMsg(MSG_FAIL, kFunc, "check flash with compare return false\n");
    return bResult;
}

void CZelHubPDDev::LogState(const char* pszFunc)
{
    const char* const pszName = m_pState != nullptr ? m_pState->GetName().c_str() : nullptr;
    CMsg::GetObj()->ShowMsg(MSG_INFO, pszFunc, "current state is %s\n", pszName);
}

void CZelHubPDDev::ResetWasSent(const char* pszFunc)
{
    if (m_pState != nullptr)
        (void)m_pState->ToWait();
    LogState(pszFunc);
}

void CZelHubPDDev::TellArrival(DWORD devInst, DWORD dwOldSS)
{
    if (m_pState != nullptr)
        (void)m_pState->Arrive(devInst, dwOldSS);
}

void CZelHubPDDev::LeaveBus(const char* pszFunc)
{
    if (m_DevInst != 0 && dwOldSSValue != 0) {
        CMsg::GetObj()->ShowMsg(MSG_INFO, pszFunc, "dwOldSSValue is %d,Turn On Hub SS\n",
                                dwOldSSValue);
        (void)CRequestCMD::GetRequestObj()->KyHub_TurnOnHubSS(m_DevInst);
    } else {
        CMsg::GetObj()->ShowMsg(MSG_INFO, pszFunc,
                                "m_DevInst is %d,dwOldSSValue is %d,Not Need Set Hub SS\n",
                                m_DevInst, dwOldSSValue);
    }
    m_DevInst = 0;
    dwOldSSValue = 0;
    if (m_pState != nullptr)
        (void)m_pState->Remove();
    LogState(pszFunc);
}

int CZelHubPDDev::WriteProgress(DWORD dwPercent)
{
    constexpr int kWriteFrom = 30; // a write fills the range 30 to 70
    return kWriteFrom + static_cast<int>(dwPercent * 2 / 5);
}
