#pragma once

#include <map>
#include <mutex>
#include <string>

#include "platform/IFileSystem.h"

/// Files under composed paths: backslashes become slashes, links are not followed. Delete-on-
/// close is kept by a shared lock that every holder has; a flag file that nobody locks is a
/// leftover of a process that died, and counts as absent. There is no system folder; a private
/// folder below the temporary one takes what is meant for the Windows folder.
class CLinuxFileSystem : public IFileSystem
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

private:
    DWORD JoinFlag(int nDescriptor, const std::string& strPath, bool bMakes);

    std::mutex m_mutex;
    std::map<int, std::string> m_flags; ///< flag files that this process holds, by descriptor
};
