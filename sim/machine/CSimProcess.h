#pragma once

#include "platform/IProcess.h"

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

class CSimMachine;

/// What a test can say about a simulated process. At first: an elevated 64-bit process on an
/// x64 system, version 10.0.
struct SimProcessTraits
{
    bool bElevated = true;
    DWORD cbElevation = 4; ///< bytes that the token query reports
    DWORD dwMajor = 10;
    DWORD dwMinor = 0;
    USHORT wProcessMachine = 0;     ///< 0: not under WOW64; 0x014C: a 32-bit process
    USHORT wNativeMachine = 0x8664; ///< 0x014C, 0x8664, 0xAA64
    USHORT wArchitecture = 9;       ///< 0 x86, 9 x64, 12 ARM64
    /// What the modules export; take a name out and it is not found.
    std::set<std::string> functions = {"IsWow64Process", "IsWow64Process2",
                                       "Wow64DisableWow64FsRedirection",
                                       "Wow64RevertWow64FsRedirection"};
    std::optional<std::string> modulePath; ///< nothing: passed through to the real system
    /// The port driver's resource as (0, null) finds it; empty: looking it up fails.
    std::vector<BYTE> portDriver = std::vector<BYTE>(4096, 0x5A);
};

/// The process service. The last error is kept per thread and process.
class CSimProcess : public IProcess
{
public:
    explicit CSimProcess(CSimMachine& machine) : m_machine(machine) {}

    SimProcessTraits& Traits() { return m_traits; }
    const SimProcessTraits& Traits() const { return m_traits; }
    bool IsWow64() const { return m_traits.wProcessMachine != 0; }

    /// Whether "system32" leads to "SysWOW64" now.
    bool IsRedirected() const { return IsWow64() && m_nDisabled == 0; }

    DWORD LastError() const override;
    void SetLastError(DWORD dwError) override;
    DWORD ModulePath(const void* pCode, char* pBuffer, DWORD cb) override;
    int NarrowText(const WCHAR* pszText, int cch, char* pBuffer, int cb) override;
    HANDLE LoadedModule(const WCHAR* pszName) override;
    HANDLE LoadModule(const WCHAR* pszName) override;
    bool UnloadModule(HANDLE hModule) override;
    bool HasFunction(HANDLE hModule, const char* pszName) override;
    bool QueryWow64Process2(USHORT* pProcessMachine, USHORT* pNativeMachine) override;
    bool QueryWow64Process(int* pnWow64) override;
    bool DisableRedirection(void** ppOld) override;
    bool RevertRedirection(void* pOld) override;
    USHORT NativeArchitecture() override;
    bool SystemVersion(DWORD* pMajor, DWORD* pMinor) override;
    bool OpenToken(DWORD dwAccess, HANDLE* phToken) override;
    bool TokenElevation(HANDLE hToken, DWORD* pdwElevated, DWORD* pcb) override;
    bool CloseToken(HANDLE hToken) override;
    HANDLE LocateResource(const void* pCode, USHORT wId, const WCHAR* pszType) override;
    HANDLE FetchResource(HANDLE hResource) override;
    const BYTE* PinResource(HANDLE hFetched) override;
    DWORD ResourceSize(HANDLE hResource) override;

private:
    CSimMachine& m_machine;
    SimProcessTraits m_traits;
    int m_nDisabled = 0;
    mutable std::mutex m_lock;
    std::map<std::thread::id, DWORD> m_lastErrors;
};
