#pragma once

#include "platform/Types.h"

constexpr DWORD kTokenQuery = 8;

/// What the process is and where it runs. Failures set the thread's last error, successes leave
/// it alone.
class IProcess
{
public:
    virtual ~IProcess() = default;

    /// The calling thread's last error: every service's failures set it.
    virtual DWORD LastError() const = 0;
    virtual void SetLastError(DWORD dwError) = 0;

    /// The file of the module that holds pCode, as narrow text in the system's own form.
    /// @return bytes without the terminator, or 0
    virtual DWORD ModulePath(const void* pCode, char* pBuffer, DWORD cb) = 0;

    /// Converts wide text to the system's narrow code page (UTF-8 off Windows); what cannot be
    /// converted becomes "?". With cb 0 only the size is computed.
    /// @param cch characters, or -1 for text and terminator
    /// @return bytes written or needed (with the terminator when cch is -1), or 0 on failure
    virtual int NarrowText(const WCHAR* pszText, int cch, char* pBuffer, int cb) = 0;

    /// A module that is loaded already; not counted. @return null when it is not
    virtual HANDLE LoadedModule(const WCHAR* pszName) = 0;

    /// Loads a module. @return a handle for UnloadModule, or null
    virtual HANDLE LoadModule(const WCHAR* pszName) = 0;
    virtual bool UnloadModule(HANDLE hModule) = 0; ///< true on success

    /// Whether the module exports a function of that name.
    virtual bool HasFunction(HANDLE hModule, const char* pszName) = 0;

    /// Each may be called only where HasFunction said so. @return true on success
    virtual bool QueryWow64Process2(USHORT* pProcessMachine, USHORT* pNativeMachine) = 0;
    virtual bool QueryWow64Process(int* pnWow64) = 0;
    virtual bool DisableRedirection(void** ppOld) = 0;
    virtual bool RevertRedirection(void* pOld) = 0;

    /// The native processor architecture (0 = x86, 9 = x64, 12 = ARM64).
    virtual USHORT NativeArchitecture() = 0;

    /// @return true on success
    virtual bool SystemVersion(DWORD* pMajor, DWORD* pMinor) = 0;

    /// @return true on success; *phToken is then for CloseToken
    virtual bool OpenToken(DWORD dwAccess, HANDLE* phToken) = 0;

    /// @param pcb receives the bytes written to *pdwElevated @return true on success
    virtual bool TokenElevation(HANDLE hToken, DWORD* pdwElevated, DWORD* pcb) = 0;
    virtual bool CloseToken(HANDLE hToken) = 0;

    /// Resources of the module that holds pCode. @return null on failure
    virtual HANDLE LocateResource(const void* pCode, USHORT wId, const WCHAR* pszType) = 0;
    virtual HANDLE FetchResource(HANDLE hResource) = 0;
    virtual const BYTE* PinResource(HANDLE hFetched) = 0;
    virtual DWORD ResourceSize(HANDLE hResource) = 0; ///< bytes, 0 on failure
};
