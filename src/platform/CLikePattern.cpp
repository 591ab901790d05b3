#include "platform/CLikePattern.h"

#include <algorithm>
#include <string_view>

#include "platform/AsciiCase.h"

namespace
{
using View = std::basic_string_view<WCHAR>;

WString Upper(const WString& strText)
{
    WString strUpper = strText;
    std::transform(strUpper.begin(), strUpper.end(), strUpper.begin(), UpperAscii);
    return strUpper;
}

/// Takes "[...]" off the pattern. @return whether ch is in the set; nothing: the set never ends
std::optional<bool> TakeSet(View* pPattern, WCHAR ch)
{
    const size_t nEnd = pPattern->find(WCHAR(']'), 2);
    if (nEnd == View::npos)
        return std::nullopt;
    View set = pPattern->substr(1, nEnd - 1);
    pPattern->remove_prefix(nEnd + 1);
    const bool bNot = set.size() > 1 && set.front() == WCHAR('^');
    if (bNot)
        set.remove_prefix(1);
    bool bFound = false;
    for (size_t i = 0; i < set.size(); ++i) {
        if (i + 2 < set.size() && set[i + 1] == WCHAR('-')) {
            bFound = bFound || (ch >= set[i] && ch <= set[i + 2]);
            i += 2;
        } else {
            bFound = bFound || ch == set[i];
        }
    }
    return bFound != bNot;
}

bool Match(View pattern, View text)
{
    while (!pattern.empty()) {
        if (pattern.front() == WCHAR('%')) {
            pattern.remove_prefix(1);
            for (size_t i = 0; i <= text.size(); ++i)
                if (Match(pattern, text.substr(i)))
                    return true;
            return false;
        }
        if (text.empty())
            return false;
        if (pattern.front() == WCHAR('[')) {
            if (!TakeSet(&pattern, text.front()).value_or(false))
                return false;
        } else {
            if (pattern.front() != WCHAR('_') && pattern.front() != text.front())
                return false;
            pattern.remove_prefix(1);
        }
        text.remove_prefix(1);
    }
    return text.empty();
}
} // namespace

bool CLikePattern::Matches(const WString& strText) const
{
    return Match(Upper(m_strPattern), Upper(strText));
}

std::optional<CLikePattern> CLikePattern::FromQuery(const WString& strQuery,
                                                    const WString& strClass,
                                                    const WString& strProperty)
{
    const WString strHead =
        WTEXT("SELECT * FROM ") + strClass + WTEXT(" WHERE ") + strProperty + WTEXT(" LIKE \"");
    if (Upper(strQuery.substr(0, strHead.size())) != Upper(strHead) ||
        strQuery.size() < strHead.size() + 1 || strQuery.back() != WCHAR('"'))
        return std::nullopt;
    WString strPattern;
    for (size_t i = strHead.size(); i + 1 < strQuery.size(); ++i) {
        if (strQuery[i] == WCHAR('"'))
            return std::nullopt;
        if (strQuery[i] == WCHAR('\\')) {
            ++i;
            if (i + 1 >= strQuery.size() ||
                (strQuery[i] != WCHAR('\\') && strQuery[i] != WCHAR('"')))
                return std::nullopt;
        }
        strPattern.push_back(strQuery[i]);
    }
    return CLikePattern(strPattern);
}
