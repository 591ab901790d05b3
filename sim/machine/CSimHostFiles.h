#pragma once

#include "platform/IHostFiles.h"

#include <map>
#include <string>
#include <vector>

class CSimMachine;

/// The host's own files: passed through to the real system, or kept in memory when a test says
/// so. Either way every call can be made to fail.
class CSimHostFiles : public IHostFiles
{
public:
    explicit CSimHostFiles(CSimMachine& machine) : m_machine(machine) {}

    void UseMemory() { m_bMemory = true; } ///< from now on, no file of the real system is touched
    /// 0: '/' in memory, otherwise the real one.
    void SetSeparator(char chSeparator) { m_chSeparator = chSeparator; }

    void Put(const std::string& strPath, std::vector<BYTE> data);    ///< into memory
    const std::vector<BYTE>* Data(const std::string& strPath) const; ///< from memory, or null
    std::string Text(const std::string& strPath) const; ///< from memory; "" when it is not there

    char Separator() const override;
    HANDLE OpenForReading(const char* pszPath) override;
    HANDLE OpenForAppending(const char* pszPath) override;
    bool Read(HANDLE hFile, void* pBuffer, DWORD cb, DWORD* pcbDone) override;
    bool Write(HANDLE hFile, const void* pData, DWORD cb) override;
    bool Close(HANDLE hFile) override;
    bool Remove(const char* pszPath) override;

private:
    HANDLE OpenReal(const char* pszPath, bool bAppend);
    HANDLE OpenMemory(const char* pszPath, bool bAppend);
    bool PassOn(bool bDone);

    CSimMachine& m_machine;
    std::map<std::string, std::vector<BYTE>> m_files;
    bool m_bMemory = false;
    char m_chSeparator = 0;
};
