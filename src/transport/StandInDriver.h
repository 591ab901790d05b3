#pragma once

#include "platform/Types.h"

#include <array>
#include <string_view>

/// Makes, at compile time, a driver file that refuses to start: an executable of one section
/// with a version resource that says 0.0.0.0, and an entry that returns a failure. Builds that
/// were not given real driver files carry these; their version never replaces an installed one.
namespace stand_in
{
constexpr DWORD kHeaderBytes = 0x400; // headers, padded to the file alignment
constexpr DWORD kSectionAddress = 0x1000;
constexpr DWORD kFileAlignment = 0x200;
constexpr DWORD kPeAt = 0x80;
constexpr DWORD kOptionalBytes32 = 224;
constexpr DWORD kOptionalBytes64 = 240;
constexpr DWORD kResourceAt = 0;  // within the section
constexpr DWORD kEntryAt = 0x200; // the same; the entry's code
constexpr DWORD kVersionAt = kResourceAt + 0x58;
constexpr DWORD kVersionBytes = 92;

struct MACHINE
{
    USHORT wMachine;
    bool bWide;                     ///< a 64-bit executable
    std::array<BYTE, 8> entryPoint; ///< returns STATUS_NOT_SUPPORTED
};

constexpr MACHINE kX86 = {0x014C, false, {0xB8, 0xBB, 0x00, 0x00, 0xC0, 0xC2, 0x08, 0x00}};
constexpr MACHINE kX64 = {0x8664, true, {0xB8, 0xBB, 0x00, 0x00, 0xC0, 0xC3, 0xCC, 0xCC}};
constexpr MACHINE kArm64 = {0xAA64, true, {0x60, 0x17, 0x80, 0x52, 0x00, 0x00, 0xB8, 0x72}};
constexpr std::array<BYTE, 4> kArm64Return = {0xC0, 0x03, 0x5F, 0xD6};

template<size_t nBytes>
class CFile
{
public:
    constexpr void Put16(DWORD dwAt, DWORD dwValue)
    {
        m_bytes[dwAt] = static_cast<BYTE>(dwValue & 0xFF);
        m_bytes[dwAt + 1] = static_cast<BYTE>((dwValue >> 8) & 0xFF);
    }
    constexpr void Put32(DWORD dwAt, DWORD dwValue)
    {
        Put16(dwAt, dwValue & 0xFFFF);
        Put16(dwAt + 2, dwValue >> 16);
    }
    template<size_t nCount>
    constexpr void PutBytes(DWORD dwAt, const std::array<BYTE, nCount>& b)
    {
        for (size_t i = 0; i < nCount; ++i)
            m_bytes[dwAt + i] = b[i];
    }
    constexpr void PutText(DWORD dwAt, std::string_view text, DWORD dwStep)
    {
        for (size_t i = 0; i < text.size(); ++i)
            m_bytes[dwAt + i * dwStep] = static_cast<BYTE>(text[i]);
    }
    constexpr const std::array<BYTE, nBytes>& Bytes() const { return m_bytes; }

private:
    std::array<BYTE, nBytes> m_bytes = {};
};

template<size_t nBytes>
constexpr DWORD SectionBytes()
{
    return (nBytes - kHeaderBytes) / kFileAlignment * kFileAlignment;
}

/// The headers: DOS, file, optional, and the one section's.
template<size_t nBytes>
constexpr void PutHeaders(CFile<nBytes>* pFile, const MACHINE& machine)
{
    const DWORD cbOptional = machine.bWide ? kOptionalBytes64 : kOptionalBytes32;
    const DWORD cbSection = SectionBytes<nBytes>();
    pFile->PutText(0, "MZ", 1);
    pFile->Put32(0x3C, kPeAt);
    pFile->PutText(kPeAt, "PE", 1);
    pFile->Put16(kPeAt + 4, machine.wMachine);
    pFile->Put16(kPeAt + 6, 1); // sections
    pFile->Put16(kPeAt + 20, cbOptional);
    pFile->Put16(kPeAt + 22, machine.bWide ? 0x0022 : 0x0102); // executable

    const DWORD dwOptional = kPeAt + 24;
    pFile->Put16(dwOptional, machine.bWide ? 0x020B : 0x010B);
    pFile->Put32(dwOptional + 4, cbSection); // size of code
    pFile->Put32(dwOptional + 16, kSectionAddress + kEntryAt);
    pFile->Put32(dwOptional + 20, kSectionAddress);
    pFile->Put32(dwOptional + (machine.bWide ? 24 : 28), 0x10000); // image base
    pFile->Put32(dwOptional + 32, 0x1000);
    pFile->Put32(dwOptional + 36, kFileAlignment);
    pFile->Put16(dwOptional + 40, 10); // system version
    pFile->Put16(dwOptional + 48, 10);
    pFile->Put32(dwOptional + 56, kSectionAddress + (cbSection + 0xFFF) / 0x1000 * 0x1000);
    pFile->Put32(dwOptional + 60, kHeaderBytes);
    pFile->Put16(dwOptional + 68, 1); // native
    const DWORD dwDirectories = dwOptional + cbOptional - 16 * 8;
    pFile->Put32(dwDirectories - 4, 16);
    pFile->Put32(dwDirectories + 2 * 8, kSectionAddress + kResourceAt);
    pFile->Put32(dwDirectories + 2 * 8 + 4, kVersionAt + kVersionBytes - kResourceAt);

    const DWORD dwSection = dwOptional + cbOptional;
    pFile->PutText(dwSection, ".rsrc", 1);
    pFile->Put32(dwSection + 8, cbSection);
    pFile->Put32(dwSection + 12, kSectionAddress);
    pFile->Put32(dwSection + 16, cbSection);
    pFile->Put32(dwSection + 20, kHeaderBytes);
    pFile->Put32(dwSection + 36, 0x60000060); // code and data, readable, executable
}

/// The resource directory (type 16, name 1, language 0) and the version it leads to.
template<size_t nBytes>
constexpr void PutVersion(CFile<nBytes>* pFile)
{
    constexpr DWORD kIds[] = {16, 1, 0};
    for (DWORD dwLevel = 0; dwLevel < 3; ++dwLevel) {
        const DWORD dwTable = kHeaderBytes + kResourceAt + dwLevel * 24;
        pFile->Put16(dwTable + 14, 1); // entries by number
        pFile->Put32(dwTable + 16, kIds[dwLevel]);
        pFile->Put32(dwTable + 20, dwLevel < 2 ? 0x80000000 | ((dwLevel + 1) * 24) : 3 * 24);
    }
    const DWORD dwEntry = kHeaderBytes + kResourceAt + 3 * 24;
    pFile->Put32(dwEntry, kSectionAddress + kVersionAt);
    pFile->Put32(dwEntry + 4, kVersionBytes);

    const DWORD dwVersion = kHeaderBytes + kVersionAt;
    pFile->Put16(dwVersion, kVersionBytes);
    pFile->Put16(dwVersion + 2, 52);
    pFile->PutText(dwVersion + 6, "VS_VERSION_INFO", 2);
    const DWORD dwFixed = dwVersion + 40; // every version field stays zero
    pFile->Put32(dwFixed, 0xFEEF04BD);
    pFile->Put32(dwFixed + 4, 0x00010000);
    pFile->Put32(dwFixed + 32, 0x00040004); // made for the NT family
    pFile->Put32(dwFixed + 36, 3);          // a driver
    pFile->Put32(dwFixed + 40, 7);
}

template<size_t nBytes>
constexpr std::array<BYTE, nBytes> MakeFile(const MACHINE& machine)
{
    CFile<nBytes> file;
    PutHeaders(&file, machine);
    file.PutBytes(kHeaderBytes + kEntryAt, machine.entryPoint);
    if (machine.wMachine == kArm64.wMachine)
        file.PutBytes(kHeaderBytes + kEntryAt + 8, kArm64Return);
    PutVersion(&file);
    return file.Bytes();
}
} // namespace stand_in
