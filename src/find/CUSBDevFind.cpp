#include "find/CUSBDevFind.h"

#include <algorithm>
#include <iterator>

#include "cmd/CRequestCMD.h"
#include "dev/IDev.h"
#include "find/DeviceSetWalk.h"
#include "find/IFilterEx.h"
#include "msg/CMsg.h"
#include "platform/IClock.h"
#include "wire/HubRequests.h"

namespace
{
constexpr int kArrivalProbes = 50;
constexpr int kExtendedProbes = 10;
constexpr DWORD kProbeMs = 100;

/// Asks the open hub until it answers, at most nMost times, 100 ms after each failure.
/// @return number of the attempt that it answered, from 1; 0: it never did
int ProbeHub(int nMost)
{
    for (int nAttempt = 1; nAttempt <= nMost; ++nAttempt) {
        if (CRequestCMD::GetRequestObj()->KyHub_VdCmdEnable(VDCMD_ENABLE_READ_ERASE) == 0)
            return nAttempt;
        CurrentPlatform().Clock().Sleep(kProbeMs);
    }
    return 0;
}

/// Opens the node for the first device that takes it. @return that device, or null
IDev* OpenForMatching(const std::list<IDev*>& lstDev, DWORD devInst, DWORD& dwOldSS)
{
    for (IDev* const pDev : lstDev) {
        dwOldSS = 0; // an open that finds no switch leaves the value alone
        if (pDev->MatchDev(devInst) &&
            CRequestCMD::GetRequestObj()->XH_OpenDevice(devInst, dwOldSS) == 1)
            return pDev;
    }
    return nullptr;
}
} // namespace

CUSBDevFind::CUSBDevFind() = default;
CUSBDevFind::~CUSBDevFind() = default;

void CUSBDevFind::WatchAllDevs()
{
    EnumAllDevs();
    DiffWithLast();
    RemoveAllDevs();
    ArriveAllDevs();
}

void CUSBDevFind::WatchAllHidDevs()
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CUSBDevFind::WatchAllHidDevs",
                            "CUSBDevFind::WatchAllHidDevs");
    EnumAllDevs();
    DiffWithLast();
    RemoveAllDevs();
    ArriveAllHidDevs();
}

void CUSBDevFind::WatchAllDevsEx()
{
    EnumAllDevs();
    DiffWithLast();
    RemoveAllDevs();
    ArriveAllDevsEx();
}

bool CUSBDevFind::DummyRemove(IDev* pDev)
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CUSBDevFind::DummyRemove", "Into dummy remove function\n");
    CRequestCMD::GetRequestObj()->XH_CloseDevice();
    m_vLast.clear();
    pDev->Remove();
    return true;
}

bool CUSBDevFind::ForceRemove(IDev* pDev)
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CUSBDevFind::ForceRemove", "Into force remove function\n");
    CRequestCMD::GetRequestObj()->XH_CloseDevice();
    m_vLast.clear();
    pDev->ForceRemove();
    return true;
}

bool CUSBDevFind::FilterDev(DWORD devInst)
{
    return std::any_of(m_lstFilter.begin(), m_lstFilter.end(),
                       [=](IFilterEx* pFilter) { return pFilter->Filter(devInst); });
}

void CUSBDevFind::EnumAllDevs()
{
    const CScopedHandle set = RequestPresentSet(GetClassGUID());
    if (!set.IsOpen()) {
        const DWORD dwError = SystemError();
        CMsg::GetObj()->ShowMsg(MSG_FAIL, "CUSBDevFind::EnumAllDevs",
                                "SetupDiGetClassDevs failed %d\n", dwError);
        return;
    }
    m_vCurrent.clear();
    ForEachInSet(set.Get(), [this](DWORD devInst) {
        if (!FilterDev(devInst))
            m_vCurrent.push_back(devInst);
    });
}

