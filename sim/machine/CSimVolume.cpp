#include "sim/machine/CSimVolume.h"

#include "platform/ErrorCodes.h"
#include "sim/machine/SimText.h"

#include <algorithm>
#include <cstring>

using SimText::PathKey;

namespace
{
constexpr DWORD kVersionSignature = 0xFEEF04BD;
constexpr DWORD kStructVersion = 0x00010000;

WString FolderOf(const WString& strPath)
{
    const size_t nEnd = strPath.rfind(WCHAR('\\'));
    return nEnd == WString::npos ? WString() : strPath.substr(0, nEnd);
}

/// What others must share so that a handle with this access can be open.
DWORD SharesNeeded(DWORD dwAccess)
{
    return ((dwAccess & kGenericRead) != 0 ? kShareRead : 0) |
           ((dwAccess & kGenericWrite) != 0 ? kShareWrite : 0) |
           ((dwAccess & kAccessDelete) != 0 ? kShareDelete : 0);
}

std::optional<FIXED_FILE_INFO> FindVersion(const std::vector<BYTE>& data)
{
    FIXED_FILE_INFO info;
    for (size_t i = 0; i + sizeof info <= data.size(); ++i) {
        std::memcpy(&info, data.data() + i, sizeof info);
        if (info.dwSignature == kVersionSignature && info.dwStrucVersion == kStructVersion)
            return info;
    }
    return std::nullopt;
}
} // namespace

CSimVolume::CSimVolume()
{
    AddFolder(WTEXT("C:\\Windows\\system32\\drivers"));
    AddFolder(WTEXT("C:\\Windows\\SysWOW64\\drivers"));
    AddFolder(WTEXT("C:\\Temp"));
    AddFolder(WTEXT("C:\\Bench"));
}

CSimVolume::~CSimVolume() = default;

void CSimVolume::AddFolder(const WString& strPath)
{
    for (WString strFolder = strPath; !strFolder.empty(); strFolder = FolderOf(strFolder))
        m_folders.emplace(PathKey(strFolder), strFolder);
}

void CSimVolume::Put(const WString& strPath, std::vector<BYTE> data)
{
    AddFolder(FolderOf(strPath));
    auto& pFile = m_files[PathKey(strPath)];
    if (pFile == nullptr)
        pFile = std::make_shared<SimFile>();
    pFile->strPath = strPath;
    pFile->data = std::move(data);
}

void CSimVolume::Erase(const WString& strPath)
{
    m_files.erase(PathKey(strPath));
}

bool CSimVolume::Exists(const WString& strPath) const
{
    return m_files.contains(PathKey(strPath));
}

const std::vector<BYTE>* CSimVolume::Data(const WString& strPath) const
{
    const auto it = m_files.find(PathKey(strPath));
    return it == m_files.end() ? nullptr : &it->second->data;
}

unsigned CSimVolume::OpenHandles(const WString& strPath) const
{
    const auto it = m_files.find(PathKey(strPath));
    return it == m_files.end() ? 0 : static_cast<unsigned>(it->second->opens.size());
}

std::vector<WString> CSimVolume::Files() const
{
    std::vector<WString> paths;
    for (const auto& [strKey, pFile] : m_files)
        paths.push_back(pFile->strPath);
    return paths;
}

std::vector<BYTE> CSimVolume::VersionedImage(size_t cb, USHORT a, USHORT b, USHORT c, USHORT d)
{
    FIXED_FILE_INFO info = {};
    info.dwSignature = kVersionSignature;
    info.dwStrucVersion = kStructVersion;
    info.dwFileVersionMS = (DWORD{a} << 16) | b;
    info.dwFileVersionLS = (DWORD{c} << 16) | d;
    std::vector<BYTE> data(std::max(cb, sizeof info + 4));
    data[0] = 'M';
    data[1] = 'Z';
    std::memcpy(data.data() + ((data.size() - sizeof info) & ~size_t{3}), &info, sizeof info);
    return data;
}

void CSimVolume::SetPathError(const WString& strPath, DWORD dwError)
{
    m_pathErrors[PathKey(strPath)] = dwError;
}

DWORD CSimVolume::Open(const WString& strPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
                       DWORD dwFlags, std::shared_ptr<SimFile>* ppFile)
{
    const WString strKey = PathKey(strPath);
    if (const DWORD dwError = PathError(strKey))
        return dwError;
    if (m_folders.contains(strKey))
        return kErrAccessDenied;
    const auto it = m_files.find(strKey);
    std::shared_ptr<SimFile> pFile = it == m_files.end() ? nullptr : it->second;
    const bool bWrites = (dwAccess & (kGenericWrite | kAccessDelete)) != 0;
    if (pFile == nullptr && dwDisposition == kOpenExisting)
        return m_folders.contains(FolderOf(strKey)) ? kErrFileNotFound : kErrPathNotFound;
    if (pFile != nullptr) {
        if (const DWORD dwError = CheckSharing(*pFile, dwAccess, dwShare))
            return dwError;
        if (bWrites && m_inUse && m_inUse(strPath))
            return kErrSharingViolation;
    } else {
        if (const DWORD dwError = CheckFolder(strKey))
            return dwError;
        pFile = std::make_shared<SimFile>();
        pFile->strPath = strPath;
        pFile->dwAttributes =
            (dwFlags & kAttributeTemporary) != 0 ? kAttributeTemporary : kAttributeNormal;
        m_files[strKey] = pFile;
    }
    if (dwDisposition == kCreateAlways)
        pFile->data.clear();
    pFile->opens.emplace(dwAccess, dwShare);
    *ppFile = pFile;
    return kErrNone;
}

