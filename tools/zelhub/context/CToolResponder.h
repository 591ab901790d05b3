#pragma once

#include "msg/IResponder.h"
#include "tools/zelhub/context/CToolContext.h"

#include <cstdio>
#include <functional>

/// Receives what the library reports: writes the tool's own log, shows waits and progress, and
/// notes transfers that failed, whatever the operation around them returned.
class CToolResponder : public IResponder
{
public:
    /// Opens the log file where one is asked for. Throws CToolError when that fails.
    explicit CToolResponder(CToolContext& context);
    CToolResponder(const CToolResponder&) = delete;
    CToolResponder& operator=(const CToolResponder&) = delete;
    ~CToolResponder() override;

    /// Transfers that were reported as failed so far.
    unsigned FailedTransfers() const { return m_nFailedTransfers; }

    /// The last line that reported a failed call, without its head; empty: none.
    const std::string& LastFailure() const { return m_strLastFailure; }
    /// The first one, which is the cause where one failure led to others.
    const std::string& FirstFailure() const { return m_strFirstFailure; }
    void ForgetFailure();

    /// Who also gets every line without its head, whatever its level.
    void OnLine(std::function<void(const std::string&)> line) { m_line = std::move(line); }

    void OnProgress(std::function<void(int)> progress) { m_progress = std::move(progress); }

    void ShowMsg(const char* pszText, ERRORLEVEL eLevel) override;
    void ShowUIMsg(const char* pszText, RESTYPE eType) override;
    void CountDown(const char* pszTitle, int nSeconds, ERRORLEVEL eLevel) override;
    void ShowProgress(int nPercent) override;
    void SetMsgLevel(ERRORLEVEL eLevel) override { m_eLevel = eLevel; }

private:
    CToolContext& m_context;
    std::FILE* m_pLog = nullptr;
    ERRORLEVEL m_eLevel = MSG_INFO;
    unsigned m_nFailedTransfers = 0;
    std::string m_strLastFailure;
    std::string m_strFirstFailure;
    std::function<void(int)> m_progress;
    std::function<void(const std::string&)> m_line;
};
