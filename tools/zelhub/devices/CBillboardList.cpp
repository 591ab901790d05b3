#include "tools/zelhub/devices/CBillboardList.h"

#include "cmd/CRequestCMD.h"
#include "platform/IDeviceTree.h"
#include "tools/zelhub/devices/CHubList.h"
#include "tools/zelhub/devices/NodesOnBus.h"
#include "tools/zelhub/input/CImageFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>

namespace
{

constexpr const char* kBillboard = "billboard device"; ///< what the library looks for
constexpr BYTE kPattern = 0xA5;

/// What the library reports of a USB device while it searches for a billboard device by IDs: a
/// host learns of descriptions nowhere else.
struct Heard
{
    std::string strDescription; ///< empty: it cannot be read
    std::string strHardwareId;  ///< only of what is described as a billboard device
};

/// The text behind a mark; nothing: another line.
std::optional<std::string> After(const std::string& strLine, const char* pszMark)
{
    const size_t n = strLine.find(pszMark);
    if (n == std::string::npos)
        return std::nullopt;
    return strLine.substr(n + std::strlen(pszMark));
}

/// Lets the library search in vain. @return all USB devices, in the system's order
std::vector<Heard> Search(CToolResponder& responder)
{
    constexpr DWORD kNobody = 0xFFFFFFFF; // eight digits are in no hardware ID
    std::vector<Heard> heard;
    responder.OnLine([&](const std::string& strLine) {
        if (const auto text = After(strLine, "Deivce Desc is "))
            heard.push_back({*text, {}});
        else if (After(strLine, "Get DeviceDESC FAIL"))
            heard.emplace_back();
        else if (const auto id = After(strLine, "Deivce HwId is "); id && !heard.empty())
            heard.back().strHardwareId = *id;
    });
    (void)CRequestCMD::GetRequestObj()->KyBBPD_OpenBillBoardDevice(kNobody, kNobody);
    (void)CRequestCMD::GetRequestObj()->KyBBPD_CloseBillBoardDevice();
    responder.OnLine({});
    responder.ForgetFailure();
    return heard;
}

std::string Lower(std::string strText)
{
    for (char& ch : strText)
        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return strText;
}

/// "USB\VID_5678&PID_BB01&REV_0100" as "5678:BB01"; empty: it has no such form.
std::string IdsOf(const std::string& strHardwareId)
{
    constexpr size_t kDigits = 4;
    std::string strIds;
    for (const char* const pszMark : {"VID_", "PID_"}) {
        const size_t n = strHardwareId.find(pszMark);
        if (n == std::string::npos || n + 2 * kDigits > strHardwareId.size())
            return {};
        strIds += (strIds.empty() ? "" : ":") + strHardwareId.substr(n + kDigits, kDigits);
    }
    return strIds;
}

/// Opens a device for as long as it lives.
class COpenBillboard
{
public:
    explicit COpenBillboard(DWORD dwInstance)
        : m_bOpen(CRequestCMD::GetRequestObj()->KyBBPD_OpenBillBoardDevice(dwInstance) != 0)
    {}
    COpenBillboard(const COpenBillboard&) = delete;
    COpenBillboard& operator=(const COpenBillboard&) = delete;
    ~COpenBillboard() { (void)CRequestCMD::GetRequestObj()->KyBBPD_CloseBillBoardDevice(); }

    bool IsOpen() const { return m_bOpen; }

private:
    bool m_bOpen;
};

void Ask(BillboardRow& row)
{
    PdStatus status; // outlives the connection: a late transfer may still write to it
    status.bytes.fill(kPattern);
    const COpenBillboard device(row.dwInstance);
    if (!device.IsOpen()) {
        row.eKind = BillboardKind::Closed;
        row.strReason = "it cannot be opened";
        return;
    }
    const auto cb = static_cast<DWORD>(status.bytes.size());
    const bool bRead =
        CRequestCMD::GetRequestObj()->KyBBPD_GetICStatus(status.bytes.data(), cb) != 0 &&
        !std::all_of(status.bytes.begin(), status.bytes.end(),
                     [](BYTE by) { return by == kPattern; });
    row.eKind = bRead ? BillboardKind::Own : BillboardKind::Silent;
    if (bRead)
        row.status = status;
    else
        row.strReason = "it does not answer a status";
}

std::vector<BillboardRow> Candidates(const std::vector<DWORD>& nodes,
                                     const std::vector<Heard>& heard)
{
    std::vector<BillboardRow> rows;
    for (size_t i = 0; i < nodes.size(); ++i) {
        const std::string strLower = Lower(heard[i].strDescription);
        if (strLower.find("billboard") == std::string::npos)
            continue;
        BillboardRow row;
        row.dwInstance = nodes[i];
        row.strLocation = LocationOf(row.dwInstance);
        row.strPort = PortChain(row.strLocation);
        row.strDescription = heard[i].strDescription;
        row.strIds = IdsOf(heard[i].strHardwareId);
        if (strLower == kBillboard)
            Ask(row);
        else
            row.strReason = "it is not described as a \"Billboard Device\" alone";
        rows.push_back(row);
    }
    return rows;
}

} // namespace

