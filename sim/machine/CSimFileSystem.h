#pragma once

#include "platform/IFileSystem.h"

class CSimMachine;

/// The file service over the machine's volume. In a WOW64 process "system32" leads to
/// "SysWOW64" until redirection is disabled.
class CSimFileSystem : public IFileSystem
{
public:
    explicit CSimFileSystem(CSimMachine& machine) : m_machine(machine) {}

    /// The folders that the process is told; the temporary one ends in a backslash.
    void SetSystemFolder(WString strFolder) { m_strSystem = std::move(strFolder); }
    void SetWindowsFolder(WString strFolder) { m_strWindows = std::move(strFolder); }
    void SetWorkingFolder(WString strFolder) { m_strWorking = std::move(strFolder); }
    void SetTemporaryFolder(WString strFolder) { m_strTemporary = std::move(strFolder); }

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
    WString Resolve(const WCHAR* pszPath) const;
    DWORD Folder(const char* pszOperation, const WString& strFolder, WCHAR* pBuffer, DWORD cch);
    bool Report(DWORD dwError);

    CSimMachine& m_machine;
    WString m_strSystem = WTEXT("C:\\Windows\\system32");
    WString m_strWindows = WTEXT("C:\\Windows");
    WString m_strWorking = WTEXT("C:\\Bench");
    WString m_strTemporary = WTEXT("C:\\Temp\\");
};
