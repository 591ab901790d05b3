#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "msg/CMsg.h"
#include "msg/IResponder.h"

/// Collects what the library says while it lives, in a form that a test can write down:
/// "1|CHubFind::ListDevice|ListDevice\n" for log lines (without their stamp), "ui2|\n" for texts
/// for people, "count|Wait Dev Connect|3" for count-downs, "progress|30" for progress.
class CMessageLog : public IResponder
{
public:
    CMessageLog() { CMsg::GetObj()->Attach(this); }
    CMessageLog(const CMessageLog&) = delete;
    CMessageLog& operator=(const CMessageLog&) = delete;
    ~CMessageLog() override { CMsg::GetObj()->ClearResponder(); }

    void ShowMsg(const char* pszText, ERRORLEVEL eLevel) override
    {
        const std::string strLine = pszText;
        const std::string strHead = "]  In ";
        const std::size_t nHead = strLine.find(strHead);
        const std::size_t nComma = strLine.find(", ", nHead);
        if (nHead == std::string::npos || nComma == std::string::npos)
            throw std::logic_error("not a log line: " + strLine);
        const std::size_t nName = nHead + strHead.size();
        m_vLines.push_back(std::to_string(eLevel) + "|" + strLine.substr(nName, nComma - nName) +
                           "|" + strLine.substr(nComma + 2));
    }

    void ShowUIMsg(const char* pszText, RESTYPE eType) override
    {
        m_vLines.push_back("ui" + std::to_string(eType) + "|" + pszText);
    }

    void CountDown(const char* pszTitle, int nSeconds, ERRORLEVEL eLevel) override
    {
        m_vCounts.push_back("count|" + std::string(pszTitle) + "|" + std::to_string(nSeconds) +
                            "|" + std::to_string(eLevel));
    }

    void ShowProgress(int nPercent) override
    {
        m_vLines.push_back("progress|" + std::to_string(nPercent));
    }

    void SetMsgLevel(ERRORLEVEL /*eLevel*/) override {}

    const std::vector<std::string>& Lines() const { return m_vLines; }
    const std::vector<std::string>& Counts() const { return m_vCounts; }

    /// Only the lines of one function.
    std::vector<std::string> LinesOf(const std::string& strFunction) const
    {
        std::vector<std::string> vOf;
        for (const std::string& strLine : m_vLines) {
            if (strLine.find("|" + strFunction + "|") == 1)
                vOf.push_back(strLine);
        }
        return vOf;
    }

    void Clear()
    {
        m_vLines.clear();
        m_vCounts.clear();
    }

private:
    std::vector<std::string> m_vLines;
    std::vector<std::string> m_vCounts;
};
