#include "messages/CMessageRecorder.h"

#include <stdexcept>

#include "msg/CMsg.h"

CMessageRecorder::CMessageRecorder()
{
    CMsg::GetObj()->Attach(this);
}

CMessageRecorder::~CMessageRecorder()
{
    CMsg::GetObj()->ClearResponder();
}

void CMessageRecorder::ShowMsg(const char* pszText, ERRORLEVEL eLevel)
{
    const std::string strLine = pszText;
    const std::string strHead = "]  In ";
    const std::size_t nFunction = strLine.find(strHead);
    const std::size_t nText = strLine.find(", ", nFunction);
    if (strLine.front() != '[' || nFunction == std::string::npos || nText == std::string::npos)
        throw std::logic_error("not a log line: " + strLine);
    const std::size_t nName = nFunction + strHead.size();
    m_said.push_back(
        {std::to_string(eLevel), strLine.substr(nName, nText - nName), strLine.substr(nText + 2)});
}

void CMessageRecorder::ShowUIMsg(const char* pszText, RESTYPE eType)
{
    m_said.push_back({"ui" + std::to_string(eType), "", pszText});
}
