#include "sim/machine/CSimHostFiles.h"

#include "sim/machine/CSimMachine.h"

#include <algorithm>

namespace
{
/// A file of the real system; closed with the simulated process at the latest.
class CRealFileObject : public CSimHandleObject
{
public:
    explicit CRealFileObject(HANDLE hGiven) : hFile(hGiven) {}
    ~CRealFileObject() override
    {
        if (hFile != nullptr)
            RealPlatform().HostFiles().Close(hFile);
    }
    HANDLE hFile;
};

class CMemoryFileObject : public CSimHandleObject
{
public:
    CMemoryFileObject(std::string strGivenPath, bool bGivenAppend)
        : strPath(std::move(strGivenPath)), bAppend(bGivenAppend)
    {}
    std::string strPath;
    bool bAppend;
    size_t nOffset = 0;
};
} // namespace

void CSimHostFiles::Put(const std::string& strPath, std::vector<BYTE> data)
{
    m_files[strPath] = std::move(data);
}

const std::vector<BYTE>* CSimHostFiles::Data(const std::string& strPath) const
{
    const auto it = m_files.find(strPath);
    return it == m_files.end() ? nullptr : &it->second;
}

std::string CSimHostFiles::Text(const std::string& strPath) const
{
    const std::vector<BYTE>* const pData = Data(strPath);
    return pData == nullptr ? std::string() : std::string(pData->begin(), pData->end());
}

char CSimHostFiles::Separator() const
{
    if (m_chSeparator != 0)
        return m_chSeparator;
    return m_bMemory ? '/' : RealPlatform().HostFiles().Separator();
}

HANDLE CSimHostFiles::OpenForReading(const char* pszPath)
{
    if (!m_machine.Enter("IHostFiles::OpenForReading"))
        return InvalidHandle();
    return m_bMemory ? OpenMemory(pszPath, false) : OpenReal(pszPath, false);
}

HANDLE CSimHostFiles::OpenForAppending(const char* pszPath)
{
    if (!m_machine.Enter("IHostFiles::OpenForAppending"))
        return InvalidHandle();
    return m_bMemory ? OpenMemory(pszPath, true) : OpenReal(pszPath, true);
}

bool CSimHostFiles::Read(HANDLE hFile, void* pBuffer, DWORD cb, DWORD* pcbDone)
{
    *pcbDone = 0;
    if (!m_machine.Enter("IHostFiles::Read"))
        return false;
    if (const auto pReal = m_machine.Handles().Find<CRealFileObject>(hFile))
        return PassOn(RealPlatform().HostFiles().Read(pReal->hFile, pBuffer, cb, pcbDone));
    const auto pFile = m_machine.Handles().Find<CMemoryFileObject>(hFile);
    if (pFile == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    const std::vector<BYTE>& data = m_files[pFile->strPath];
    const size_t nFrom = std::min(pFile->nOffset, data.size());
    const size_t cbCan = std::min<size_t>(cb, data.size() - nFrom);
    std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(nFrom), cbCan,
                static_cast<BYTE*>(pBuffer));
    pFile->nOffset = nFrom + cbCan;
    *pcbDone = static_cast<DWORD>(cbCan);
    return true;
}

bool CSimHostFiles::Write(HANDLE hFile, const void* pData, DWORD cb)
{
    if (!m_machine.Enter("IHostFiles::Write"))
        return false;
    if (const auto pReal = m_machine.Handles().Find<CRealFileObject>(hFile))
        return PassOn(RealPlatform().HostFiles().Write(pReal->hFile, pData, cb));
    const auto pFile = m_machine.Handles().Find<CMemoryFileObject>(hFile);
    if (pFile == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    if (!pFile->bAppend)
        return m_machine.Fail(kErrAccessDenied);
    const auto* const pBytes = static_cast<const BYTE*>(pData);
    std::vector<BYTE>& data = m_files[pFile->strPath];
    data.insert(data.end(), pBytes, pBytes + cb);
    return true;
}

bool CSimHostFiles::Close(HANDLE hFile)
{
    if (!m_machine.Enter("IHostFiles::Close"))
        return false;
    CSimHandles& handles = m_machine.Handles();
    if (const auto pReal = handles.Find<CRealFileObject>(hFile)) {
        const bool bDone = PassOn(RealPlatform().HostFiles().Close(pReal->hFile));
        pReal->hFile = nullptr;
        handles.Close<CRealFileObject>(hFile);
        return bDone;
    }
    return handles.Close<CMemoryFileObject>(hFile) || m_machine.Fail(kErrInvalidHandle);
}

bool CSimHostFiles::Remove(const char* pszPath)
{
    if (!m_machine.Enter("IHostFiles::Remove"))
        return false;
    if (!m_bMemory)
        return PassOn(RealPlatform().HostFiles().Remove(pszPath));
    return m_files.erase(pszPath) != 0 || m_machine.Fail(kErrFileNotFound);
}

HANDLE CSimHostFiles::OpenReal(const char* pszPath, bool bAppend)
{
    IHostFiles& files = RealPlatform().HostFiles();
    const HANDLE hFile = bAppend ? files.OpenForAppending(pszPath) : files.OpenForReading(pszPath);
    if (hFile == InvalidHandle()) {
        PassOn(false);
        return hFile;
    }
    return m_machine.Handles().Add("host file", pszPath, std::make_shared<CRealFileObject>(hFile));
}

HANDLE CSimHostFiles::OpenMemory(const char* pszPath, bool bAppend)
{
    if (!bAppend && !m_files.contains(pszPath))
        return m_machine.FailInvalid(kErrFileNotFound);
    m_files.try_emplace(pszPath);
    return m_machine.Handles().Add("host file", pszPath,
                                   std::make_shared<CMemoryFileObject>(pszPath, bAppend));
}

/// Takes over the real system's last error with a failure.
bool CSimHostFiles::PassOn(bool bDone)
{
    return bDone || m_machine.Fail(RealPlatform().Process().LastError());
}
