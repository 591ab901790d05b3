#pragma once

#include "platform/Types.h"

#include <optional>
#include <string>
#include <vector>

/// A firmware image file that was found fit to be sent to a hub.
class CImageFile
{
public:
    static constexpr DWORD kMinSize = 32624;            ///< up to the end of its version fields
    static constexpr DWORD kMaxSize = 16 * 1024 * 1024; ///< no hub's flash is larger
    static constexpr DWORD kVersionAt = 0x7EF9;
    static constexpr DWORD kChipIdAt = 0x7EFB;

    /// Reads and checks a file. Throws CToolError (image refused) that says what is wrong.
    /// @param cbFlash bytes of the hub's flash where that is known, else 0
    static CImageFile Load(const std::string& strPath, DWORD cbFlash);

    const std::string& Path() const { return m_strPath; }
    const std::vector<BYTE>& Bytes() const { return m_bytes; }
    DWORD Size() const { return static_cast<DWORD>(m_bytes.size()); }
    USHORT Version() const;      ///< the one that a running hub reports
    USHORT OtherVersion() const; ///< the one that the chip ID places
    USHORT ChipId() const;

private:
    CImageFile() = default;

    std::string m_strPath;
    std::vector<BYTE> m_bytes;
};

/// A big-endian 16-bit field.
USHORT WordAt(const std::vector<BYTE>& bytes, DWORD dwAt);

/// Whether all bytes are the same (an erased or zeroed memory).
bool IsBlank(const std::vector<BYTE>& bytes);

std::string VersionText(USHORT wVersion); ///< "0x0123"
