#include "platform/linux/CLinuxFileSystem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/CDescriptor.h"
#include "platform/linux/FileHandle.h"
#include "platform/linux/LinuxError.h"
#include "platform/linux/Utf8.h"

namespace
{
/// A holder is just leaving a flag file; opening it again shows whether it is still there. More
/// than a few tries would mean that somebody else keeps the lock.
constexpr DWORD kFlagVanished = kErrSharingViolation;
constexpr int kFlagTries = 100;

std::string NativePath(const WCHAR* pszPath)
{
    std::string strPath = Utf8FromWide(pszPath, std::char_traits<WCHAR>::length(pszPath));
    for (char& ch : strPath) {
        if (ch == '\\')
            ch = '/';
    }
    return strPath;
}

int OpenFlags(DWORD dwAccess, DWORD dwDisposition)
{
    int nFlags = O_CLOEXEC | O_NOFOLLOW;
    nFlags |= (dwAccess & kGenericWrite) == 0  ? O_RDONLY
              : (dwAccess & kGenericRead) != 0 ? O_RDWR
                                               : O_WRONLY;
    if (dwDisposition == kCreateAlways)
        nFlags |= O_CREAT | O_TRUNC;
    else if (dwDisposition == kOpenAlways)
        nFlags |= O_CREAT;
    return nFlags;
}

DWORD PutPath(const std::string& strPath, WCHAR* pBuffer, DWORD cch)
{
    WString strWide = WideFromUtf8(strPath);
    std::replace(strWide.begin(), strWide.end(), WTEXT('/'), WTEXT('\\'));
    if (strWide.size() + 1 > cch)
        return static_cast<DWORD>(strWide.size() + 1);
    std::copy_n(strWide.c_str(), strWide.size() + 1, pBuffer);
    return static_cast<DWORD>(strWide.size());
}

std::string TemporaryRoot()
{
    const char* pszFolder = std::getenv("TMPDIR");
    std::string strFolder = pszFolder != nullptr && pszFolder[0] == '/' ? pszFolder : "/tmp";
    if (strFolder.back() != '/')
        strFolder += '/';
    return strFolder;
}

/// Makes a folder that is nobody else's, or takes the one that is there if it is ours and closed
/// to writing by others; a link is none.
bool MakePrivateFolder(const std::string& strPath)
{
    if (::mkdir(strPath.c_str(), 0700) != 0 && errno != EEXIST)
        return FailWithErrno();
    struct stat info = {};
    if (::lstat(strPath.c_str(), &info) != 0)
        return FailWithErrno();
    const bool bOurs = S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() &&
                       (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return bOurs || FailWith(kErrAccessDenied);
}

bool IsFolder(int nDescriptor)
{
    struct stat info = {};
    return ::fstat(nDescriptor, &info) == 0 && S_ISDIR(info.st_mode);
}

bool NamesSameFile(int nDescriptor, const std::string& strPath)
{
    struct stat open = {};
    struct stat named = {};
    return ::fstat(nDescriptor, &open) == 0 && ::lstat(strPath.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

/// Writes it all: what a full disk takes of a block says nothing yet, the next write does.
bool WriteAll(int nTo, const char* pData, std::size_t cb)
{
    while (cb != 0) {
        const ssize_t n = ::write(nTo, pData, cb);
        if (n <= 0) {
            errno = n == 0 ? ENOSPC : errno;
            return false;
        }
        pData += n;
        cb -= static_cast<std::size_t>(n);
    }
    return true;
}

bool CopyBytes(int nFrom, int nTo)
{
    std::array<char, 16384> block{};
    for (;;) {
        const ssize_t n = ::read(nFrom, block.data(), block.size());
        if (n <= 0)
            return n == 0;
        if (!WriteAll(nTo, block.data(), static_cast<std::size_t>(n)))
            return false;
    }
}
} // namespace

/// Takes the shared lock of a flag file. Where nobody else holds it and this open does not make
/// it, the file is a leftover of a process that died: it goes, and counts as missing.
/// @return 0, an error code, or kFlagVanished when another process removed it in between
DWORD CLinuxFileSystem::JoinFlag(int nDescriptor, const std::string& strPath, bool bMakes)
{
    if (!bMakes && ::flock(nDescriptor, LOCK_EX | LOCK_NB) == 0) {
        ::unlink(strPath.c_str());
        return kErrFileNotFound;
    }
    if (::flock(nDescriptor, LOCK_SH | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? kFlagVanished : ErrorFromErrno(errno);
    if (!NamesSameFile(nDescriptor, strPath))
        return kFlagVanished;
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_flags[nDescriptor] = strPath;
    return kErrNone;
}

HANDLE CLinuxFileSystem::Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare,
                              DWORD dwDisposition, DWORD dwAttributes)
{
    const std::string strPath = NativePath(pszPath);
    const bool bMakesFlag = (dwAttributes & kFlagDeleteOnClose) != 0;
    const bool bIsFlag = bMakesFlag || (dwShare & kShareDelete) != 0;
    DWORD dwError = kFlagVanished;
    for (int i = 0; i < kFlagTries && dwError == kFlagVanished; ++i) {
        const int nDescriptor = ::open(strPath.c_str(), OpenFlags(dwAccess, dwDisposition), 0666);
        if (nDescriptor < 0) {
            FailWithErrno();
            return InvalidHandle();
        }
        if (IsFolder(nDescriptor))
            dwError = kErrAccessDenied;
        else
            dwError = bIsFlag ? JoinFlag(nDescriptor, strPath, bMakesFlag) : kErrNone;
        if (dwError == kErrNone)
            return HandleFromDescriptor(nDescriptor);
        ::close(nDescriptor);
    }
    FailWith(dwError);
    return InvalidHandle();
}

bool CLinuxFileSystem::Write(HANDLE hFile, const void* pData, DWORD cb, DWORD* pcbDone)
{
    *pcbDone = 0;
    const ssize_t n = ::write(DescriptorFromHandle(hFile), pData, cb);
    if (n < 0)
        return FailWithErrno();
    *pcbDone = static_cast<DWORD>(n);
    return *pcbDone == cb || FailWith(kErrDiskFull);
}

DWORD CLinuxFileSystem::Size(HANDLE hFile)
{
    struct stat info = {};
    if (::fstat(DescriptorFromHandle(hFile), &info) != 0) {
        FailWithErrno();
        return 0xFFFFFFFF;
    }
    return static_cast<DWORD>(info.st_size);
}

bool CLinuxFileSystem::Close(HANDLE hFile)
{
    const int nDescriptor = DescriptorFromHandle(hFile);
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        const auto it = m_flags.find(nDescriptor);
        if (it != m_flags.end()) {
            // The last holder takes the file along.
            if (::flock(nDescriptor, LOCK_EX | LOCK_NB) == 0)
                ::unlink(it->second.c_str());
            m_flags.erase(it);
        }
    }
    return ::close(nDescriptor) == 0 || FailWithErrno();
}

bool CLinuxFileSystem::Copy(const WCHAR* pszFrom, const WCHAR* pszTo, bool bFailIfExists)
{
    const CDescriptor from(::open(NativePath(pszFrom).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!from.IsOpen())
        return FailWithErrno();
    const int nFlags =
        O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | (bFailIfExists ? O_EXCL : O_TRUNC);
    const CDescriptor to(::open(NativePath(pszTo).c_str(), nFlags, 0666));
    if (!to.IsOpen())
        return FailWithErrno();
    return CopyBytes(from.Get(), to.Get()) || FailWithErrno();
}

bool CLinuxFileSystem::Remove(const WCHAR* pszPath)
{
    return ::unlink(NativePath(pszPath).c_str()) == 0 || FailWithErrno();
}

DWORD CLinuxFileSystem::Attributes(const WCHAR* pszPath)
{
    struct stat info = {};
    if (::lstat(NativePath(pszPath).c_str(), &info) != 0) {
        FailWithErrno();
        return kInvalidAttributes;
    }
    return S_ISDIR(info.st_mode) ? kAttributeDirectory : kAttributeNormal;
}

DWORD CLinuxFileSystem::SystemFolder(WCHAR*, DWORD)
{
    FailWith(kErrCallNotImplemented);
    return 0;
}

DWORD CLinuxFileSystem::WindowsFolder(WCHAR* pBuffer, DWORD cch)
{
    const std::string strFolder = TemporaryRoot() + "zelhub-" + std::to_string(::geteuid());
    if (!MakePrivateFolder(strFolder) || !MakePrivateFolder(strFolder + "/system32") ||
        !MakePrivateFolder(strFolder + "/system32/drivers"))
        return 0;
    return PutPath(strFolder, pBuffer, cch);
}

DWORD CLinuxFileSystem::WorkingFolder(WCHAR* pBuffer, DWORD cch)
{
    char* pszFolder = ::getcwd(nullptr, 0);
    if (pszFolder == nullptr) {
        FailWithErrno();
        return 0;
    }
    const std::string strFolder = pszFolder;
    std::free(pszFolder);
    return PutPath(strFolder, pBuffer, cch);
}

DWORD CLinuxFileSystem::TemporaryFolder(WCHAR* pBuffer, DWORD cch)
{
    return PutPath(TemporaryRoot(), pBuffer, cch);
}

DWORD CLinuxFileSystem::VersionSize(const WCHAR*)
{
    FailWith(kErrResourceDataNotFound);
    return 0;
}

bool CLinuxFileSystem::ReadVersion(const WCHAR*, DWORD, void*)
{
    return FailWith(kErrResourceDataNotFound);
}

bool CLinuxFileSystem::QueryRootVersion(const void*, const FIXED_FILE_INFO**)
{
    return FailWith(kErrResourceDataNotFound);
}
