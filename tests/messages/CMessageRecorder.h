#pragma once

#include <string>
#include <vector>

#include "msg/IResponder.h"

/// One message as it reached a responder, without its stamp.
struct SaidMessage
{
    std::string strLevel; ///< "0", "1", "3", or "ui0", "ui1", "ui2"
    std::string strFunction;
    std::string strText;
};

/// Keeps every log line and every user-interface text. Attached while it lives.
class CMessageRecorder : public IResponder
{
public:
    CMessageRecorder();
    ~CMessageRecorder() override; ///< detaches whoever is attached

    void ShowMsg(const char* pszText, ERRORLEVEL eLevel) override;
    void ShowUIMsg(const char* pszText, RESTYPE eType) override;
    void CountDown(const char*, int, ERRORLEVEL) override {}
    void ShowProgress(int) override {}
    void SetMsgLevel(ERRORLEVEL) override {}

    const std::vector<SaidMessage>& Said() const { return m_said; }

private:
    std::vector<SaidMessage> m_said;
};
