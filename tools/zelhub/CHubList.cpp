#include "tools/zelhub/CHubList.h"

#include "find/CDevProperty.h"
#include "tools/zelhub/CImageFile.h"
#include "tools/zelhub/Failure.h"
#include "tools/zelhub/HostSystem.h"
#include "tools/zelhub/HubOnBus.h"
#include "tools/zelhub/HubProbe.h"

#include <algorithm>
#include <charconv>

namespace
{

/// Orders places as people count: 1.3 before 1.10.
std::vector<unsigned long> Numbers(const std::string& strText)
{
    std::vector<unsigned long> numbers;
    const char* p = strText.data();
    const char* const pEnd = p + strText.size();
    while (p != pEnd) {
        unsigned long n = 0;
        const std::from_chars_result result = std::from_chars(p, pEnd, n);
        if (result.ec == std::errc::invalid_argument) {
            ++p;
            continue;
        }
        numbers.push_back(n);
        p = result.ptr;
    }
    return numbers;
}

bool Before(const HubRow& a, const HubRow& b)
{
    const size_t nA = a.strLocation.find("#USBROOT");
    const size_t nB = b.strLocation.find("#USBROOT");
    const std::string strA = a.strLocation.substr(0, nA);
    const std::string strB = b.strLocation.substr(0, nB);
    if (strA != strB)
        return strA < strB;
    const auto portsA = Numbers(a.strPort);
    const auto portsB = Numbers(b.strPort);
    return portsA != portsB ? portsA < portsB : a.dwInstance < b.dwInstance;
}

std::string KindText(const HubRow& row)
{
    switch (row.eKind) {
    case HubKind::Own:
        return "hub";
    case HubKind::SuperSpeedHalf:
        return "SuperSpeed half";
    case HubKind::Foreign:
        return "not the maker's";
    case HubKind::Unknown:
        break;
    }
    return "cannot be known: " + row.strReason;
}

const char* KindKey(HubKind eKind)
{
    constexpr const char* kKeys[] = {"own", "superspeed-half", "foreign", "unknown"};
    return kKeys[static_cast<int>(eKind)];
}

Cell Optional(const std::string& strText)
{
    return strText.empty() ? Cell::None() : Cell(Printable(strText));
}

bool ParseWhole(const std::string& strText, unsigned long& n)
{
    const bool bHex = strText.rfind("0x", 0) == 0;
    const char* const pFrom = strText.data() + (bHex ? 2 : 0);
    const char* const pEnd = strText.data() + strText.size();
    const std::from_chars_result result = std::from_chars(pFrom, pEnd, n, bHex ? 16 : 10);
    return pFrom != pEnd && result.ec == std::errc() && result.ptr == pEnd;
}

[[noreturn]] void RefuseSelector(const std::string& strSelector)
{
    throw CToolError(ExitCode::Usage, "--hub \"" + Printable(strSelector) + "\" is no selector",
                     "Use '#2' (number in the list), inst:NUMBER, path:LOCATION or port:1.3.");
}

void CheckKind(const HubRow& row)
{
    const std::string strPlace = " at " + Printable(row.strLocation);
    switch (row.eKind) {
    case HubKind::Own:
        return;
    case HubKind::SuperSpeedHalf:
        throw CToolError(ExitCode::NoDevice, "this is the SuperSpeed half of a hub" + strPlace,
                         "Name its USB 2 half; zelhub list shows both.");
    case HubKind::Foreign:
        throw CToolError(ExitCode::NoDevice, "the hub" + strPlace + " is not one of the maker's",
                         "Choose one that zelhub list shows as \"hub\".");
    case HubKind::Unknown:
        throw CToolError(ExitCode::NoAccess,
                         "the hub" + strPlace + " cannot be asked who made it: " + row.strReason,
                         row.bNoRight ? HostSystem::RightToOpenHint()
                                      : "Close other programs that use it, or plug it in again.");
    }
}

} // namespace

std::string Narrow(const WCHAR* pszText)
{
    std::string strText;
    for (; *pszText != 0; ++pszText)
        strText += *pszText < 0x7F ? static_cast<char>(*pszText) : '?';
    return strText;
}

std::string LocationOf(DWORD dwInstance)
{
    const WString strPaths = CDevProperty::GetObj()->GetLocationPath(dwInstance);
    return Narrow(strPaths.c_str());
}

std::string PortChain(const std::string& strLocation)
{
    constexpr const char* kStep = "#USB(";
    std::string strChain;
    for (size_t n = strLocation.find(kStep); n != std::string::npos;
         n = strLocation.find(kStep, n + 1)) {
        const size_t nFrom = n + 5;
        const size_t nTo = strLocation.find(')', nFrom);
        strChain += (strChain.empty() ? "" : ".") + strLocation.substr(nFrom, nTo - nFrom);
    }
    return strChain;
}

