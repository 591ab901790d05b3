#include "flow/CUniversalFlow.h"

#include "dev/IDev.h"
#include "find/IDevFinder.h"
#include "flow/IFwFinder.h"
#include "msg/CMsg.h"

namespace
{
constexpr int kWaitSeconds = 10;
constexpr const char* kUpdate = "CUniversalFlow::DevUpdate";
constexpr const char* kErase = "CUniversalFlow::DevErase";

void Progress(int nPercent)
{
    CMsg::GetObj()->ShowProgress(nPercent);
}

/// Logs how a step ended. @return bDone
bool Report(bool bDone, const char* pszFunc, const char* pszDone, const char* pszFailed)
{
    CMsg::GetObj()->ShowMsg(bDone ? MSG_INFO : MSG_ERROR, pszFunc, bDone ? pszDone : pszFailed);
    return bDone;
}

void ShowEraseResult(bool bDone)
{
    if (bDone)
        CMsg::GetObj()->ShowUIMsg(RES_SUCCESS, "Erase flash success\n");
    else
        CMsg::GetObj()->ShowUIMsg(RES_FAIL, "Erase flash fail\n");
}
} // namespace

CUniversalFlow::CUniversalFlow(IDevFinder* pFinder, IDev* pDev) : m_pFinder(pFinder), m_pDev(pDev)
{}

CUniversalFlow::~CUniversalFlow() = default;

bool CUniversalFlow::DevUpdate()
{
    Progress(0);
    if (ConnectDevice(10) && UpdateConnected())
        return true;
    Progress(0);
    return false;
}

/// @return false when a step failed; true also when the device did not come back from a reset
bool CUniversalFlow::UpdateConnected()
{
    m_pDev->JudgeCodeMode(m_pDev);
    Progress(10);
    if (!Report(m_pDev->Reset2Rom(), kUpdate, "reset to rom success\n", "fail to reset to rom\n"))
        return false;
    Progress(20);
    if (IsWaiting()) {
        // Deliberate: the reset counts as done; the device may come back later.
        if (!Reconnect())
            return true;
        m_pDev->JudgeCodeMode(m_pDev);
    }
    // A device that stayed in flash code (dual bank) is not erased.
    if (m_pDev->GetDevState() == m_pDev->GetCertainDevState(ROM_STATE) &&
        !Report(m_pDev->DevErase(), kUpdate, "erase flash success\n", "fail to erase flash\n"))
        return false;
    return WriteAndCheck() && RestartAndRelease();
}

bool CUniversalFlow::WriteAndCheck()
{
    Progress(30);
    if (!Report(m_pDev->WriteFlash(), kUpdate, "write flash success\n", "\nfail to write flash\n"))
        return false;
    Progress(70);
    if (!Report(m_pDev->CheckFlash(), kUpdate, "check flash success\n", "\nfail to check flash\n"))
        return false;
    Progress(90);
    return true;
}

bool CUniversalFlow::RestartAndRelease()
{
    if (!Report(m_pDev->Reset2Flash(), kUpdate, "reset to flash success\n",
                "fail to reset to flash\n"))
        return false;
    // Deliberate: as after the reset to ROM, and the code mode is not judged again.
    if (IsWaiting() && !Reconnect())
        return true;
    if (!Report(m_pDev->UnInitDev(m_pDev->GetUninitParam()), kUpdate, "uninit dev success\n",
                "fail to uninit dev\n"))
        return false;
    Progress(100);
    return true;
}

bool CUniversalFlow::DevErase()
{
    Progress(0);
    bool bDone = false;
    if (ConnectDevice(10))
        bDone = EraseConnected();
    else
        ShowEraseResult(false);
    Progress(0);
    return bDone;
}

bool CUniversalFlow::EraseConnected()
{
    Progress(30);
    m_pDev->JudgeCodeMode(m_pDev);
    bool bDone = Report(m_pDev->ForceReset2Rom(), kErase, "force reset to rom success\n",
                        "fail to force reset to rom\n");
    if (bDone && IsWaiting()) {
        if (!DisconnectDevice(10) || !ConnectDevice(10)) {
            // Deliberate: reported as success although nothing was erased.
            ShowEraseResult(true);
            return true;
        }
        m_pDev->JudgeCodeMode(m_pDev);
    }
    if (bDone) {
        bDone = m_pDev->DevErase();
        Progress(100);
    }
    ShowEraseResult(bDone);
    return bDone;
}

bool CUniversalFlow::DevReadVersion(USHORT& wVersion)
{
    if (!ConnectDevice(10))
        return false;
    m_pDev->JudgeCodeMode(m_pDev);
    // Deliberate: the answer is not looked at.
    m_pDev->DevReadVersion(wVersion);
    return m_pDev->UnInitDev(m_pDev->GetUninitParam());
}

bool CUniversalFlow::InitFwFinder(const std::string& strPath)
{
    if (m_pDev != nullptr) {
        m_pDev->InitFwFinder(strPath);
        IFwFinder* const pFinder = m_pDev->GetFwFinder();
        std::vector<BYTE> vFw;
        if (pFinder != nullptr && pFinder->LoadFwbin2Buf(vFw)) {
            m_pDev->SetFwBuf(vFw);
            return true;
        }
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CUniversalFlow::InitFwFinder",
                            "fail to load fw file to buf.\n");
    return false;
}

bool CUniversalFlow::DevReadBINVersion(USHORT& wVersion, int nWhich)
{
    return m_pDev != nullptr && m_pDev->DevReadBINVersion(wVersion, nWhich);
}

bool CUniversalFlow::ConnectDevice(int /*nSeconds*/)
{
    return m_pFinder != nullptr && m_pDev != nullptr &&
           m_pFinder->WaitDevConnect(m_pDev, kWaitSeconds);
}

bool CUniversalFlow::DisconnectDevice(int /*nSeconds*/)
{
    return m_pFinder != nullptr && m_pDev != nullptr &&
           m_pFinder->WaitDevUnconnect(m_pDev, kWaitSeconds);
}

bool CUniversalFlow::MP_Reset2Rom()
{
    return m_pDev != nullptr && m_pDev->Reset2Rom();
}

bool CUniversalFlow::MP_ForceReset2Rom()
{
    return m_pDev != nullptr && m_pDev->ForceReset2Rom();
}

bool CUniversalFlow::MP_WriteFlash()
{
    return m_pDev != nullptr && m_pDev->WriteFlash();
}

bool CUniversalFlow::MP_CheckFlash()
{
    return m_pDev != nullptr && m_pDev->CheckFlash();
}

bool CUniversalFlow::MP_Reset2Flash()
{
    return m_pDev != nullptr && m_pDev->Reset2Flash();
}

/// A device that does not vanish in time is forgotten, so that its old node can arrive again.
bool CUniversalFlow::Reconnect()
{
    if (!DisconnectDevice(5))
        m_pFinder->DummyRemove(m_pDev);
    return ConnectDevice(10);
}

bool CUniversalFlow::IsWaiting() const
{
    return m_pDev->GetDevState() == m_pDev->GetCertainDevState(WAIT_STATE);
}
