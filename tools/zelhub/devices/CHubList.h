#pragma once

#include "platform/Types.h"
#include "tools/zelhub/context/CToolResponder.h"
#include "tools/zelhub/output/COutput.h"

#include <string>
#include <vector>

enum class HubKind
{
    Own,            ///< one of the maker's: its USB 2 half
    SuperSpeedHalf, ///< the other half of one of the maker's
    Foreign,        ///< somebody else's
    Unknown         ///< cannot be asked
};

struct HubRow
{
    HubKind eKind = HubKind::Unknown;
    DWORD dwInstance = 0;
    std::string strLocation; ///< its first location path
    std::string strPort;     ///< "1.3": ports from the root hub on; empty: unknown
    std::string strIds;      ///< "5678:1234"; empty: unknown
    std::string strReason;   ///< why it cannot be known
    bool bNoRight = false;   ///< because this user may not open it
    bool bStatusKnown = false;
    bool bRunsFlash = false;
    USHORT wVersion = 0; ///< while flash code runs
};

/// The hubs that are on the machine now, root hubs left out, in the order of their places.
/// The library must be started and no hub be open.
class CHubList
{
public:
    /// Finds them and asks each who it is, with two requests and no more.
    /// @param bDetails asks the maker's also which code they run, and its version
    static CHubList Make(CToolResponder& responder, bool bDetails);

    const std::vector<HubRow>& Rows() const { return m_rows; }
    Table AsTable() const;
    bool SomeMayNotBeOpened() const;

    /// The hub that a selector names ("" for the only one). Throws CToolError: unknown,
    /// ambiguous, not the maker's; the list is shown where it helps.
    const HubRow& Select(const std::string& strSelector, COutput& output) const;

    // What a selection needs to know.
    using Row = HubRow;
    static constexpr const char* kKey = "hubs";
    static constexpr const char* kNoun = "hub";
    static constexpr const char* kOption = "--hub";
    static constexpr const char* kCommand = "zelhub list";
    static bool IsOwn(const HubRow& row) { return row.eKind == HubKind::Own; }
    static bool IsUnknown(const HubRow& row) { return row.eKind == HubKind::Unknown; }
    static void CheckKind(const HubRow& row);

private:
    std::vector<HubRow> m_rows;
    bool m_bDetails = false;
};

/// Orders location paths as people count: port 1.3 before 1.10.
bool IsPlaceBefore(const std::string& strA, const std::string& strB);

/// "1.3" of a location path; empty when it has no ports.
std::string PortChain(const std::string& strLocation);

/// A node's first location path as narrow text.
std::string LocationOf(DWORD dwInstance);

/// ASCII text of wide text; other characters become "?".
std::string Narrow(const WCHAR* pszText);
