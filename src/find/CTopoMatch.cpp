#include "find/CTopoMatch.h"

#include "dev/IDev.h"
#include "find/CDevProperty.h"
#include "msg/CMsg.h"
#include "msg/NarrowText.h"

namespace
{
/// What a location path ends in where the port is the last: "#USB(3)" and a zero character.
WString PortTail(int nPort)
{
    WString strTail = WTEXT("#USB(");
    for (const char ch : std::to_string(nPort))
        strTail.push_back(static_cast<WCHAR>(ch));
    strTail.push_back(WTEXT(')'));
    strTail.push_back(WCHAR{0});
    return strTail;
}

bool MatchPath(DWORD devInst, const WString& strHeld)
{
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_FAIL, "CTopoMatch::Match", "LocationPath Topo Match\n");
    // The node's first path alone takes part: both texts count up to their first zero.
    const WString strDevPath = strHeld.c_str();
    const WString strNodePath = CDevProperty::GetObj()->GetLocationPath(devInst).c_str();
    if (strDevPath == strNodePath)
        return true;
    pMsg->ShowMsg(MSG_FAIL, "CTopoMatch::Match", "CurrentDevLocationPath:%s\n",
                  ToNarrow(strDevPath).c_str());
    pMsg->ShowMsg(MSG_FAIL, "CTopoMatch::Match", "EnumDevLocationPath:%s\n",
                  ToNarrow(strNodePath).c_str());
    return false;
}

bool MatchLevelAndPort(DWORD devInst, IDev* pDev)
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CTopoMatch::Match", "Port & Level Topo Match\n");
    const int nLevel = pDev->GetLevel();
    if (nLevel < 1)
        return true; // no topology was set: every node will do
    return CDevProperty::GetObj()->IsLevelAndPort(nLevel, devInst, PortTail(pDev->GetPort()));
}
} // namespace

bool CTopoMatch::Match(DWORD devInst, IDev* pDev)
{
    const WString strHeld = pDev->GetLocationPath();
    const bool bMatch =
        strHeld.empty() ? MatchLevelAndPort(devInst, pDev) : MatchPath(devInst, strHeld);
    if (bMatch)
        CMsg::GetObj()->ShowMsg(MSG_INFO, "CTopoMatch::Match", "match topology return true.\n");
    else
        CMsg::GetObj()->ShowMsg(MSG_FAIL, "CTopoMatch::Match", "match topology return false.\n");
    return bMatch;
}
