#pragma once

#include "platform/FileConstants.h"

/// The root block of a file's version resource (layout of VS_FIXEDFILEINFO).
struct FIXED_FILE_INFO
{
    DWORD dwSignature;
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS; ///< major in the high word, minor in the low
    DWORD dwFileVersionLS; ///< build in the high word, revision in the low
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};
static_assert(sizeof(FIXED_FILE_INFO) == 52);

/// Files under paths that the library composes: wide, with backslashes on every platform
/// (driver files, flag file). Failures set the thread's last error, successes leave it alone.
class IFileSystem
{
public:
    virtual ~IFileSystem() = default;

    /// @return a handle for Close, or InvalidHandle()
    virtual HANDLE Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
                        DWORD dwAttributes) = 0;

    /// Writes cb bytes; *pcbDone receives how many were written. @return true on success
    virtual bool Write(HANDLE hFile, const void* pData, DWORD cb, DWORD* pcbDone) = 0;

    /// @return the low 32 bits of the size in bytes, or 0xFFFFFFFF
    virtual DWORD Size(HANDLE hFile) = 0;

    /// @return true on success
    virtual bool Close(HANDLE hFile) = 0;

    /// @return true on success
    virtual bool Copy(const WCHAR* pszFrom, const WCHAR* pszTo, bool bFailIfExists) = 0;

    /// @return true on success
    virtual bool Remove(const WCHAR* pszPath) = 0;

    /// @return attribute bits, or kInvalidAttributes
    virtual DWORD Attributes(const WCHAR* pszPath) = 0;

    /// Folders, written with their terminator. The temporary folder ends in a backslash, the
    /// others do not. cch counts characters.
    /// @return characters without the terminator, or the needed count, or 0 on failure
    virtual DWORD SystemFolder(WCHAR* pBuffer, DWORD cch) = 0;
    virtual DWORD WindowsFolder(WCHAR* pBuffer, DWORD cch) = 0;
    virtual DWORD WorkingFolder(WCHAR* pBuffer, DWORD cch) = 0;
    virtual DWORD TemporaryFolder(WCHAR* pBuffer, DWORD cch) = 0;

    /// @return bytes of the file's version resource, 0 when it has none
    virtual DWORD VersionSize(const WCHAR* pszPath) = 0;

    /// Reads the version resource into the caller's cb bytes. @return true on success
    virtual bool ReadVersion(const WCHAR* pszPath, DWORD cb, void* pBlock) = 0;

    /// Finds the root block inside a block that ReadVersion filled; *ppInfo points into it.
    /// @return true on success
    virtual bool QueryRootVersion(const void* pBlock, const FIXED_FILE_INFO** ppInfo) = 0;
};
