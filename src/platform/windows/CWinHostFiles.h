#pragma once

#include "platform/IHostFiles.h"

/// The host's files; paths are in the system's narrow code page.
class CWinHostFiles : public IHostFiles
{
public:
    char Separator() const override { return '\\'; }
    HANDLE OpenForReading(const char* pszPath) override;
    HANDLE OpenForAppending(const char* pszPath) override;
    bool Read(HANDLE hFile, void* pBuffer, DWORD cb, DWORD* pcbDone) override;
    bool Write(HANDLE hFile, const void* pData, DWORD cb) override;
    bool Close(HANDLE hFile) override;
    bool Remove(const char* pszPath) override;
};
