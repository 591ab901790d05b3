#pragma once

#include <string>

#include "msg/CMsg.h"
#include "transport/CScopedHandle.h"

/// Reports a failed system call at level 1; the format's one %s receives the thread's last error
/// as decimal text.
inline void ReportError(const char* pszFunction, const char* pszFormat)
{
    const std::string strError = std::to_string(SystemError());
    CMsg::GetObj()->ShowMsg(MSG_FAIL, pszFunction, pszFormat, strError.c_str());
}
