#include "sim/machine/CSimFileSystem.h"

#include "sim/machine/CSimMachine.h"
#include "sim/machine/SimText.h"

#include <cstring>

namespace
{
class CFileObject : public CSimHandleObject
{
public:
    CFileObject(std::shared_ptr<CSimSystem> pSystem, std::shared_ptr<SimFile> pFile, DWORD dwAccess,
                DWORD dwShare, bool bDeleteOnClose)
        : m_pSystem(std::move(pSystem)),
          m_pFile(std::move(pFile)),
          m_dwAccess(dwAccess),
          m_dwShare(dwShare),
          m_bDeleteOnClose(bDeleteOnClose)
    {}
    ~CFileObject() override
    {
        m_pSystem->volume.Close(m_pFile, m_dwAccess, m_dwShare, m_bDeleteOnClose);
    }

    SimFile& File() { return *m_pFile; }
    bool MayWrite() const { return (m_dwAccess & kGenericWrite) != 0; }
    size_t nOffset = 0;

private:
    std::shared_ptr<CSimSystem> m_pSystem;
    std::shared_ptr<SimFile> m_pFile;
    DWORD m_dwAccess;
    DWORD m_dwShare;
    bool m_bDeleteOnClose;
};

/// The block that ReadVersion fills: its length, then the root block.
struct VersionBlock
{
    DWORD cbBlock;
    FIXED_FILE_INFO info;
};
} // namespace

HANDLE CSimFileSystem::Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare,
                            DWORD dwDisposition, DWORD dwAttributes)
{
    if (!m_machine.Enter("IFileSystem::Open"))
        return InvalidHandle();
    const bool bDelete = (dwAttributes & kFlagDeleteOnClose) != 0;
    const DWORD dwWholeAccess = dwAccess | (bDelete ? kAccessDelete : 0);
    const WString strPath = Resolve(pszPath);
    std::shared_ptr<SimFile> pFile;
    if (const DWORD dwError = m_machine.Volume().Open(strPath, dwWholeAccess, dwShare,
                                                      dwDisposition, dwAttributes, &pFile))
        return m_machine.FailInvalid(dwError);
    return m_machine.Handles().Add(
        "file", SimText::Narrow(strPath),
        std::make_shared<CFileObject>(m_machine.System(), pFile, dwWholeAccess, dwShare, bDelete));
}

