#include "NormalisedLog.h"

#include <regex>

std::vector<std::string> LinesBehindStamps(const std::string& strText)
{
    // Also within a line: a message without line end is followed by the next one's stamp.
    static const std::regex kStamp(R"(\[\d+-\d+-\d+, \d+:\d+:\d+\]  )");
    std::vector<std::string> lines;
    for (size_t nAt = 0; nAt < strText.size();) {
        size_t nEnd = strText.find('\n', nAt);
        nEnd = nEnd == std::string::npos ? strText.size() : nEnd;
        lines.push_back(std::regex_replace(strText.substr(nAt, nEnd - nAt), kStamp, ""));
        nAt = nEnd + 1;
    }
    return lines;
}

std::string NormalisedLog(const std::vector<std::string>& lines)
{
    static const std::regex kHandle("(KyProxy_Open by handle )[0-9A-F]{8}");
    std::string strAll;
    unsigned nOpened = 0;
    for (const std::string& strLine : lines) {
        std::string strNamed = strLine;
        if (std::regex_search(strLine, kHandle))
            strNamed = std::regex_replace(strLine, kHandle, "$1#" + std::to_string(++nOpened));
        strAll += strNamed + "\n";
    }
    return strAll;
}
