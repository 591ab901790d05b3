#include "tools/zelhub/system/HostSystem.h"
#include "tools/zelhub/system/LeaveCard.h"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

// clang-format off
#include <windows.h>
#include <fcntl.h>
#include <io.h>
// clang-format on

namespace
{

std::atomic<int> g_nInterrupts{0};

// How long those are waited for who read a file that is to be replaced, or replace one that is
// to be read.
constexpr int kTries = 100;
constexpr DWORD kPauseMs = 10;

void WriteAll(DWORD dwStream, const char* p, size_t cb)
{
    DWORD cbDone = 0;
    ::WriteFile(::GetStdHandle(dwStream), p, static_cast<DWORD>(cb), &cbDone, nullptr);
}

[[noreturn]] void Leave(const char* pszReason)
{
    WriteAll(STD_ERROR_HANDLE, pszReason, std::strlen(pszReason));
    const LeaveCard& card = CurrentLeaveCard();
    WriteAll(STD_ERROR_HANDLE, card.error.text, card.error.cb);
    WriteAll(STD_OUTPUT_HANDLE, card.data.text, card.data.cb);
    // Neither destructors nor other modules get a say: the thread in the middle of an operation
    // still runs.
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(card.nExitCode));
    for (;;)
        ::Sleep(INFINITE);
}

/// Called on a thread of the system's own.
BOOL WINAPI OnInterrupt(DWORD /*dwEvent*/)
{
    if (g_nInterrupts.fetch_add(1) != 0)
        Leave("\nzelhub: left at once.\n");
    return TRUE;
}

std::string Words(DWORD dwError)
{
    return std::system_category().message(static_cast<int>(dwError));
}

class CHandleLock : public HostSystem::CProcessLock
{
public:
    explicit CHandleLock(HANDLE hFile) : m_hFile(hFile) {}
    CHandleLock(const CHandleLock&) = delete;
    CHandleLock& operator=(const CHandleLock&) = delete;
    ~CHandleLock() override { ::CloseHandle(m_hFile); }

private:
    HANDLE m_hFile;
};

/// A folder that all users of the machine share, since hubs are not any user's own.
std::string LockFolder()
{
    char szFolder[MAX_PATH] = {};
    const DWORD cch = ::GetEnvironmentVariableA("ProgramData", szFolder, sizeof szFolder);
    if (cch == 0 || cch >= sizeof szFolder) {
        const DWORD cchTemporary = ::GetTempPathA(sizeof szFolder, szFolder);
        return {szFolder, cchTemporary};
    }
    return std::string(szFolder, cch) + "\\";
}

/// @return 0, or the system's error code
DWORD WriteTo(HANDLE hFile, const void* pData, size_t cb, bool bSync)
{
    constexpr size_t kPiece = 1 << 20;
    const char* p = static_cast<const char*>(pData);
    while (cb != 0) {
        const DWORD cbPiece = static_cast<DWORD>(cb < kPiece ? cb : kPiece);
        DWORD cbDone = 0;
        if (::WriteFile(hFile, p, cbPiece, &cbDone, nullptr) == FALSE)
            return ::GetLastError();
        if (cbDone == 0)
            return ERROR_DISK_FULL;
        p += cbDone;
        cb -= cbDone;
    }
    // Pipes and devices cannot be flushed and need not be.
    if (bSync && ::GetFileType(hFile) == FILE_TYPE_DISK && ::FlushFileBuffers(hFile) == FALSE)
        return ::GetLastError();
    return 0;
}

