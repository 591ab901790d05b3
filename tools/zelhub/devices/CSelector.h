#pragma once

#include "platform/Types.h"
#include "tools/zelhub/output/COutput.h"

#include <string>
#include <vector>

/// How a user names a device of a list: "#2" (its number there), "inst:13", "path:LOCATION" or
/// "port:1.3".
class CSelector
{
public:
    /// Throws CToolError (usage) where the text is none. @param pszOption for that message
    CSelector(const char* pszOption, const std::string& strText);

    /// @param nNumber the row's number in the list, from 1
    bool Names(size_t nNumber, DWORD dwInstance, const std::string& strLocation,
               const std::string& strPort) const;

private:
    enum class Kind
    {
        Number,
        Instance,
        Path,
        Port
    };

    Kind m_eKind = Kind::Number;
    unsigned long m_n = 0;
    std::string m_strText;
};

/// The row of a list that a selector names ("" for the only one that is the maker's). Throws
/// CToolError: unknown, ambiguous, not the maker's; the list is shown where it helps.
///
/// A list gives Rows() (with dwInstance, strLocation, strPort), AsTable(), kKey, kNoun, kOption,
/// kCommand, IsOwn(row), IsUnknown(row), and CheckKind(row), which throws for what is not Own.
template<typename List>
const auto& SelectRow(const List& list, const std::string& strSelector, COutput& output)
{
    const auto& rows = list.Rows();
    std::vector<const typename List::Row*> found;
    for (const auto& row : rows) {
        const auto nNumber = static_cast<size_t>(&row - rows.data()) + 1;
        if (strSelector.empty() ? List::IsOwn(row)
                                : CSelector(List::kOption, strSelector)
                                      .Names(nNumber, row.dwInstance, row.strLocation, row.strPort))
            found.push_back(&row);
    }
    if (rows.empty() && !strSelector.empty())
        (void)CSelector(List::kOption, strSelector); // one that is none is refused all the same
    const std::string strNoun = List::kNoun;
    const std::string strOption = List::kOption;
    if (found.size() == 1) {
        List::CheckKind(*found.front());
        return *found.front();
    }
    output.Show(List::kKey, list.AsTable());
    const std::string strCount = std::to_string(found.size()) + " " + strNoun + "s";
    const std::string strNamed = Printable(strSelector);
    if (!found.empty())
        throw CToolError(ExitCode::Usage,
                         strSelector.empty() ? strCount + " are here and none was chosen"
                                             : strOption + " " + strNamed + " names " + strCount,
                         "Choose one with " + strOption +
                             " '#N' (or inst:, path:, port:) from the list.");
    if (!strSelector.empty())
        throw CToolError(ExitCode::NoDevice, "there is no " + strNoun + " " + strNamed,
                         "Choose one from the list, or check that it is plugged in.");
    for (const auto& row : rows)
        if (List::IsUnknown(row))
            List::CheckKind(row);
    throw CToolError(ExitCode::NoDevice, "no " + strNoun + " of the maker's is here",
                     std::string("Check that it is plugged in; ") + List::kCommand +
                         " shows what is seen.");
}
