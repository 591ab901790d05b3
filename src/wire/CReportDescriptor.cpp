#include "wire/CReportDescriptor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>

namespace
{
// Short items by prefix without its size bits (Device Class Definition for HID, 6.2.2).
constexpr BYTE kItemInput = 0x80;
constexpr BYTE kItemOutput = 0x90;
constexpr BYTE kItemFeature = 0xB0;
constexpr BYTE kItemCollection = 0xA0;
constexpr BYTE kItemEndCollection = 0xC0;
constexpr BYTE kItemUsagePage = 0x04;
constexpr BYTE kItemReportSize = 0x74;
constexpr BYTE kItemReportId = 0x84;
constexpr BYTE kItemReportCount = 0x94;
constexpr BYTE kItemUsage = 0x08;
constexpr BYTE kLongItem = 0xFE;

struct Item
{
    BYTE byTag;
    DWORD dwValue;
    std::size_t cbValue;
};

std::optional<Item> NextItem(const std::vector<BYTE>& report, std::size_t& at)
{
    const BYTE byPrefix = report[at];
    if (byPrefix == kLongItem) {
        if (report.size() - at < 3 || report.size() - at - 3 < report[at + 1])
            return std::nullopt;
        at += 3u + report[at + 1];
        return Item{kLongItem, 0, 0};
    }
    const std::size_t cb = (byPrefix & 3) == 3 ? 4 : byPrefix & 3;
    if (report.size() - at - 1 < cb)
        return std::nullopt;
    Item item{static_cast<BYTE>(byPrefix & ~3), 0, cb};
    for (std::size_t i = 0; i < cb; ++i)
        item.dwValue |= static_cast<DWORD>(report[at + 1 + i]) << (8 * i);
    at += 1 + cb;
    return item;
}

/// What has been gathered on the way through the items.
class CReportReader
{
public:
    /// @return false when the descriptor is malformed
    bool Take(const Item& item)
    {
        switch (item.byTag) {
        case kItemUsagePage:
            m_dwPage = item.dwValue;
            return true;
        case kItemUsage:
            m_dwUsage = item.cbValue == 4 ? item.dwValue : m_dwPage << 16 | item.dwValue;
            return true;
        case kItemReportSize:
            m_cBits = item.dwValue;
            return true;
        case kItemReportCount:
            m_nCount = item.dwValue;
            return true;
        case kItemReportId:
            m_byReportId = static_cast<BYTE>(item.dwValue & 0xFF);
            return m_byReportId != 0;
        case kItemCollection:
            Open();
            return true;
        case kItemEndCollection:
            return Close();
        case kItemInput:
            return Field(0);
        case kItemOutput:
            return Field(1);
        case kItemFeature:
            return Field(2);
        default:
            return true;
        }
    }

    /// Of each top-level collection; none when one is still open.
    std::vector<HID_CAPS> Result() const
    {
        std::vector<HID_CAPS> all;
        for (const Collection& collection : m_collections) {
            HID_CAPS caps{};
            caps.UsagePage = static_cast<USHORT>(collection.dwUsage >> 16);
            caps.Usage = static_cast<USHORT>(collection.dwUsage & 0xFFFF);
            caps.InputReportByteLength = Length(collection.bits[0]);
            caps.OutputReportByteLength = Length(collection.bits[1]);
            caps.FeatureReportByteLength = Length(collection.bits[2]);
            all.push_back(caps);
        }
        return m_nDepth == 0 ? all : std::vector<HID_CAPS>();
    }

private:
    using BitsById = std::map<BYTE, std::uint64_t>;

    struct Collection
    {
        DWORD dwUsage;
        std::array<BitsById, 3> bits; ///< input, output, feature
    };

    void Open()
    {
        if (m_nDepth++ == 0)
            m_collections.push_back({m_dwUsage, {}});
        m_dwUsage = 0;
    }

    bool Close()
    {
        m_dwUsage = 0;
        return m_nDepth != 0 && m_nDepth-- != 0;
    }

    bool Field(std::size_t nKind)
    {
        m_dwUsage = 0;
        const std::uint64_t cBits = std::uint64_t{m_cBits} * m_nCount;
        if (m_nDepth == 0 || cBits > 0x8000)
            return false;
        std::uint64_t& cReport = m_collections.back().bits[nKind][m_byReportId];
        cReport += cBits;
        return cReport <= 0x70000;
    }

    /// The longest report of a kind, with the byte that its ID has or would have.
    static USHORT Length(const BitsById& bits)
    {
        std::uint64_t cBits = 0;
        for (const auto& [byId, cReport] : bits)
            cBits = std::max(cBits, cReport);
        return cBits == 0 ? USHORT{0} : static_cast<USHORT>((cBits + 7) / 8 + 1);
    }

    DWORD m_dwPage = 0;
    DWORD m_dwUsage = 0;
    DWORD m_cBits = 0;
    DWORD m_nCount = 0;
    BYTE m_byReportId = 0;
    unsigned m_nDepth = 0;
    std::vector<Collection> m_collections;
};

} // namespace

std::vector<HID_CAPS> CReportDescriptor::Collections(const std::vector<BYTE>& report)
{
    CReportReader reader;
    std::size_t at = 0;
    while (at < report.size()) {
        const auto item = NextItem(report, at);
        if (!item || !reader.Take(*item))
            return {};
    }
    return reader.Result();
}
