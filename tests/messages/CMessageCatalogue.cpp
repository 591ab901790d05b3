#include "messages/CMessageCatalogue.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace
{
const std::pair<char, char> kEscapes[] = {{'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}, {'\\', '\\'}};

/// What one conversion of a format can print; an unknown one throws.
std::string PatternOf(const std::string& strConversion)
{
    static const std::map<char, std::string> s_patterns = {
        {'%', "%"},         {'d', "-?[0-9]+"},     {'x', "[0-9a-f]+"},
        {'X', "[0-9A-F]+"}, {'p', "[0-9A-F]{16}"}, {'s', "[\\s\\S]*"},
        {'S', "[\\s\\S]*"}};
    const bool bAlternate = strConversion.find('#') != std::string::npos;
    return bAlternate ? "(0|0x[0-9a-f]+)" : s_patterns.at(strConversion.back());
}

std::regex PatternOfFormat(const std::string& strFormat)
{
    std::string strPattern;
    for (std::size_t i = 0; i < strFormat.size(); ++i) {
        if (strFormat[i] == '%') {
            const std::size_t nEnd = strFormat.find_first_of("%dxXpsS", i + 1);
            strPattern += PatternOf(strFormat.substr(i, nEnd - i + 1));
            i = nEnd;
        } else {
            if (std::string("\\^$.|?*+()[]{}").find(strFormat[i]) != std::string::npos)
                strPattern += '\\';
            strPattern += strFormat[i];
        }
    }
    return std::regex(strPattern);
}
} // namespace

std::string Escaped(const std::string& strText)
{
    std::string strOut;
    for (const char ch : strText) {
        const auto byChar = static_cast<unsigned char>(ch);
        const auto* const pEscape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                                 [&](const auto& e) { return e.first == ch; });
        char szHex[5];
        std::snprintf(szHex, sizeof szHex, "\\x%02X", byChar);
        if (byChar >= 0x80)
            strOut += szHex;
        else if (pEscape != std::end(kEscapes))
            strOut += {'\\', pEscape->second};
        else
            strOut += ch;
    }
    return strOut;
}

std::string Unescaped(const std::string& strText)
{
    std::string strOut;
    for (std::size_t i = 0; i < strText.size(); ++i) {
        if (strText[i] != '\\' || i + 1 == strText.size()) {
            strOut += strText[i];
            continue;
        }
        ++i;
        if (strText[i] == 'x') {
            strOut += static_cast<char>(std::stoi(strText.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
        for (const auto& [raw, shown] : kEscapes) {
            if (strText[i] == shown)
                strOut += raw;
        }
    }
    return strOut;
}

CMessageCatalogue::CMessageCatalogue(const std::string& strFile)
{
    std::ifstream in(strFile);
    if (!in)
        throw std::runtime_error("no message catalogue: " + strFile);
    std::string strClass;
    for (std::string strLine; std::getline(in, strLine);) {
        if (strLine.rfind("# ", 0) == 0)
            strClass = strLine.substr(2);
        const std::size_t nFunction = strLine.find('|');
        if (nFunction == std::string::npos || strLine.front() == '#')
            continue;
        const std::size_t nFormat = strLine.find('|', nFunction + 1);
        m_entries.push_back({strClass, strLine, strLine.substr(0, nFormat + 1),
                             PatternOfFormat(Unescaped(strLine.substr(nFormat + 1)))});
    }
}

bool CMessageCatalogue::Hear(const std::string& strSaid)
{
    bool bKnown = false;
    for (Entry& entry : m_entries) {
        if (strSaid.rfind(entry.strHead, 0) == 0 &&
            std::regex_match(strSaid.substr(entry.strHead.size()), entry.pattern)) {
            entry.bProvoked = true;
            bKnown = true;
        }
    }
    return bKnown;
}

std::map<std::string, CMessageCatalogue::Tally> CMessageCatalogue::TallyByClass() const
{
    std::map<std::string, Tally> tallies;
    for (const Entry& entry : m_entries) {
        Tally& tally = tallies[entry.strClass];
        ++tally.nAll;
        tally.nProvoked += entry.bProvoked ? 1 : 0;
    }
    return tallies;
}

std::vector<std::string> CMessageCatalogue::NotProvoked() const
{
    std::vector<std::string> lines;
    for (const Entry& entry : m_entries) {
        if (!entry.bProvoked)
            lines.push_back(entry.strLine);
    }
    return lines;
}
