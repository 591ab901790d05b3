#include "find/CRootHubFilter.h"

#include <algorithm>

#include "find/DeviceSetWalk.h"
#include "msg/CMsg.h"
#include "platform/IDeviceTree.h"
#include "platform/Platform.h"

void CRootHubFilter::EnumHostController()
{
    const CScopedHandle set = RequestPresentSet(&kGuidUsbHostController);
    if (!set.IsOpen()) {
        const DWORD dwError = SystemError();
        CMsg::GetObj()->ShowMsg(MSG_FAIL, "CRootHubFilter::EnumHostController",
                                "SetupDiGetClassDevs failed %d\n", dwError);
        return;
    }
    m_lstHostController.clear();
    ForEachInSet(set.Get(), [this](DWORD devInst) { m_lstHostController.push_back(devInst); });
}

bool CRootHubFilter::Filter(DWORD devInst)
{
    DWORD parentInst = 0;
    if (CurrentPlatform().DeviceTree().GetParent(&parentInst, devInst) == kCrSuccess &&
        std::find(m_lstHostController.begin(), m_lstHostController.end(), parentInst) !=
            m_lstHostController.end()) {
        CMsg::GetObj()->ShowMsg(MSG_INFO, "CRootHubFilter::Filter",
                                "filter root hub return true.\n");
        return true;
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CRootHubFilter::Filter", "filter root hub return false.\n");
    return false;
}