void CSimVolume::Close(const std::shared_ptr<SimFile>& pFile, DWORD dwAccess, DWORD dwShare,
                       bool bDeleteOnClose)
{
    const auto [first, last] = pFile->opens.equal_range(dwAccess);
    const auto it =
        std::find_if(first, last, [dwShare](const auto& entry) { return entry.second == dwShare; });
    if (it != last)
        pFile->opens.erase(it);
    pFile->bDeletePending = pFile->bDeletePending || bDeleteOnClose;
    if (!pFile->bDeletePending || !pFile->opens.empty())
        return;
    const auto found = m_files.find(PathKey(pFile->strPath));
    if (found != m_files.end() && found->second == pFile)
        m_files.erase(found);
}

DWORD CSimVolume::Append(SimFile& file, size_t nOffset, const void* pData, DWORD cb, DWORD* pcbDone)
{
    const size_t cbCan = std::min<size_t>(cb, m_cbFree.value_or(cb));
    const auto* const pBytes = static_cast<const BYTE*>(pData);
    if (file.data.size() < nOffset + cbCan)
        file.data.resize(nOffset + cbCan);
    std::copy_n(pBytes, cbCan, file.data.begin() + static_cast<std::ptrdiff_t>(nOffset));
    Charge(cbCan);
    *pcbDone = static_cast<DWORD>(cbCan);
    return cbCan == cb ? kErrNone : kErrDiskFull;
}

DWORD CSimVolume::Copy(const WString& strFrom, const WString& strTo, bool bFailIfExists)
{
    std::shared_ptr<SimFile> pFrom;
    if (const DWORD dwError = Open(strFrom, kGenericRead, kShareAll, kOpenExisting, 0, &pFrom))
        return dwError;
    DWORD dwError = kErrNone;
    std::shared_ptr<SimFile> pTo;
    if (bFailIfExists && Exists(strTo))
        dwError = kErrFileExists;
    else if (m_cbFree && *m_cbFree < pFrom->data.size())
        dwError = kErrDiskFull;
    else
        dwError = Open(strTo, kGenericWrite, kShareNone, kCreateAlways, 0, &pTo);
    if (dwError == kErrNone) {
        pTo->data = pFrom->data;
        Charge(pTo->data.size());
        Close(pTo, kGenericWrite, kShareNone, false);
    }
    Close(pFrom, kGenericRead, kShareAll, false);
    return dwError;
}

DWORD CSimVolume::Remove(const WString& strPath)
{
    std::shared_ptr<SimFile> pFile;
    const DWORD dwError = Open(strPath, kAccessDelete, kShareAll, kOpenExisting, 0, &pFile);
    if (dwError == kErrNone)
        Close(pFile, kAccessDelete, kShareAll, true);
    return dwError;
}

DWORD CSimVolume::Attributes(const WString& strPath) const
{
    const WString strKey = PathKey(strPath);
    if (PathError(strKey) != 0)
        return kInvalidAttributes;
    if (m_folders.contains(strKey))
        return kAttributeDirectory;
    const auto it = m_files.find(strKey);
    return it == m_files.end() ? kInvalidAttributes : it->second->dwAttributes;
}

std::optional<FIXED_FILE_INFO> CSimVolume::Version(const WString& strPath) const
{
    const std::vector<BYTE>* const pData = Data(strPath);
    return pData == nullptr ? std::nullopt : FindVersion(*pData);
}

DWORD CSimVolume::CheckFolder(const WString& strFolded) const
{
    return m_folders.contains(FolderOf(strFolded)) ? kErrNone : kErrPathNotFound;
}

DWORD CSimVolume::CheckSharing(const SimFile& file, DWORD dwAccess, DWORD dwShare) const
{
    if (file.bDeletePending)
        return kErrAccessDenied;
    for (const auto& [dwOtherAccess, dwOtherShare] : file.opens)
        if ((SharesNeeded(dwAccess) & ~dwOtherShare) != 0 ||
            (SharesNeeded(dwOtherAccess) & ~dwShare) != 0)
            return kErrSharingViolation;
    return kErrNone;
}

DWORD CSimVolume::PathError(const WString& strFolded) const
{
    const auto it = m_pathErrors.find(strFolded);
    return it == m_pathErrors.end() ? kErrNone : it->second;
}

void CSimVolume::Charge(size_t cb)
{
    if (m_cbFree)
        *m_cbFree -= cb;
}
