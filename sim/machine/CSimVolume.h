#pragma once

#include "platform/IFileSystem.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

/// One file of the volume.
struct SimFile
{
    WString strPath; ///< as it was first written
    std::vector<BYTE> data;
    DWORD dwAttributes = kAttributeNormal;
    std::multimap<DWORD, DWORD> opens; ///< access and sharing of each open handle
    bool bDeletePending = false;       ///< opens fail with 5; gone with the last handle
};

/// The machine's disk, in memory; shared by all simulated processes. Paths are wide, with
/// backslashes; case is ignored. Sharing and deletion follow the system's rules: a delete-on-close
/// file whose deleter is gone refuses opens with 5 until its last handle is closed.
class CSimVolume
{
public:
    CSimVolume();
    ~CSimVolume();

    void AddFolder(const WString& strPath);                   ///< with all folders above it
    void Put(const WString& strPath, std::vector<BYTE> data); ///< folders are made as needed
    void Erase(const WString& strPath);
    bool Exists(const WString& strPath) const;
    const std::vector<BYTE>* Data(const WString& strPath) const; ///< null: no such file
    unsigned OpenHandles(const WString& strPath) const;
    std::vector<WString> Files() const; ///< paths of all files, sorted

    /// A driver-like file of cb bytes with a version resource that says a.b.c.d.
    static std::vector<BYTE> VersionedImage(size_t cb, USHORT a, USHORT b, USHORT c, USHORT d);

    /// Bytes that can still be written (writes beyond fail with 112); nothing: no limit.
    void SetFreeBytes(std::optional<size_t> cbFree) { m_cbFree = cbFree; }

    /// Every open (copies and deletions too) of a path fails with a code (0: no longer).
    void SetPathError(const WString& strPath, DWORD dwError);

    /// Tells which files cannot be written because a running driver was loaded from them.
    void SetInUse(std::function<bool(const WString&)> inUse) { m_inUse = std::move(inUse); }

    // For the file service. Results are 0 or error codes.
    DWORD Open(const WString& strPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
               DWORD dwFlags, std::shared_ptr<SimFile>* ppFile);
    void Close(const std::shared_ptr<SimFile>& pFile, DWORD dwAccess, DWORD dwShare,
               bool bDeleteOnClose);
    DWORD Append(SimFile& file, size_t nOffset, const void* pData, DWORD cb, DWORD* pcbDone);
    DWORD Copy(const WString& strFrom, const WString& strTo, bool bFailIfExists);
    DWORD Remove(const WString& strPath);
    DWORD Attributes(const WString& strPath) const; ///< or kInvalidAttributes
    std::optional<FIXED_FILE_INFO> Version(const WString& strPath) const;

private:
    DWORD CheckFolder(const WString& strFolded) const;
    DWORD CheckSharing(const SimFile& file, DWORD dwAccess, DWORD dwShare) const;
    DWORD PathError(const WString& strFolded) const;
    void Charge(size_t cb);

    std::map<WString, std::shared_ptr<SimFile>> m_files; // by folded path
    std::map<WString, WString> m_folders;                // folded, as written
    std::map<WString, DWORD> m_pathErrors;
    std::optional<size_t> m_cbFree;
    std::function<bool(const WString&)> m_inUse;
};
