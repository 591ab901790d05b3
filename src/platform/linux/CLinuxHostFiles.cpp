#include "platform/linux/CLinuxHostFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/FileHandle.h"
#include "platform/linux/LinuxError.h"

namespace
{
HANDLE OpenFile(const char* pszPath, int nFlags)
{
    const int nDescriptor = ::open(pszPath, nFlags | O_CLOEXEC, 0666);
    if (nDescriptor < 0)
        FailWithErrno();
    return HandleFromDescriptor(nDescriptor);
}
} // namespace

HANDLE CLinuxHostFiles::OpenForReading(const char* pszPath)
{
    const HANDLE hFile = OpenFile(pszPath, O_RDONLY);
    struct stat info = {};
    if (hFile == InvalidHandle() || ::fstat(DescriptorFromHandle(hFile), &info) != 0 ||
        !S_ISDIR(info.st_mode))
        return hFile;
    Close(hFile);
    FailWith(kErrAccessDenied);
    return InvalidHandle();
}

HANDLE CLinuxHostFiles::OpenForAppending(const char* pszPath)
{
    return OpenFile(pszPath, O_WRONLY | O_APPEND | O_CREAT);
}

bool CLinuxHostFiles::Read(HANDLE hFile, void* pBuffer, DWORD cb, DWORD* pcbDone)
{
    *pcbDone = 0;
    const ssize_t n = ::read(DescriptorFromHandle(hFile), pBuffer, cb);
    if (n < 0)
        return FailWithErrno();
    *pcbDone = static_cast<DWORD>(n);
    return true;
}

bool CLinuxHostFiles::Write(HANDLE hFile, const void* pData, DWORD cb)
{
    const char* p = static_cast<const char*>(pData);
    for (DWORD cbLeft = cb; cbLeft > 0;) {
        const ssize_t n = ::write(DescriptorFromHandle(hFile), p, cbLeft);
        if (n < 0)
            return FailWithErrno();
        p += n;
        cbLeft -= static_cast<DWORD>(n);
    }
    return true;
}

bool CLinuxHostFiles::Close(HANDLE hFile)
{
    return ::close(DescriptorFromHandle(hFile)) == 0 || FailWithErrno();
}

bool CLinuxHostFiles::Remove(const char* pszPath)
{
    return ::unlink(pszPath) == 0 || FailWithErrno();
}
