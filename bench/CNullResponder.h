#pragma once

#include "msg/IResponder.h"

/// Takes every report and does nothing with it.
class CNullResponder : public IResponder
{
public:
    void ShowMsg(const char* /*pszText*/, ERRORLEVEL /*eLevel*/) override {}
    void ShowUIMsg(const char* /*pszText*/, RESTYPE /*eType*/) override {}
    void CountDown(const char* /*pszTitle*/, int /*nSeconds*/, ERRORLEVEL /*eLevel*/) override {}
    void ShowProgress(int /*nPercent*/) override {}
    void SetMsgLevel(ERRORLEVEL /*eLevel*/) override {}
};
