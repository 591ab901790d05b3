#include "sim/models/CSimImage.h"

#include <array>
#include <cstring>

namespace
{

constexpr char kSignature[] = {'V', 'O', 'F', 'W'};

struct OtherVersionPlace
{
    USHORT usChipId;
    DWORD dwAt;
};
constexpr OtherVersionPlace kOtherVersion[] = {{0x6551, 0x7F52}, {0x6560, 0x7F6E}};
constexpr DWORD kOtherVersionElse = 0x7F5E;

constexpr std::array<DWORD, 256> MakeCrcTable()
{
    std::array<DWORD, 256> table{};
    for (DWORD i = 0; i < 256; ++i) {
        DWORD dw = i;
        for (int nBit = 0; nBit < 8; ++nBit)
            dw = (dw & 1) != 0 ? (dw >> 1) ^ 0xEDB88320u : dw >> 1;
        table[i] = dw;
    }
    return table;
}
constexpr std::array<DWORD, 256> kCrcTable = MakeCrcTable();

DWORD Crc(DWORD dwCrc, const BYTE* p, DWORD cb)
{
    for (DWORD i = 0; i < cb; ++i)
        dwCrc = (dwCrc >> 8) ^ kCrcTable[(dwCrc ^ p[i]) & 0xFF];
    return dwCrc;
}

DWORD SealOf(const BYTE* p, DWORD cb)
{
    DWORD dw = Crc(0xFFFFFFFFu, p, CSimImage::kCrcAt);
    dw = Crc(dw, p + CSimImage::kCrcAt + 4, CSimImage::kMarkAt - CSimImage::kCrcAt - 4);
    return ~Crc(dw, p + CSimImage::kMarkAt + 2, cb - CSimImage::kMarkAt - 2);
}

void PutWord(BYTE* p, USHORT us)
{
    p[0] = static_cast<BYTE>(us >> 8);
    p[1] = static_cast<BYTE>(us & 0xFF);
}

void PutDwordLe(BYTE* p, DWORD dw)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<BYTE>(dw >> (8 * i));
}

DWORD DwordLe(const BYTE* p)
{
    return static_cast<DWORD>(p[0]) | static_cast<DWORD>(p[1]) << 8 |
           static_cast<DWORD>(p[2]) << 16 | static_cast<DWORD>(p[3]) << 24;
}

} // namespace

CSimImage& CSimImage::Version(USHORT usVersion)
{
    m_usVersion = usVersion;
    return *this;
}

CSimImage& CSimImage::OtherVersion(USHORT usVersion)
{
    m_usOther = usVersion;
    return *this;
}

CSimImage& CSimImage::ChipId(USHORT usChipId)
{
    m_usChipId = usChipId;
    return *this;
}

CSimImage& CSimImage::Seed(DWORD dwSeed)
{
    m_dwSeed = dwSeed;
    return *this;
}

std::vector<BYTE> CSimImage::Build() const
{
    std::vector<BYTE> image(m_cb);
    DWORD dw = m_dwSeed * 2654435761u + 12345;
    for (BYTE& by : image) {
        dw = dw * 1664525u + 1013904223u;
        by = static_cast<BYTE>(dw >> 24);
    }
    PutWord(&image[kMarkAt], 0xFFFF);
    PutWord(&image[kVersionAt], m_usVersion);
    PutWord(&image[kChipIdAt], m_usChipId);
    PutWord(&image[OtherVersionAt(m_usChipId)], m_usOther);
    Seal(image);
    return image;
}

DWORD CSimImage::OtherVersionAt(USHORT usChipId)
{
    for (const OtherVersionPlace& place : kOtherVersion)
        if (place.usChipId == usChipId)
            return place.dwAt;
    return kOtherVersionElse;
}

void CSimImage::Seal(std::vector<BYTE>& image)
{
    std::memcpy(&image[kSignatureAt], kSignature, sizeof(kSignature));
    PutDwordLe(&image[kLengthAt], static_cast<DWORD>(image.size()));
    PutDwordLe(&image[kCrcAt], SealOf(image.data(), static_cast<DWORD>(image.size())));
}

bool CSimImage::IsComplete(const BYTE* pFlash, DWORD cb, SimImageCheck eCheck)
{
    if (cb < kMinSize)
        return false;
    if (eCheck == SimImageCheck::NotBlank) {
        const BYTE* const p = pFlash + kVersionAt;
        return (p[0] & p[1] & p[2] & p[3]) != 0xFF && (p[0] | p[1] | p[2] | p[3]) != 0;
    }
    const DWORD cbImage = DwordLe(pFlash + kLengthAt);
    return std::memcmp(pFlash + kSignatureAt, kSignature, sizeof(kSignature)) == 0 &&
           cbImage >= kMinSize && cbImage <= cb &&
           DwordLe(pFlash + kCrcAt) == SealOf(pFlash, cbImage);
}

USHORT CSimImage::VersionOf(const BYTE* pFlash)
{
    return static_cast<USHORT>(pFlash[kVersionAt] << 8 | pFlash[kVersionAt + 1]);
}
