#pragma once

#include "platform/IProcess.h"

/// The process on Linux: no modules to look into, never under WOW64. The one resource stands for
/// the port driver's image, so that loading it goes on to what stands for the driver. "Elevated"
/// means able to do what the power switch needs, and that is always so.
class CLinuxProcess : public IProcess
{
public:
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
};
