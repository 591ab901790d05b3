#pragma once

#include "platform/Types.h"

/// Files under the host's own paths: narrow, in the system's form, byte for byte (log file,
/// firmware image). Failures set the thread's last error, successes leave it alone.
class IHostFiles
{
public:
    virtual ~IHostFiles() = default;

    /// The character behind which a path is cut: '\\' on Windows, '/' elsewhere.
    virtual char Separator() const = 0;

    /// @return a handle for Close, or InvalidHandle()
    virtual HANDLE OpenForReading(const char* pszPath) = 0;

    /// Opens for binary appending, making the file where it is missing; never truncates, and
    /// lets others read and write it. @return a handle for Close, or InvalidHandle()
    virtual HANDLE OpenForAppending(const char* pszPath) = 0;

    /// Reads up to cb bytes; *pcbDone 0 with success is the end. @return true on success
    virtual bool Read(HANDLE hFile, void* pBuffer, DWORD cb, DWORD* pcbDone) = 0;

    /// @return true when all cb bytes were written
    virtual bool Write(HANDLE hFile, const void* pData, DWORD cb) = 0;

    /// @return true on success
    virtual bool Close(HANDLE hFile) = 0;

    /// Deletes a file. @return true on success
    virtual bool Remove(const char* pszPath) = 0;
};
