#pragma once

#include "platform/Types.h"

#include <vector>

/// What a boot loader demands of the flash before it starts the code there.
enum class SimImageCheck
{
    Crc,     ///< signature, length and CRC as CSimImage sets them
    NotBlank ///< version and chip ID are there: for images from elsewhere
};

/// Builds firmware images that the models start, and tells whether some bytes are one.
///
/// Big-endian fields where hosts look: version at 0x7EF9, chip ID at 0x7EFB, a second version
/// where the chip ID says. Our own seal: "VOFW" at 0x7EE0, then little-endian the length and a
/// CRC-32 of the whole image with the CRC field and the two mark bytes at 0x7EF0 left out.
class CSimImage
{
public:
    static constexpr DWORD kMinSize = 32624;
    static constexpr DWORD kSignatureAt = 0x7EE0;
    static constexpr DWORD kLengthAt = 0x7EE4;
    static constexpr DWORD kCrcAt = 0x7EE8;
    static constexpr DWORD kMarkAt = 0x7EF0;
    static constexpr DWORD kVersionAt = 0x7EF9;
    static constexpr DWORD kChipIdAt = 0x7EFB;

    /// @param cb  bytes of the image; kMinSize at least
    explicit CSimImage(DWORD cb = 0x10000) : m_cb(cb < kMinSize ? kMinSize : cb) {}

    CSimImage& Version(USHORT usVersion);
    CSimImage& OtherVersion(USHORT usVersion);
    CSimImage& ChipId(USHORT usChipId);
    /// Another seed gives other code bytes.
    CSimImage& Seed(DWORD dwSeed);

    std::vector<BYTE> Build() const;

    /// Where an image of this chip has its other version.
    static DWORD OtherVersionAt(USHORT usChipId);

    /// Renews length and CRC after bytes were changed. The image is kMinSize long at least.
    static void Seal(std::vector<BYTE>& image);

    /// Whether a complete image stands at pFlash, whose cb bytes may be more than the image's.
    static bool IsComplete(const BYTE* pFlash, DWORD cb, SimImageCheck eCheck);

    /// The version at 0x7EF9. cb is kMinSize at least.
    static USHORT VersionOf(const BYTE* pFlash);

private:
    DWORD m_cb;
    USHORT m_usVersion = 0x0100;
    USHORT m_usOther = 0x0100;
    USHORT m_usChipId = 0x6560;
    DWORD m_dwSeed = 1;
};
