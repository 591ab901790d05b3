#pragma once

#include "platform/Types.h"
#include "tools/zelhub/context/CToolResponder.h"
#include "tools/zelhub/devices/CSelector.h"
#include "tools/zelhub/devices/PdStatus.h"

#include <optional>

enum class BillboardKind
{
    Own,     ///< it answers like one of the maker's
    Silent,  ///< it opens, but does not answer a status
    Closed,  ///< it does not open
    Renamed, ///< its description says more than "billboard device": not asked
};

struct BillboardRow
{
    BillboardKind eKind = BillboardKind::Renamed;
    DWORD dwInstance = 0;
    std::string strLocation; ///< its first location path
    std::string strPort;     ///< "1.3": ports from the root hub on
    std::string strIds;      ///< "5678:BB01"; empty: unknown
    std::string strDescription;
    std::string strReason;          ///< why it is not known or not reached
    std::optional<PdStatus> status; ///< of the maker's
};

/// The billboard devices on the machine, in the order of their places. No device is open.
class CBillboardList
{
public:
    /// Finds them by their descriptions and asks those that the library takes for billboard
    /// devices. Throws CToolError where the system's list cannot be read.
    static CBillboardList Make(CToolResponder& responder);

    const std::vector<BillboardRow>& Rows() const { return m_rows; }
    Table AsTable() const;

    // What a selection needs to know.
    using Row = BillboardRow;
    static constexpr const char* kKey = "billboards";
    static constexpr const char* kNoun = "billboard device";
    static constexpr const char* kOption = "--device";
    static constexpr const char* kCommand = "zelhub billboard list";
    static bool IsOwn(const BillboardRow& row) { return row.eKind == BillboardKind::Own; }
    static bool IsUnknown(const BillboardRow& row) { return row.eKind == BillboardKind::Closed; }
    static void CheckKind(const BillboardRow& row);

private:
    std::vector<BillboardRow> m_rows;
};

/// The USB device at a place now; 0: there is none.
DWORD UsbDeviceAt(const std::string& strLocation);

/// The part of a hardware ID that holds "5678:BB01": "VID_5678&PID_BB01".
std::string HardwareIdOf(const std::string& strIds);
