#include "msg/CMsg.h"

CMsg* CMsg::GetObj()
{
    static CMsg s_msg;
    return &s_msg;
}