DWORD WriteFileAt(const std::string& strPath, DWORD dwDisposition, const void* pData, size_t cb,
                  bool bSync)
{
    HANDLE const hFile = ::CreateFileA(strPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                       dwDisposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return ::GetLastError();
    const DWORD dwError = WriteTo(hFile, pData, cb, bSync);
    ::CloseHandle(hFile);
    return dwError;
}

/// Puts one file in another's place. Who reads that one at the moment is waited for.
DWORD Replace(const std::string& strPart, const std::string& strPath)
{
    for (int i = 0;; ++i) {
        if (::MoveFileExA(strPart.c_str(), strPath.c_str(),
                          MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE)
            return 0;
        const DWORD dwError = ::GetLastError();
        if ((dwError != ERROR_SHARING_VIOLATION && dwError != ERROR_ACCESS_DENIED) || i == kTries)
            return dwError;
        ::Sleep(kPauseMs);
    }
}

bool IsDeviceOrPipe(const std::string& strPath)
{
    HANDLE const hFile =
        ::CreateFileA(strPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return false;
    const bool bDisk = ::GetFileType(hFile) == FILE_TYPE_DISK;
    ::CloseHandle(hFile);
    return !bDisk;
}

} // namespace

bool HostSystem::IsTerminal(bool bStandardError)
{
    DWORD dwMode = 0;
    HANDLE const hStream = ::GetStdHandle(bStandardError ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    return ::GetConsoleMode(hStream, &dwMode) != FALSE;
}

int HostSystem::TerminalWidth()
{
    constexpr int kUsual = 80;
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (::GetConsoleScreenBufferInfo(::GetStdHandle(STD_ERROR_HANDLE), &info) == FALSE)
        return kUsual;
    const int nColumns = info.srWindow.Right - info.srWindow.Left + 1;
    return nColumns > 0 ? nColumns : kUsual;
}

void HostSystem::PrepareStreams()
{
    ::_setmode(::_fileno(stdout), _O_BINARY);
    ::_setmode(::_fileno(stderr), _O_BINARY);
    ::SetConsoleOutputCP(CP_UTF8);
}

void HostSystem::CatchInterrupts()
{
    ::SetConsoleCtrlHandler(OnInterrupt, TRUE);
}

int HostSystem::Interrupts()
{
    return g_nInterrupts.load();
}

void HostSystem::LeaveNow(const char* pszReason)
{
    Leave(pszReason);
}

HostSystem::LockResult HostSystem::TakeLock(const std::string& strName, bool bShared,
                                            std::unique_ptr<CProcessLock>& pLock,
                                            std::string& strWhy)
{
    // The open itself is the lock, by what it shares; the system ends it with the process.
    const std::string strPath = LockFolder() + strName;
    const DWORD dwAccess = bShared ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    HANDLE const hFile = ::CreateFileA(strPath.c_str(), dwAccess, bShared ? FILE_SHARE_READ : 0,
                                       nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile != INVALID_HANDLE_VALUE) {
        pLock = std::make_unique<CHandleLock>(hFile);
        return LockResult::Held;
    }
    const DWORD dwError = ::GetLastError();
    strWhy = strPath + ": " + Words(dwError);
    return dwError == ERROR_SHARING_VIOLATION ? LockResult::Busy : LockResult::Failed;
}

std::string HostSystem::WriteWhole(const std::string& strPath, const void* pData, size_t cb,
                                   bool bSync)
{
    const DWORD dwAttributes = ::GetFileAttributesA(strPath.c_str());
    if (dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return Words(ERROR_DIRECTORY);
    if (IsDeviceOrPipe(strPath)) {
        const DWORD dwError = WriteFileAt(strPath, OPEN_EXISTING, pData, cb, bSync);
        return dwError == 0 ? std::string() : Words(dwError);
    }
    const std::string strPart = strPath + ".part" + std::to_string(::GetCurrentProcessId());
    DWORD dwError = WriteFileAt(strPart, CREATE_ALWAYS, pData, cb, bSync);
    if (dwError == 0)
        dwError = Replace(strPart, strPath);
    if (dwError == 0)
        return {};
    ::DeleteFileA(strPart.c_str());
    return Words(dwError);
}

std::ifstream HostSystem::OpenToRead(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    for (int i = 0; i < kTries && !file.is_open(); ++i) {
        ::Sleep(kPauseMs);
        file.open(strPath, std::ios::binary);
    }
    return file;
}

std::string HostSystem::RightToOpenHint()
{
    return "Run as administrator.";
}

bool HostSystem::LoadsDrivers()
{
    return true;
}

std::string HostSystem::AbsolutePath(const std::string& strPath)
{
    std::error_code error;
    const std::filesystem::path path = std::filesystem::weakly_canonical(strPath, error);
    return error ? strPath : path.string();
}