void CUSBDevFind::DiffWithLast()
{
    std::sort(m_vCurrent.begin(), m_vCurrent.end());
    m_vCurrent.erase(std::unique(m_vCurrent.begin(), m_vCurrent.end()), m_vCurrent.end());
    m_vArrived.clear();
    m_vRemoved.clear();
    std::set_difference(m_vCurrent.begin(), m_vCurrent.end(), m_vLast.begin(), m_vLast.end(),
                        std::back_inserter(m_vArrived));
    std::set_difference(m_vLast.begin(), m_vLast.end(), m_vCurrent.begin(), m_vCurrent.end(),
                        std::back_inserter(m_vRemoved));
    m_vLast = m_vCurrent;
}

void CUSBDevFind::RemoveAllDevs()
{
    for (const DWORD devInst : m_vRemoved) {
        const auto it = std::find_if(m_lstDev.begin(), m_lstDev.end(),
                                     [=](IDev* pDev) { return pDev->IsMeEx(devInst); });
        if (it == m_lstDev.end())
            continue;
        CRequestCMD::GetRequestObj()->XH_CloseDevice();
        (*it)->Remove();
    }
}

void CUSBDevFind::ArriveAllDevs()
{
    for (const DWORD devInst : m_vArrived) {
        DWORD dwOldSS = 0;
        IDev* const pDev = OpenForMatching(m_lstDev, devInst, dwOldSS);
        if (pDev == nullptr || ProbeHub(kArrivalProbes) == 0)
            continue; // Deliberate: a hub that does not answer stays open
        pDev->Arrive(devInst, dwOldSS);
        return; // Deliberate: one arrival a cycle; the others stay unreported
    }
}

void CUSBDevFind::ArriveAllHidDevs()
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CUSBDevFind::ArriveAllHidDevs",
                            "CUSBDevFind::ArriveAllHidDevs\n");
    for (const DWORD devInst : m_vArrived) {
        const auto it = std::find_if(m_lstDev.begin(), m_lstDev.end(), [=](IDev* pDev) {
            return pDev->MatchDev(devInst) &&
                   CRequestCMD::GetRequestObj()->XH_OpenHidDevice(devInst) == 1;
        });
        if (it != m_lstDev.end())
            (*it)->SetHidArrived(1);
    }
}

void CUSBDevFind::CollectSuitable()
{
    for (const DWORD devInst : m_vArrived) {
        for (IDev* const pDev : m_lstDev) {
            if (pDev->MatchDev(devInst))
                m_lstSuitable.push_back(devInst); // once per device that takes it
        }
    }
}

void CUSBDevFind::ArriveAllDevsEx()
{
    CMsg* const pMsg = CMsg::GetObj();
    if (m_bAccepting)
        CollectSuitable();
    if (m_lstSuitable.empty()) {
        pMsg->ShowMsg(MSG_FAIL, "CUSBDevFind::ArriveAllDevsEx", "Can not find suit device.\n");
        return;
    }
    pMsg->ShowMsg(MSG_FAIL, "CUSBDevFind::ArriveAllDevsEx", "Suit device num is %d\n.",
                  static_cast<DWORD>(m_lstSuitable.size()));
    m_bAccepting = false;

    const DWORD devInst = m_lstSuitable.front();
    m_lstSuitable.pop_front();
    const auto it = std::find_if(m_lstDev.begin(), m_lstDev.end(), [=](IDev*) {
        return CRequestCMD::GetRequestObj()->XH_OpenDevice(devInst) == 1;
    });
    if (it == m_lstDev.end())
        return;
    const int nAttempt = ProbeHub(kExtendedProbes);
    if (nAttempt == 0)
        return;
    (*it)->Arrive(devInst);
    // Deliberate: said when the last attempt succeeded, and never when all of them failed.
    if (nAttempt == kExtendedProbes)
        pMsg->ShowMsg(MSG_FAIL, "CUSBDevFind::ArriveAllDevsEx", "Polling connect with hub fail.\n");
}
