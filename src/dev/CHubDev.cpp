#include "dev/CHubDev.h"

namespace
{
// Where a hub image carries its versions; every value is 16 bits, high byte first.
constexpr std::size_t kVersionAt = 0x7EF9; ///< the version that a running hub reports
constexpr std::size_t kChipIdAt = 0x7EFB;
constexpr USHORT kChip6551 = 0x6551;
constexpr USHORT kChip6560 = 0x6560;
constexpr std::size_t kVersion6551At = 0x7F52;
constexpr std::size_t kVersion6560At = 0x7F6E;
constexpr std::size_t kVersionElseAt = 0x7F5E;

/// @return false with wValue unchanged when the image ends before the field does
bool ReadField(const std::vector<BYTE>& vImage, std::size_t at, USHORT& wValue)
{
    if (vImage.size() < at + 2)
        return false;
    wValue = static_cast<USHORT>(vImage[at] << 8 | vImage[at + 1]);
    return true;
}

std::size_t OtherVersionAt(USHORT wChipId)
{
    switch (wChipId) {
    case kChip6551:
        return kVersion6551At;
    case kChip6560:
        return kVersion6560At;
    default:
        return kVersionElseAt;
    }
}
} // namespace

bool CHubDev::DevReadBINVersion(USHORT& wVersion, int nWhich)
{
    if (nWhich == 1)
        return ReadField(m_vFwBuf, kVersionAt, wVersion);
    USHORT wChipId = 0;
    return ReadField(m_vFwBuf, kChipIdAt, wChipId) &&
           ReadField(m_vFwBuf, OtherVersionAt(wChipId), wVersion);
}
