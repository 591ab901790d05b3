#include "platform/windows/CWinProcess.h"

#include <windows.h>

#include "platform/ErrorCodes.h"

static_assert(sizeof(TOKEN_ELEVATION) == sizeof(DWORD));

namespace
{
constexpr DWORD kModulePathChars = 2048;

/// Looked up at run time: older systems lack some of these.
template<typename Function>
Function KernelFunction(const char* pszName)
{
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32"), pszName)));
}

HMODULE ModuleOf(const void* pCode)
{
    HMODULE hModule = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<const WCHAR*>(pCode), &hModule);
    return hModule;
}

bool NotThere()
{
    ::SetLastError(kErrCallNotImplemented);
    return false;
}
} // namespace

DWORD CWinProcess::LastError() const
{
    return ::GetLastError();
}

void CWinProcess::SetLastError(DWORD dwError)
{
    ::SetLastError(dwError);
}

DWORD CWinProcess::ModulePath(const void* pCode, char* pBuffer, DWORD cb)
{
    HMODULE const hModule = ModuleOf(pCode);
    // Longer than a path usually is: one that was cut short would pass for another.
    WCHAR szPath[kModulePathChars] = {};
    if (hModule == nullptr)
        return 0;
    const DWORD cch = ::GetModuleFileNameW(hModule, szPath, kModulePathChars);
    if (cch == 0 || cch == kModulePathChars)
        return 0;
    const int n = NarrowText(szPath, -1, pBuffer, static_cast<int>(cb));
    return n > 0 ? static_cast<DWORD>(n - 1) : 0;
}

int CWinProcess::NarrowText(const WCHAR* pszText, int cch, char* pBuffer, int cb)
{
    return ::WideCharToMultiByte(CP_ACP, 0, pszText, cch, pBuffer, cb, nullptr, nullptr);
}

HANDLE CWinProcess::LoadedModule(const WCHAR* pszName)
{
    return ::GetModuleHandleW(pszName);
}

HANDLE CWinProcess::LoadModule(const WCHAR* pszName)
{
    return ::LoadLibraryW(pszName);
}

bool CWinProcess::UnloadModule(HANDLE hModule)
{
    return ::FreeLibrary(static_cast<HMODULE>(hModule)) != FALSE;
}

bool CWinProcess::HasFunction(HANDLE hModule, const char* pszName)
{
    return ::GetProcAddress(static_cast<HMODULE>(hModule), pszName) != nullptr;
}

bool CWinProcess::QueryWow64Process2(USHORT* pProcessMachine, USHORT* pNativeMachine)
{
    using Query = BOOL(WINAPI*)(HANDLE, USHORT*, USHORT*);
    const auto pfnQuery = KernelFunction<Query>("IsWow64Process2");
    return pfnQuery != nullptr
               ? pfnQuery(::GetCurrentProcess(), pProcessMachine, pNativeMachine) != FALSE
               : NotThere();
}

bool CWinProcess::QueryWow64Process(int* pnWow64)
{
    using Query = BOOL(WINAPI*)(HANDLE, BOOL*);
    const auto pfnQuery = KernelFunction<Query>("IsWow64Process");
    return pfnQuery != nullptr ? pfnQuery(::GetCurrentProcess(), pnWow64) != FALSE : NotThere();
}

bool CWinProcess::DisableRedirection(void** ppOld)
{
    using Switch = BOOL(WINAPI*)(void**);
    const auto pfnSwitch = KernelFunction<Switch>("Wow64DisableWow64FsRedirection");
    return pfnSwitch != nullptr ? pfnSwitch(ppOld) != FALSE : NotThere();
}

bool CWinProcess::RevertRedirection(void* pOld)
{
    using Switch = BOOL(WINAPI*)(void*);
    const auto pfnSwitch = KernelFunction<Switch>("Wow64RevertWow64FsRedirection");
    return pfnSwitch != nullptr ? pfnSwitch(pOld) != FALSE : NotThere();
}

USHORT CWinProcess::NativeArchitecture()
{
    SYSTEM_INFO info = {};
    ::GetNativeSystemInfo(&info);
    return info.wProcessorArchitecture;
}

bool CWinProcess::SystemVersion(DWORD* pMajor, DWORD* pMinor)
{
    OSVERSIONINFOW info = {};
    info.dwOSVersionInfoSize = sizeof(info);
    if (::GetVersionExW(&info) == FALSE)
        return false;
    *pMajor = info.dwMajorVersion;
    *pMinor = info.dwMinorVersion;
    return true;
}

bool CWinProcess::OpenToken(DWORD dwAccess, HANDLE* phToken)
{
    return ::OpenProcessToken(::GetCurrentProcess(), dwAccess, phToken) != FALSE;
}

bool CWinProcess::TokenElevation(HANDLE hToken, DWORD* pdwElevated, DWORD* pcb)
{
    return ::GetTokenInformation(hToken, ::TokenElevation, pdwElevated, sizeof(*pdwElevated),
                                 pcb) != FALSE;
}

bool CWinProcess::CloseToken(HANDLE hToken)
{
    return ::CloseHandle(hToken) != FALSE;
}

HANDLE CWinProcess::LocateResource(const void* pCode, USHORT wId, const WCHAR* pszType)
{
    m_hResourceModule = ModuleOf(pCode);
    return ::FindResourceW(static_cast<HMODULE>(m_hResourceModule), MAKEINTRESOURCEW(wId), pszType);
}

HANDLE CWinProcess::FetchResource(HANDLE hResource)
{
    return ::LoadResource(static_cast<HMODULE>(m_hResourceModule), static_cast<HRSRC>(hResource));
}

const BYTE* CWinProcess::PinResource(HANDLE hFetched)
{
    return static_cast<const BYTE*>(::LockResource(hFetched));
}

DWORD CWinProcess::ResourceSize(HANDLE hResource)
{
    return ::SizeofResource(static_cast<HMODULE>(m_hResourceModule), static_cast<HRSRC>(hResource));
}
