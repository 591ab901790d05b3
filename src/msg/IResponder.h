#pragma once

#include "msg/ERRORLEVEL.h"
#include "platform/Export.h"

/// Receives what the library reports. It is called with the dispatcher's lock held, by one
/// thread at a time, and must not call back into the dispatcher. Texts are borrowed for the call.
class ZEL_API IResponder
{
public:
    virtual ~IResponder() = default;

    virtual void ShowMsg(const char* pszText, ERRORLEVEL eLevel) = 0; ///< one log line
    virtual void ShowUIMsg(const char* pszText, RESTYPE eType) = 0;   ///< one text for people
    virtual void CountDown(const char* pszTitle, int nSeconds, ERRORLEVEL eLevel) = 0; ///< left
    virtual void ShowProgress(int nPercent) = 0;                                       ///< 0 to 100
    virtual void SetMsgLevel(ERRORLEVEL eLevel) = 0; ///< sets the threshold
};
