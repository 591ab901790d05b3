#include "find/CU3HubFilter.h"

#include "find/CDevProperty.h"
#include "msg/CMsg.h"

bool CU3HubFilter::Filter(DWORD devInst)
{
    if (CDevProperty::GetObj()->IsU3Hub(devInst)) {
        CMsg::GetObj()->ShowMsg(MSG_INFO, "CU3HubFilter::Filter", "filter u3 hub return true.\n");
        return true;
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CU3HubFilter::Filter", "filter u3 hub return false.\n");
    return false;
}