bool CSimFileSystem::Write(HANDLE hFile, const void* pData, DWORD cb, DWORD* pcbDone)
{
    DWORD cbDone = 0;
    if (pcbDone != nullptr)
        *pcbDone = 0;
    if (!m_machine.Enter("IFileSystem::Write"))
        return false;
    const auto pObject = m_machine.Handles().Find<CFileObject>(hFile);
    if (pObject == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    if (!pObject->MayWrite())
        return m_machine.Fail(kErrAccessDenied);
    const DWORD dwError =
        m_machine.Volume().Append(pObject->File(), pObject->nOffset, pData, cb, &cbDone);
    pObject->nOffset += cbDone;
    if (pcbDone != nullptr)
        *pcbDone = cbDone;
    return Report(dwError);
}

DWORD CSimFileSystem::Size(HANDLE hFile)
{
    if (!m_machine.Enter("IFileSystem::Size"))
        return 0xFFFFFFFF;
    const auto pObject = m_machine.Handles().Find<CFileObject>(hFile);
    if (pObject != nullptr)
        return static_cast<DWORD>(pObject->File().data.size());
    m_machine.Fail(kErrInvalidHandle);
    return 0xFFFFFFFF;
}

bool CSimFileSystem::Close(HANDLE hFile)
{
    if (!m_machine.Enter("IFileSystem::Close"))
        return false;
    return m_machine.Handles().Close<CFileObject>(hFile) || m_machine.Fail(kErrInvalidHandle);
}

bool CSimFileSystem::Copy(const WCHAR* pszFrom, const WCHAR* pszTo, bool bFailIfExists)
{
    if (!m_machine.Enter("IFileSystem::Copy"))
        return false;
    return Report(m_machine.Volume().Copy(Resolve(pszFrom), Resolve(pszTo), bFailIfExists));
}

bool CSimFileSystem::Remove(const WCHAR* pszPath)
{
    if (!m_machine.Enter("IFileSystem::Remove"))
        return false;
    return Report(m_machine.Volume().Remove(Resolve(pszPath)));
}

DWORD CSimFileSystem::Attributes(const WCHAR* pszPath)
{
    if (!m_machine.Enter("IFileSystem::Attributes"))
        return kInvalidAttributes;
    const DWORD dwAttributes = m_machine.Volume().Attributes(Resolve(pszPath));
    if (dwAttributes == kInvalidAttributes)
        m_machine.Fail(kErrFileNotFound);
    return dwAttributes;
}

DWORD CSimFileSystem::SystemFolder(WCHAR* pBuffer, DWORD cch)
{
    return Folder("IFileSystem::SystemFolder", m_strSystem, pBuffer, cch);
}

DWORD CSimFileSystem::WindowsFolder(WCHAR* pBuffer, DWORD cch)
{
    return Folder("IFileSystem::WindowsFolder", m_strWindows, pBuffer, cch);
}

DWORD CSimFileSystem::WorkingFolder(WCHAR* pBuffer, DWORD cch)
{
    return Folder("IFileSystem::WorkingFolder", m_strWorking, pBuffer, cch);
}

DWORD CSimFileSystem::TemporaryFolder(WCHAR* pBuffer, DWORD cch)
{
    return Folder("IFileSystem::TemporaryFolder", m_strTemporary, pBuffer, cch);
}

DWORD CSimFileSystem::VersionSize(const WCHAR* pszPath)
{
    if (!m_machine.Enter("IFileSystem::VersionSize"))
        return 0;
    const WString strPath = Resolve(pszPath);
    if (m_machine.Volume().Version(strPath))
        return sizeof(VersionBlock);
    m_machine.Fail(m_machine.Volume().Exists(strPath) ? kErrResourceTypeNotFound
                                                      : kErrFileNotFound);
    return 0;
}

bool CSimFileSystem::ReadVersion(const WCHAR* pszPath, DWORD cb, void* pBlock)
{
    if (!m_machine.Enter("IFileSystem::ReadVersion"))
        return false;
    const auto info = m_machine.Volume().Version(Resolve(pszPath));
    if (!info)
        return m_machine.Fail(kErrResourceTypeNotFound);
    if (pBlock == nullptr || cb < sizeof(VersionBlock))
        return m_machine.Fail(kErrInsufficientBuffer);
    const VersionBlock block = {sizeof(VersionBlock), *info};
    std::memcpy(pBlock, &block, sizeof block);
    return true;
}

bool CSimFileSystem::QueryRootVersion(const void* pBlock, const FIXED_FILE_INFO** ppInfo)
{
    if (!m_machine.Enter("IFileSystem::QueryRootVersion"))
        return false;
    const auto* const pVersion = static_cast<const VersionBlock*>(pBlock);
    if (pVersion == nullptr || pVersion->cbBlock != sizeof(VersionBlock))
        return m_machine.Fail(kErrInvalidData);
    *ppInfo = &pVersion->info;
    return true;
}

WString CSimFileSystem::Resolve(const WCHAR* pszPath) const
{
    WString strPath = SimText::Of(pszPath);
    const WString strRedirected = m_strSystem + WTEXT("\\");
    if (!m_machine.Process().IsRedirected() || !SimText::StartsNoCase(strPath, strRedirected))
        return strPath;
    return m_strWindows + WTEXT("\\SysWOW64\\") + strPath.substr(strRedirected.size());
}

DWORD CSimFileSystem::Folder(const char* pszOperation, const WString& strFolder, WCHAR* pBuffer,
                             DWORD cch)
{
    if (!m_machine.Enter(pszOperation))
        return 0;
    const auto cchFolder = static_cast<DWORD>(strFolder.size());
    if (pBuffer == nullptr || cch <= cchFolder)
        return cchFolder + 1;
    std::memcpy(pBuffer, strFolder.c_str(), 2 * (size_t{cchFolder} + 1));
    return cchFolder;
}

bool CSimFileSystem::Report(DWORD dwError)
{
    return dwError == kErrNone || m_machine.Fail(dwError);
}
