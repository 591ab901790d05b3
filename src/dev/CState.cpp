#include "dev/CState.h"

#include "dev/CZelHubPDDev.h"
#include "msg/CMsg.h"

CState::CState() : m_strName("BaseState") {}

CState::~CState() = default;

bool CState::Refuse(const char* pszFunc, const char* pszText)
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, pszFunc, pszText);
    return false;
}

bool CState::GoTo(DEVSTATE eState)
{
    m_pDev->SetDevState(m_pDev->GetCertainDevState(eState));
    return true;
}
