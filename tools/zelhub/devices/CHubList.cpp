#include "tools/zelhub/devices/CHubList.h"

#include "find/CDevProperty.h"
#include "tools/zelhub/devices/CSelector.h"
#include "tools/zelhub/devices/HubOnBus.h"
#include "tools/zelhub/devices/HubProbe.h"
#include "tools/zelhub/input/CImageFile.h"
#include "tools/zelhub/output/Failure.h"
#include "tools/zelhub/system/HostSystem.h"

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

} // namespace

void CHubList::CheckKind(const HubRow& row)
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

bool IsPlaceBefore(const std::string& strA, const std::string& strB)
{
    const std::string strRootA = strA.substr(0, strA.find("#USBROOT"));
    const std::string strRootB = strB.substr(0, strB.find("#USBROOT"));
    if (strRootA != strRootB)
        return strRootA < strRootB;
    return Numbers(PortChain(strA)) < Numbers(PortChain(strB));
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
    std::sort(list.m_rows.begin(), list.m_rows.end(), [](const HubRow& a, const HubRow& b) {
        return IsPlaceBefore(a.strLocation, b.strLocation) ||
               (a.strLocation == b.strLocation && a.dwInstance < b.dwInstance);
    });
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
             Cell::Optional(row.strPort), Cell::Optional(row.strIds),
             Cell(KindText(row), KindKey(row.eKind)),
             row.bStatusKnown ? CodeCell(row.bRunsFlash) : Cell::None(),
             bVersion ? Cell(VersionText(row.wVersion)) : Cell::None(),
             Cell::Optional(row.strLocation),
             row.strReason.empty() ? Cell::None("") : Cell("", Printable(row.strReason)),
             row.bNoRight ? Cell("", HostSystem::RightToOpenHint()) : Cell::None("")});
    }
    return table;
}

const HubRow& CHubList::Select(const std::string& strSelector, COutput& output) const
{
    return SelectRow(*this, strSelector, output);
}
