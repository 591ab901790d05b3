#include "tools/zelhub/context/CArguments.h"

#include "tools/zelhub/output/COutput.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

namespace
{

/// A whole number, decimal or 0x..., within limits. @return empty, or what is wrong
std::string ParseNumber(const std::string& strText, CArguments::Value nMin, CArguments::Value nMax,
                        CArguments::Value& n)
{
    const bool bHex = strText.rfind("0x", 0) == 0 || strText.rfind("0X", 0) == 0;
    const char* const pFrom = strText.data() + (bHex ? 2 : 0);
    const char* const pEnd = strText.data() + strText.size();
    const std::from_chars_result result = std::from_chars(pFrom, pEnd, n, bHex ? 16 : 10);
    if (pFrom == pEnd || result.ec != std::errc() || result.ptr != pEnd)
        return "\"" + strText + "\" is no whole number (12 or 0x0C)";
    const auto limit = [bHex](CArguments::Value nLimit) {
        return bHex ? Hex(nLimit, 2) : std::to_string(nLimit);
    };
    if (n < nMin || n > nMax)
        return strText + " is not from " + limit(nMin) + " to " + limit(nMax);
    return {};
}

} // namespace

CArguments CArguments::Sub(const char* pszName, const char* pszHelp, const char* pszMore)
{
    if (!m_bNamed)
        return *this;
    CLI::App* const pSub = m_pApp->add_subcommand(pszName, pszHelp);
    pSub->fallthrough(); // options of the tool may stand behind the command as well
    pSub->footer(pszMore);
    if (m_pApp->get_parent() != nullptr)
        m_pApp->require_subcommand(1);
    CArguments sub(*pSub, m_pWords);
    sub.m_bNamed = m_pWords == nullptr ||
                   std::find(m_pWords->begin(), m_pWords->end(), pszName) != m_pWords->end();
    return sub;
}

void CArguments::Text(const char* pszName, std::string& strValue, const char* pszHelp,
                      bool bRequired)
{
    if (m_bNamed)
        m_pApp->add_option(pszName, strValue, pszHelp)->required(bRequired);
}

void CArguments::Number(const char* pszName, Value& nValue, Value nMin, Value nMax,
                        const char* pszHelp, bool bRequired)
{
    if (!m_bNamed)
        return;
    const auto take = [&nValue, nMin, nMax, pszName](const CLI::results_t& results) {
        const std::string strWhy = ParseNumber(results.front(), nMin, nMax, nValue);
        if (!strWhy.empty())
            throw CLI::ValidationError(pszName, strWhy);
        return true;
    };
    m_pApp->add_option(pszName, take, pszHelp)->required(bRequired)->type_name("N");
}

void CArguments::Flag(const char* pszName, bool& bValue, const char* pszHelp)
{
    if (m_bNamed)
        m_pApp->add_flag(pszName, bValue, pszHelp);
}

void CArguments::Choice(const char* pszName, std::string& strValue,
                        const std::vector<std::string>& choices, const char* pszHelp)
{
    if (m_bNamed)
        m_pApp->add_option(pszName, strValue, pszHelp)->check(CLI::IsMember(choices));
}

bool CArguments::Chosen() const
{
    return m_pApp->parsed();
}
