#include "platform/linux/CLinuxProcess.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"
#include "platform/linux/Utf8.h"

namespace
{
/// Stands for the process token; there is nothing behind it.
int g_nToken = 0;

/// Stands for the port driver's image.
BYTE g_standInImage[] = "Ports are reached through /dev/port; no driver is loaded.\n";

std::string ResolvedPath(const char* pszPath)
{
    char szFull[PATH_MAX];
    return ::realpath(pszPath, szFull) != nullptr ? szFull : pszPath;
}

/// The file that pCode was mapped from. The kernel names it in full, while the loader's name may be
/// relative to a folder that the process has left since.
std::string MappedFile(const void* pCode, const char* pszLoaded)
{
    const auto at = reinterpret_cast<uintptr_t>(pCode);
    std::ifstream maps("/proc/self/maps");
    for (std::string strLine; std::getline(maps, strLine);) {
        uintptr_t from = 0;
        uintptr_t to = 0;
        char chDash = 0;
        std::istringstream(strLine) >> std::hex >> from >> chDash >> to;
        const std::size_t nPath = strLine.find('/');
        if (from <= at && at < to && nPath != std::string::npos)
            return strLine.substr(nPath);
    }
    return ResolvedPath(pszLoaded);
}
} // namespace

DWORD CLinuxProcess::LastError() const
{
    return ThreadLastError();
}

void CLinuxProcess::SetLastError(DWORD dwError)
{
    FailWith(dwError);
}

DWORD CLinuxProcess::ModulePath(const void* pCode, char* pBuffer, DWORD cb)
{
    Dl_info info = {};
    if (::dladdr(pCode, &info) == 0 || info.dli_fname == nullptr) {
        FailWith(kErrNotFound);
        return 0;
    }
    const std::string strPath =
        info.dli_fname[0] == '/' ? ResolvedPath(info.dli_fname) : MappedFile(pCode, info.dli_fname);
    if (strPath.size() >= cb) {
        FailWith(kErrInsufficientBuffer);
        return 0;
    }
    std::memcpy(pBuffer, strPath.c_str(), strPath.size() + 1);
    return static_cast<DWORD>(strPath.size());
}

int CLinuxProcess::NarrowText(const WCHAR* pszText, int cch, char* pBuffer, int cb)
{
    const std::size_t nUnits =
        cch < 0 ? std::char_traits<WCHAR>::length(pszText) + 1 : static_cast<std::size_t>(cch);
    const std::string strOut = Utf8FromWide(pszText, nUnits);
    const int nNeeded = static_cast<int>(strOut.size());
    if (cb == 0)
        return nNeeded;
    if (nNeeded > cb) {
        FailWith(kErrInsufficientBuffer);
        return 0;
    }
    strOut.copy(pBuffer, strOut.size()); // the terminator is among the units where it is asked for
    return nNeeded;
}

HANDLE CLinuxProcess::LoadedModule(const WCHAR*)
{
    FailWith(kErrNotFound);
    return nullptr;
}

HANDLE CLinuxProcess::LoadModule(const WCHAR*)
{
    FailWith(kErrNotFound);
    return nullptr;
}

bool CLinuxProcess::UnloadModule(HANDLE)
{
    return FailWith(kErrInvalidHandle);
}

bool CLinuxProcess::HasFunction(HANDLE, const char*)
{
    return false;
}

bool CLinuxProcess::QueryWow64Process2(USHORT*, USHORT*)
{
    return FailWith(kErrCallNotImplemented);
}

bool CLinuxProcess::QueryWow64Process(int*)
{
    return FailWith(kErrCallNotImplemented);
}

bool CLinuxProcess::DisableRedirection(void**)
{
    return FailWith(kErrCallNotImplemented);
}

bool CLinuxProcess::RevertRedirection(void*)
{
    return FailWith(kErrCallNotImplemented);
}

USHORT CLinuxProcess::NativeArchitecture()
{
#if defined(__aarch64__)
    return 12;
#else
    return 9;
#endif
}

bool CLinuxProcess::SystemVersion(DWORD* pMajor, DWORD* pMinor)
{
    // What the elevation test asks for is a system that knows elevation.
    *pMajor = 10;
    *pMinor = 0;
    return true;
}

bool CLinuxProcess::OpenToken(DWORD, HANDLE* phToken)
{
    *phToken = &g_nToken;
    return true;
}

bool CLinuxProcess::TokenElevation(HANDLE hToken, DWORD* pdwElevated, DWORD* pcb)
{
    if (hToken != &g_nToken)
        return FailWith(kErrInvalidHandle);
    *pdwElevated = 1;
    *pcb = sizeof *pdwElevated;
    return true;
}

bool CLinuxProcess::CloseToken(HANDLE hToken)
{
    return hToken == &g_nToken || FailWith(kErrInvalidHandle);
}

HANDLE CLinuxProcess::LocateResource(const void*, USHORT wId, const WCHAR* pszType)
{
    if (wId == 0 && pszType == nullptr)
        return g_standInImage;
    FailWith(kErrResourceNameNotFound);
    return nullptr;
}

HANDLE CLinuxProcess::FetchResource(HANDLE hResource)
{
    if (hResource == g_standInImage)
        return hResource;
    FailWith(kErrInvalidHandle);
    return nullptr;
}

const BYTE* CLinuxProcess::PinResource(HANDLE hFetched)
{
    if (hFetched == g_standInImage)
        return g_standInImage;
    FailWith(kErrInvalidHandle);
    return nullptr;
}

DWORD CLinuxProcess::ResourceSize(HANDLE hResource)
{
    if (hResource == g_standInImage)
        return sizeof g_standInImage;
    FailWith(kErrInvalidHandle);
    return 0;
}