CHubList CHubList::Make(CToolResponder& responder, bool bDetails)
{
    CHubList list;
    list.m_bDetails = bDetails;
    for (const DWORD dwInstance : PresentHubs()) {
        HubRow row;
        row.dwInstance = dwInstance;
        row.strLocation = LocationOf(dwInstance);
        row.strPort = PortChain(row.strLocation);
        HubProbe::Identify(row, responder);
        if (bDetails && row.eKind == HubKind::Own)
            HubProbe::AskOwn(row);
        list.m_rows.push_back(row);
    }
    std::sort(list.m_rows.begin(), list.m_rows.end(), Before);
    return list;
}

bool CHubList::SomeMayNotBeOpened() const
{
    return std::any_of(m_rows.begin(), m_rows.end(),
                       [](const HubRow& row) { return row.bNoRight; });
}

Table CHubList::AsTable() const
{
    Table table;
    table.columns = {{"index", "#"},
                     {"instance", "Instance"},
                     {"port", "Port"},
                     {"ids", "ID"},
                     {"kind", "Kind"},
                     {"code", m_bDetails ? "Code" : ""},
                     {"version", m_bDetails ? "Version" : ""},
                     {"location", "Location"},
                     {"reason", ""},
                     {"cure", ""}};
    table.pszEmpty = "no hubs found";
    long long nIndex = 0;
    for (const HubRow& row : m_rows) {
        ++nIndex;
        const bool bVersion = row.bStatusKnown && row.bRunsFlash;
        table.rows.push_back(
            {Cell("#" + std::to_string(nIndex), nIndex), Cell::Number(row.dwInstance),
             Optional(row.strPort), Optional(row.strIds), Cell(KindText(row), KindKey(row.eKind)),
             row.bStatusKnown ? CodeCell(row.bRunsFlash) : Cell::None(),
             bVersion ? Cell(VersionText(row.wVersion)) : Cell::None(), Optional(row.strLocation),
             row.strReason.empty() ? Cell::None("") : Cell("", Printable(row.strReason)),
             row.bNoRight ? Cell("", HostSystem::RightToOpenHint()) : Cell::None("")});
    }
    return table;
}

std::vector<const HubRow*> CHubList::Candidates(const std::string& strSelector) const
{
    std::vector<const HubRow*> rows;
    const auto collect = [&](const auto& matches) {
        for (const HubRow& row : m_rows)
            if (matches(row))
                rows.push_back(&row);
    };
    unsigned long n = 0;
    if (strSelector.empty()) {
        collect([](const HubRow& row) { return row.eKind == HubKind::Own; });
    } else if (strSelector[0] == '#') {
        if (!ParseWhole(strSelector.substr(1), n) || n == 0)
            RefuseSelector(strSelector);
        if (n <= m_rows.size())
            rows.push_back(&m_rows[n - 1]);
    } else if (strSelector.rfind("inst:", 0) == 0) {
        if (!ParseWhole(strSelector.substr(5), n))
            RefuseSelector(strSelector);
        collect([&](const HubRow& row) { return row.dwInstance == n; });
    } else if (strSelector.rfind("path:", 0) == 0 && strSelector.size() > 5) {
        collect([&](const HubRow& row) { return row.strLocation == strSelector.substr(5); });
    } else if (strSelector.rfind("port:", 0) == 0 && strSelector.size() > 5) {
        collect([&](const HubRow& row) { return row.strPort == strSelector.substr(5); });
    } else {
        RefuseSelector(strSelector);
    }
    return rows;
}

const HubRow& CHubList::Select(const std::string& strSelector, COutput& output) const
{
    const std::vector<const HubRow*> rows = Candidates(strSelector);
    if (rows.size() == 1) {
        CheckKind(*rows.front());
        return *rows.front();
    }
    output.Show("hubs", AsTable());
    if (!rows.empty())
        throw CToolError(ExitCode::Usage,
                         strSelector.empty()
                             ? std::to_string(rows.size()) + " hubs are here and none was chosen"
                             : "--hub " + Printable(strSelector) + " names " +
                                   std::to_string(rows.size()) + " hubs",
                         "Choose one with --hub '#N' (or inst:, path:, port:) from the list.");
    if (!strSelector.empty())
        throw CToolError(ExitCode::NoDevice, "there is no hub " + Printable(strSelector),
                         "Choose one from the list, or check that it is plugged in.");
    const auto unknown = [](const HubRow& row) { return row.eKind == HubKind::Unknown; };
    const auto it = std::find_if(m_rows.begin(), m_rows.end(), unknown);
    if (it != m_rows.end())
        CheckKind(*it);
    throw CToolError(ExitCode::NoDevice, "no hub of the maker's is here",
                     "Check that it is plugged in; zelhub list shows what is seen.");
}
