#include "tools/zelhub/devices/CSelector.h"

#include <charconv>

namespace
{

bool ParseWhole(const std::string& strText, unsigned long& n)
{
    const bool bHex = strText.rfind("0x", 0) == 0;
    const char* const pFrom = strText.data() + (bHex ? 2 : 0);
    const char* const pEnd = strText.data() + strText.size();
    const std::from_chars_result result = std::from_chars(pFrom, pEnd, n, bHex ? 16 : 10);
    return pFrom != pEnd && result.ec == std::errc() && result.ptr == pEnd;
}

struct Prefix
{
    const char* pszText;
    bool bNumber;
};
constexpr Prefix kPrefixes[] = {{"#", true}, {"inst:", true}, {"path:", false}, {"port:", false}};

} // namespace

CSelector::CSelector(const char* pszOption, const std::string& strText)
{
    for (const Prefix& prefix : kPrefixes) {
        const std::string strPrefix = prefix.pszText;
        if (strText.rfind(strPrefix, 0) != 0)
            continue;
        m_eKind = static_cast<Kind>(&prefix - kPrefixes);
        m_strText = strText.substr(strPrefix.size());
        const bool bNone = m_eKind == Kind::Number && m_strText == "0";
        if (prefix.bNumber ? ParseWhole(m_strText, m_n) && !bNone : !m_strText.empty())
            return;
    }
    throw CToolError(ExitCode::Usage,
                     std::string(pszOption) + " \"" + Printable(strText) + "\" is no selector",
                     "Use '#2' (number in the list), inst:NUMBER, path:LOCATION or port:1.3.");
}

bool CSelector::Names(size_t nNumber, DWORD dwInstance, const std::string& strLocation,
                      const std::string& strPort) const
{
    switch (m_eKind) {
    case Kind::Number:
        return nNumber == m_n;
    case Kind::Instance:
        return dwInstance == m_n;
    case Kind::Path:
        return strLocation == m_strText;
    case Kind::Port:
        return strPort == m_strText;
    }
    return false;
}
