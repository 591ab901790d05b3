#include "platform/windows/CWinFileSystem.h"

// clang-format off
#include <windows.h>
#include <winver.h>
// clang-format on

#include "platform/windows/KeepLastError.h"

static_assert(sizeof(FIXED_FILE_INFO) == sizeof(VS_FIXEDFILEINFO));

HANDLE CWinFileSystem::Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare,
                            DWORD dwDisposition, DWORD dwAttributes)
{
    const CKeepLastError keep;
    return keep.After(
        ::CreateFileW(pszPath, dwAccess, dwShare, nullptr, dwDisposition, dwAttributes, nullptr));
}

bool CWinFileSystem::Write(HANDLE hFile, const void* pData, DWORD cb, DWORD* pcbDone)
{
    return ::WriteFile(hFile, pData, cb, pcbDone, nullptr) != FALSE;
}

DWORD CWinFileSystem::Size(HANDLE hFile)
{
    return ::GetFileSize(hFile, nullptr);
}

bool CWinFileSystem::Close(HANDLE hFile)
{
    return ::CloseHandle(hFile) != FALSE;
}

bool CWinFileSystem::Copy(const WCHAR* pszFrom, const WCHAR* pszTo, bool bFailIfExists)
{
    const CKeepLastError keep;
    return keep.After(::CopyFileW(pszFrom, pszTo, bFailIfExists ? TRUE : FALSE));
}

bool CWinFileSystem::Remove(const WCHAR* pszPath)
{
    const CKeepLastError keep;
    return keep.After(::DeleteFileW(pszPath));
}

DWORD CWinFileSystem::Attributes(const WCHAR* pszPath)
{
    return ::GetFileAttributesW(pszPath);
}

DWORD CWinFileSystem::SystemFolder(WCHAR* pBuffer, DWORD cch)
{
    return ::GetSystemDirectoryW(pBuffer, cch);
}

DWORD CWinFileSystem::WindowsFolder(WCHAR* pBuffer, DWORD cch)
{
    return ::GetWindowsDirectoryW(pBuffer, cch);
}

DWORD CWinFileSystem::WorkingFolder(WCHAR* pBuffer, DWORD cch)
{
    return ::GetCurrentDirectoryW(cch, pBuffer);
}

DWORD CWinFileSystem::TemporaryFolder(WCHAR* pBuffer, DWORD cch)
{
    return ::GetTempPathW(cch, pBuffer);
}

DWORD CWinFileSystem::VersionSize(const WCHAR* pszPath)
{
    const CKeepLastError keep;
    DWORD dwIgnored = 0;
    return keep.After(::GetFileVersionInfoSizeW(pszPath, &dwIgnored));
}

bool CWinFileSystem::ReadVersion(const WCHAR* pszPath, DWORD cb, void* pBlock)
{
    const CKeepLastError keep;
    return keep.After(::GetFileVersionInfoW(pszPath, 0, cb, pBlock));
}

bool CWinFileSystem::QueryRootVersion(const void* pBlock, const FIXED_FILE_INFO** ppInfo)
{
    void* pInfo = nullptr;
    UINT cb = 0;
    if (::VerQueryValueW(pBlock, L"\\", &pInfo, &cb) == FALSE || cb < sizeof(FIXED_FILE_INFO))
        return false;
    *ppInfo = static_cast<const FIXED_FILE_INFO*>(pInfo);
    return true;
}
