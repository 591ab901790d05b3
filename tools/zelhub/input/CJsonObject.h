#pragma once

#include <nlohmann/json.hpp>

#include <set>
#include <string>
#include <vector>

/// A text that is being read as JSON, and its name for complaints.
struct JsonSource
{
    std::string strName;
    std::string strText;
};

/// Complains about a place in a JSON text: throws CToolError (usage) with file, line, column.
[[noreturn]] void RefuseJson(const JsonSource& source, const std::string& strPointer,
                             const std::string& strWhy);

/// Parses a whole text. Throws CToolError (usage) with file, line and column.
nlohmann::json ParseJson(const JsonSource& source);

/// Reads the members of one JSON object strictly: what has the wrong type or lies outside its
/// range is refused where it stands, and so is what nobody asked for.
class CJsonObject
{
public:
    CJsonObject(const JsonSource& source, const nlohmann::json& value, std::string strPointer);

    const std::string& Pointer() const { return m_strPointer; }
    bool Has(const char* pszKey) const { return m_value.contains(pszKey); }

    /// Numbers may be written as 4660 or "0x1234".
    unsigned long long Number(const char* pszKey, unsigned long long nMin, unsigned long long nMax,
                              unsigned long long nDefault);
    unsigned long long Number(const char* pszKey, unsigned long long nMin,
                              unsigned long long nMax); ///< must be there
    bool Flag(const char* pszKey, bool bDefault);
    std::string Text(const char* pszKey, const std::string& strDefault);
    std::string Text(const char* pszKey); ///< must be there
    std::vector<std::string> Texts(const char* pszKey);

    CJsonObject Object(const char* pszKey);               ///< must be there
    std::vector<CJsonObject> Objects(const char* pszKey); ///< none: empty

    /// The entry of a table whose pszName a member holds; other names are refused with all that
    /// there are.
    template<typename Entry>
    const Entry& Named(const char* pszKey, const std::string& strName,
                       const std::vector<Entry>& names) const
    {
        std::string strAll;
        for (const Entry& entry : names) {
            if (strName == entry.pszName)
                return entry;
            strAll += std::string(strAll.empty() ? "" : ", ") + entry.pszName;
        }
        Refuse(pszKey, "has to be one of " + strAll);
    }

    /// Refuses the members that were not asked for.
    void Done() const;

    [[noreturn]] void Refuse(const std::string& strWhy) const;
    [[noreturn]] void Refuse(const char* pszKey, const std::string& strWhy) const;

private:
    const nlohmann::json* Take(const char* pszKey);
    std::string PointerOf(const char* pszKey) const { return m_strPointer + "/" + pszKey; }

    const JsonSource& m_source;
    const nlohmann::json& m_value;
    std::string m_strPointer;
    std::set<std::string> m_taken;
};
