#include "tools/zelhub/input/CImageFile.h"

#include "tools/zelhub/output/COutput.h"
#include "tools/zelhub/output/Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace
{

constexpr const char* kAnother = "Give the path of a firmware image of this device.";

[[noreturn]] void Refuse(const std::string& strPath, const std::string& strWhy,
                         const std::string& strNext = kAnother)
{
    throw CToolError(ExitCode::ImageRefused, "image " + Printable(strPath) + ": " + strWhy,
                     strNext);
}

void CheckKind(const std::string& strPath)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(strPath, error);
    switch (status.type()) {
    case std::filesystem::file_type::regular:
        return;
    case std::filesystem::file_type::not_found:
        Refuse(strPath, "there is no such file");
    case std::filesystem::file_type::directory:
        Refuse(strPath, "is a folder, not a file");
    case std::filesystem::file_type::none:
    case std::filesystem::file_type::unknown:
        Refuse(strPath, "cannot be looked at: " + error.message());
    default:
        Refuse(strPath, "is not a regular file");
    }
}

void CheckSize(const std::string& strPath, unsigned long long cb, DWORD cbFlash)
{
    if (cb == 0)
        Refuse(strPath, "is empty");
    if (cb < CImageFile::kMinSize)
        Refuse(strPath, "is too short: " + std::to_string(cb) + " bytes, an image has at least " +
                            std::to_string(CImageFile::kMinSize));
    if (cb > CImageFile::kMaxSize)
        Refuse(strPath, "is too large: " + SizeText(cb) + ", no hub's flash is larger than " +
                            SizeText(CImageFile::kMaxSize));
    if (cbFlash != 0 && cb > cbFlash)
        Refuse(strPath, "is too large: " + SizeText(cb) + ", the flash has " + SizeText(cbFlash),
               "Give an image for this hub, or correct --flash-size.");
}

std::vector<BYTE> ReadAll(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    if (!file)
        Refuse(strPath, std::string("cannot be opened: ") + std::strerror(errno),
               "Make the file readable for you, or give another.");
    std::vector<BYTE> bytes;
    std::vector<char> chunk(65536);
    while (file.read(chunk.data(), static_cast<std::streamsize>(chunk.size())) ||
           file.gcount() > 0) {
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + file.gcount());
        if (bytes.size() > CImageFile::kMaxSize)
            break;
    }
    if (file.bad())
        Refuse(strPath, "cannot be read to its end");
    return bytes;
}

} // namespace

CImageFile CImageFile::Load(const std::string& strPath, DWORD cbFlash)
{
    if (strPath.empty())
        Refuse(strPath, "no file name");
    CheckKind(strPath);
    std::error_code error;
    const unsigned long long cb = std::filesystem::file_size(strPath, error);
    if (error)
        Refuse(strPath, "its size cannot be read: " + error.message());
    CheckSize(strPath, cb, cbFlash);
    CImageFile image;
    image.m_strPath = strPath;
    image.m_bytes = ReadAll(strPath);
    CheckSize(strPath, image.m_bytes.size(), cbFlash); // it may have changed meanwhile
    if (IsBlank(image.m_bytes))
        Refuse(strPath, "is blank: every byte is " + Hex(image.m_bytes.front(), 2));
    const std::vector<BYTE> fields(image.m_bytes.begin() + kVersionAt,
                                   image.m_bytes.begin() + kChipIdAt + 2);
    if (IsBlank(fields))
        Refuse(strPath, "has no version and no chip ID at " + Hex(kVersionAt, 4) +
                            ": it is no firmware image");
    return image;
}

USHORT CImageFile::Version() const
{
    return WordAt(m_bytes, kVersionAt);
}

USHORT CImageFile::ChipId() const
{
    return WordAt(m_bytes, kChipIdAt);
}

USHORT CImageFile::OtherVersion() const
{
    switch (ChipId()) {
    case 0x6551:
        return WordAt(m_bytes, 0x7F52);
    case 0x6560:
        return WordAt(m_bytes, 0x7F6E);
    default:
        return WordAt(m_bytes, 0x7F5E);
    }
}

USHORT WordAt(const std::vector<BYTE>& bytes, DWORD dwAt)
{
    return static_cast<USHORT>(bytes.at(dwAt) << 8 | bytes.at(dwAt + 1));
}

bool IsBlank(const std::vector<BYTE>& bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [&](BYTE by) { return by == bytes.front(); });
}

std::string VersionText(USHORT wVersion)
{
    return Hex(wVersion, 4);
}
