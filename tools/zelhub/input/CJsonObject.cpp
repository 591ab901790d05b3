#include "tools/zelhub/input/CJsonObject.h"

#include "tools/zelhub/input/JsonPlace.h"
#include "tools/zelhub/output/COutput.h"
#include "tools/zelhub/output/Failure.h"

#include <charconv>

using nlohmann::json;

namespace
{

[[noreturn]] void RefuseAt(const JsonSource& source, TextPlace place, const std::string& strWhy)
{
    throw CToolError(ExitCode::Usage,
                     Printable(source.strName) + ":" + std::to_string(place.nLine) + ":" +
                         std::to_string(place.nColumn) + ": " + strWhy,
                     "Correct the file; docs/bench.md describes it.");
}

std::string ReasonOf(const json::parse_error& error)
{
    // The library's text names the position in its own way; ours goes before it.
    const std::string strText = error.what();
    const size_t n = strText.find(": ");
    return n == std::string::npos ? strText : Printable(strText.substr(n + 2));
}

bool ParseNumber(const std::string& strText, unsigned long long& n)
{
    const bool bHex = strText.rfind("0x", 0) == 0 || strText.rfind("0X", 0) == 0;
    const char* const pFrom = strText.data() + (bHex ? 2 : 0);
    const char* const pTo = strText.data() + strText.size();
    const std::from_chars_result result = std::from_chars(pFrom, pTo, n, bHex ? 16 : 10);
    return pFrom != pTo && result.ec == std::errc() && result.ptr == pTo;
}

} // namespace

void RefuseJson(const JsonSource& source, const std::string& strPointer, const std::string& strWhy)
{
    RefuseAt(source, FindJsonPlace(source.strText, strPointer), strWhy);
}

json ParseJson(const JsonSource& source)
{
    try {
        return json::parse(source.strText);
    } catch (const json::parse_error& error) {
        const size_t nAt = error.byte == 0 ? 0 : error.byte - 1;
        RefuseAt(source, PlaceOf(source.strText, nAt), "not JSON: " + ReasonOf(error));
    } catch (const json::exception& error) {
        RefuseAt(source, TextPlace(), std::string("not JSON: ") + error.what());
    }
}

CJsonObject::CJsonObject(const JsonSource& source, const json& value, std::string strPointer)
    : m_source(source), m_value(value), m_strPointer(std::move(strPointer))
{
    if (!value.is_object())
        Refuse("has to be an object {...}");
}

unsigned long long CJsonObject::Number(const char* pszKey, unsigned long long nMin,
                                       unsigned long long nMax, unsigned long long nDefault)
{
    return Has(pszKey) ? Number(pszKey, nMin, nMax) : nDefault;
}

unsigned long long CJsonObject::Number(const char* pszKey, unsigned long long nMin,
                                       unsigned long long nMax)
{
    const json* const pValue = Take(pszKey);
    if (pValue == nullptr)
        Refuse(std::string("\"") + pszKey + "\" is missing");
    unsigned long long n = 0;
    const bool bGood = pValue->is_number_unsigned() ||
                       (pValue->is_string() && ParseNumber(pValue->get<std::string>(), n));
    if (!bGood)
        Refuse(pszKey, "has to be a whole number, such as 12 or \"0x0C\"");
    if (pValue->is_number_unsigned())
        n = pValue->get<unsigned long long>();
    if (n < nMin || n > nMax)
        Refuse(pszKey, "has to be from " + std::to_string(nMin) + " to " + std::to_string(nMax));
    return n;
}

bool CJsonObject::Flag(const char* pszKey, bool bDefault)
{
    const json* const pValue = Take(pszKey);
    if (pValue == nullptr)
        return bDefault;
    if (!pValue->is_boolean())
        Refuse(pszKey, "has to be true or false");
    return pValue->get<bool>();
}

std::string CJsonObject::Text(const char* pszKey, const std::string& strDefault)
{
    return Has(pszKey) ? Text(pszKey) : strDefault;
}

std::string CJsonObject::Text(const char* pszKey)
{
    const json* const pValue = Take(pszKey);
    if (pValue == nullptr)
        Refuse(std::string("\"") + pszKey + "\" is missing");
    if (!pValue->is_string())
        Refuse(pszKey, "has to be a text");
    return pValue->get<std::string>();
}

std::vector<std::string> CJsonObject::Texts(const char* pszKey)
{
    std::vector<std::string> texts;
    const json* const pValue = Take(pszKey);
    if (pValue == nullptr)
        return texts;
    if (!pValue->is_array())
        Refuse(pszKey, "has to be a list of texts");
    for (const json& value : *pValue) {
        if (!value.is_string())
            Refuse(pszKey, "has to be a list of texts");
        texts.push_back(value.get<std::string>());
    }
    return texts;
}

CJsonObject CJsonObject::Object(const char* pszKey)
{
    const json* const pValue = Take(pszKey);
    if (pValue == nullptr)
        Refuse(std::string("\"") + pszKey + "\" is missing");
    return CJsonObject(m_source, *pValue, PointerOf(pszKey));
}

std::vector<CJsonObject> CJsonObject::Objects(const char* pszKey)
{
    std::vector<CJsonObject> objects;
    const json* const pValue = Take(pszKey);
    if (pValue == nullptr)
        return objects;
    if (!pValue->is_array())
        Refuse(pszKey, "has to be a list [...]");
    for (size_t i = 0; i < pValue->size(); ++i)
        objects.emplace_back(m_source, (*pValue)[i], PointerOf(pszKey) + "/" + std::to_string(i));
    return objects;
}

void CJsonObject::Done() const
{
    for (const auto& item : m_value.items())
        if (m_taken.count(item.key()) == 0)
            Refuse(item.key().c_str(), "unknown field \"" + Printable(item.key()) + "\"");
}

void CJsonObject::Refuse(const std::string& strWhy) const
{
    RefuseJson(m_source, m_strPointer, strWhy);
}

void CJsonObject::Refuse(const char* pszKey, const std::string& strWhy) const
{
    const bool bNamed = strWhy.find('"') == 0 || strWhy.rfind("unknown", 0) == 0;
    RefuseJson(m_source, PointerOf(pszKey),
               bNamed ? strWhy : std::string("\"") + pszKey + "\" " + strWhy);
}

const json* CJsonObject::Take(const char* pszKey)
{
    m_taken.insert(pszKey);
    const auto it = m_value.find(pszKey);
    return it == m_value.end() ? nullptr : &*it;
}
