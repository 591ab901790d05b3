#include "platform/windows/CWinHostFiles.h"

#include "platform/windows/KeepLastError.h"

HANDLE CWinHostFiles::OpenForReading(const char* pszPath)
{
    const CKeepLastError keep;
    return keep.After(::CreateFileA(pszPath, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

HANDLE CWinHostFiles::OpenForAppending(const char* pszPath)
{
    const CKeepLastError keep;
    return keep.After(::CreateFileA(pszPath, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool CWinHostFiles::Read(HANDLE hFile, void* pBuffer, DWORD cb, DWORD* pcbDone)
{
    return ::ReadFile(hFile, pBuffer, cb, pcbDone, nullptr) != FALSE;
}

bool CWinHostFiles::Write(HANDLE hFile, const void* pData, DWORD cb)
{
    DWORD cbDone = 0;
    return ::WriteFile(hFile, pData, cb, &cbDone, nullptr) != FALSE && cbDone == cb;
}

bool CWinHostFiles::Close(HANDLE hFile)
{
    return ::CloseHandle(hFile) != FALSE;
}

bool CWinHostFiles::Remove(const char* pszPath)
{
    return ::DeleteFileA(pszPath) != FALSE;
}
