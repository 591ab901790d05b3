#include "find/CHubFind.h"

#include "cmd/CRequestCMD.h"
#include "find/CRootHubFilter.h"
#include "find/CU3HubFilter.h"
#include "find/DeviceSetWalk.h"
#include "msg/CMsg.h"

CHubFind::CHubFind()
    : m_pRootHubFilter(std::make_unique<CRootHubFilter>()),
      m_pU3HubFilter(std::make_unique<CU3HubFilter>())
{
    m_pRootHubFilter->EnumHostController();
    AddFilter(m_pRootHubFilter.get());
    AddFilter(m_pU3HubFilter.get());
}

CHubFind::~CHubFind() = default;

const GUID* CHubFind::GetClassGUID()
{
    return &kGuidUsbHub;
}

int CHubFind::KyHub_IsVoHub(DWORD devInst, int nAcceptSmBus)
{
    return CRequestCMD::GetRequestObj()->KyHub_IsVoHub(devInst, nAcceptSmBus);
}

void CHubFind::EnumDevs()
{
    const CScopedHandle set = RequestPresentSet(GetClassGUID());
    if (!set.IsOpen()) {
        const DWORD dwError = SystemError();
        CMsg::GetObj()->ShowMsg(MSG_FAIL, "CHubFind::EnumDevs", "SetupDiGetClassDevs failed %d\n",
                                dwError);
        return;
    }
    m_lstHub.clear();
    m_dwHubCount = 0;
    ForEachInSet(set.Get(), [this](DWORD devInst) {
        if (KyHub_IsVoHub(devInst, 1) != 0) {
            m_lstHub.push_back(devInst);
            ++m_dwHubCount;
        }
    });
}
