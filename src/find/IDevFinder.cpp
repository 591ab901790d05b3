#include "find/IDevFinder.h"

#include <algorithm>

#include "dev/IDev.h"
#include "msg/CMsg.h"
#include "platform/IClock.h"
#include "platform/ListGrowth.h"
#include "platform/Platform.h"

namespace
{
constexpr int kPollsPerSecond = 8;
constexpr DWORD kPollMs = 128;

/// Polls until fnTest holds or the time is up; before each cycle the count-down goes out.
/// @return true when fnTest held
template<class Cycle, class Test>
bool Poll(const char* pszTitle, int nSeconds, Cycle fnCycle, Test fnTest)
{
    const LONGLONG llAll = static_cast<LONGLONG>(nSeconds) * kPollsPerSecond;
    for (LONGLONG llPolls = llAll; llPolls > 0;) {
        --llPolls;
        CMsg::GetObj()->CountDown(pszTitle, static_cast<int>(llPolls / kPollsPerSecond), MSG_INFO);
        fnCycle();
        if (fnTest())
            return true;
        CurrentPlatform().Clock().Sleep(kPollMs);
    }
    return false;
}

/// Ends the count-down line and reports a connect wait's outcome. @return bCame
bool ReportConnect(const char* pszFunction, bool bCame)
{
    CMsg::GetObj()->ShowUIMsg(RES_INFO, "\n");
    if (bCame)
        CMsg::GetObj()->ShowMsg(MSG_INFO, pszFunction, "wait dev connect return true.\n");
    else
        CMsg::GetObj()->ShowMsg(MSG_FAIL, pszFunction, "wait dev connect return false.\n");
    return bCame;
}

bool IsReady(IDev* pDev)
{
    return pDev->InitDev(pDev->GetInitParam()) && pDev->IsPresent();
}
} // namespace

IDevFinder::IDevFinder() = default;
IDevFinder::~IDevFinder() = default;

void IDevFinder::WatchAllDevs() {}

bool IDevFinder::WaitDevConnect(IDev* pDev, int nSeconds)
{
    const bool bCame = Poll(
        "Wait Dev Connect", nSeconds, [this] { WatchAllDevs(); }, [=] { return IsReady(pDev); });
    return ReportConnect("IDevFinder::WaitDevConnect", bCame);
}

bool IDevFinder::WaitDevUnconnect(IDev* pDev, int nSeconds)
{
    const bool bGone = Poll(
        "Wait Dev Unconnect", nSeconds, [this] { WatchAllDevs(); },
        [=] { return pDev->IsAbsent(); });
    if (bGone)
        CMsg::GetObj()->ShowMsg(MSG_INFO, "IDevFinder::WaitDevUnconnect",
                                "wait dev unconnect return true.\n");
    else
        CMsg::GetObj()->ShowMsg(MSG_FAIL, "IDevFinder::WaitDevUnconnect",
                                "wait dev unconnect return false.\n");
    return bGone;
}

bool IDevFinder::WaitHidDevConnect(IDev* pDev, int nSeconds)
{
    pDev->SetHidArrived(0);
    const bool bCame = Poll(
        "Wait Dev Connect", nSeconds, [this] { WatchAllHidDevs(); },
        [=] { return pDev->GetHidArrived() == 1; });
    return ReportConnect("IDevFinder::WaitHidDevConnect", bCame);
}

bool IDevFinder::WaitDevConnectEx(IDev* pDev, int nSeconds)
{
    const bool bCame = Poll(
        "Wait Dev Connect", nSeconds, [this] { WatchAllDevsEx(); }, [=] { return IsReady(pDev); });
    return ReportConnect("IDevFinder::WaitDevConnectEx", bCame);
}

const GUID* IDevFinder::GetClassGUID()
{
    return nullptr;
}

DWORD IDevFinder::ListHidAllDevice(_KYHID_INST** /*ppList*/, DWORD* /*pdwCount*/)
{
    return 0;
}

DWORD IDevFinder::ListHidAllDevice(_KYHID_INST** /*ppList*/, DWORD* /*pdwCount*/, DWORD /*dwExtra*/)
{
    return 0;
}

DWORD IDevFinder::ListAllDevPortInfo(_Hub_Info** /*ppList*/, DWORD* /*pdwCount*/)
{
    return 0;
}

void IDevFinder::Attach(IDev* pDev)
{
    AppendOrThrow(m_lstDev, pDev);
}

void IDevFinder::Detach(IDev* pDev)
{
    m_lstDev.remove(pDev);
}

bool IDevFinder::DummyRemove(IDev* /*pDev*/)
{
    return false;
}

void IDevFinder::WatchAllDevsEx() {}

void IDevFinder::WatchAllHidDevs() {}

bool IDevFinder::ListDevice(_Hub_Info*& /*pList*/, DWORD& /*dwCount*/)
{
    return false;
}

bool IDevFinder::ForceRemove(IDev* /*pDev*/)
{
    return false;
}

bool IDevFinder::FilterDev(DWORD /*devInst*/)
{
    return false;
}

void IDevFinder::AddFilter(IFilterEx* pFilter)
{
    AppendOrThrow(m_lstFilter, pFilter);
}
