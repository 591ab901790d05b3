#pragma once

#include "platform/IFileSystem.h"

class CWinFileSystem : public IFileSystem
{
public:
    HANDLE Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
                DWORD dwAttributes) override;
    bool Write(HANDLE hFile, const void* pData, DWORD cb, DWORD* pcbDone) override;
    DWORD Size(HANDLE hFile) override;
    bool Close(HANDLE hFile) override;
    bool Copy(const WCHAR* pszFrom, const WCHAR* pszTo, bool bFailIfExists) override;
    bool Remove(const WCHAR* pszPath) override;
    DWORD Attributes(const WCHAR* pszPath) override;
    DWORD SystemFolder(WCHAR* pBuffer, DWORD cch) override;
    DWORD WindowsFolder(WCHAR* pBuffer, DWORD cch) override;
    DWORD WorkingFolder(WCHAR* pBuffer, DWORD cch) override;
    DWORD TemporaryFolder(WCHAR* pBuffer, DWORD cch) override;
    DWORD VersionSize(const WCHAR* pszPath) override;
    bool ReadVersion(const WCHAR* pszPath, DWORD cb, void* pBlock) override;
    bool QueryRootVersion(const void* pBlock, const FIXED_FILE_INFO** ppInfo) override;
};