DWORD UsbDeviceAt(const std::string& strLocation)
{
    const std::vector<DWORD> nodes = NodesOf(kGuidUsbDevice);
    const auto it = std::find_if(nodes.begin(), nodes.end(), [&](DWORD dwInstance) {
        return LocationOf(dwInstance) == strLocation;
    });
    return it == nodes.end() ? 0 : *it;
}

std::string HardwareIdOf(const std::string& strIds)
{
    const size_t n = strIds.find(':');
    return "VID_" + strIds.substr(0, n) + "&PID_" + strIds.substr(n + 1);
}

CBillboardList CBillboardList::Make(CToolResponder& responder)
{
    constexpr int kAttempts = 3;
    for (int i = 0; i < kAttempts; ++i) {
        const std::vector<Heard> heard = Search(responder);
        const std::vector<DWORD> nodes = NodesOf(kGuidUsbDevice);
        if (nodes.size() != heard.size())
            continue; // something came or went between the two
        CBillboardList list;
        list.m_rows = Candidates(nodes, heard);
        std::sort(list.m_rows.begin(), list.m_rows.end(),
                  [](const BillboardRow& a, const BillboardRow& b) {
                      return IsPlaceBefore(a.strLocation, b.strLocation);
                  });
        return list;
    }
    throw CToolError(ExitCode::General,
                     "the USB devices cannot be listed: they change all the time",
                     "Type this again when nothing is being plugged in.");
}

Table CBillboardList::AsTable() const
{
    constexpr const char* kKinds[] = {"billboard", "silent", "closed", "renamed"};
    Table table;
    table.columns = {{"index", "#"},
                     {"instance", "Instance"},
                     {"port", "Port"},
                     {"ids", "ID"},
                     {"kind", "Kind"},
                     {"code", "Code"},
                     {"version", "Version"},
                     {"bank", "Bank"},
                     {"location", "Location"},
                     {"description", "Description"},
                     {"reason", ""}};
    table.pszEmpty = "no billboard devices found";
    long long nIndex = 0;
    for (const BillboardRow& row : m_rows) {
        ++nIndex;
        const bool bFlash = row.status && row.status->RunsFlash();
        const char* const pszKind = kKinds[static_cast<int>(row.eKind)];
        table.rows.push_back(
            {Cell("#" + std::to_string(nIndex), nIndex), Cell::Number(row.dwInstance),
             Cell::Optional(row.strPort), Cell::Optional(row.strIds),
             Cell(row.strReason.empty() ? pszKind : "cannot be used: " + row.strReason, pszKind),
             row.status ? CodeCell(bFlash) : Cell::None(),
             bFlash ? Cell(VersionText(row.status->Version())) : Cell::None(),
             bFlash ? Cell::Number(row.status->RunningBank()) : Cell::None(),
             Cell::Optional(row.strLocation), Cell::Optional(row.strDescription),
             row.strReason.empty() ? Cell::None("") : Cell("", Printable(row.strReason))});
    }
    return table;
}

void CBillboardList::CheckKind(const BillboardRow& row)
{
    const std::string strPlace = "the billboard device at " + Printable(row.strLocation);
    switch (row.eKind) {
    case BillboardKind::Own:
        return;
    case BillboardKind::Renamed:
        throw CToolError(ExitCode::NoDevice,
                         strPlace + " is described as \"" + Printable(row.strDescription) +
                             "\", which the library takes for none of the maker's",
                         "Choose one that zelhub billboard list shows as \"billboard\".");
    case BillboardKind::Silent:
        throw CToolError(ExitCode::NoDevice, strPlace + " does not answer like one of the maker's",
                         "Plug it in again; if that does not help, it is somebody else's.");
    case BillboardKind::Closed:
        throw CToolError(ExitCode::NoAccess, strPlace + " cannot be opened",
                         "It needs WinUSB as its driver (Windows) or the right to open USB "
                         "devices (Linux: as root, or with a udev rule), and no other program "
                         "that uses it.");
    }
}
