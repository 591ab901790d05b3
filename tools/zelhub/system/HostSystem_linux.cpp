#include "tools/zelhub/system/HostSystem.h"
#include "tools/zelhub/system/LeaveCard.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

std::atomic<int> g_nInterrupts{0};

void WriteAll(int nFile, const char* p, size_t cb)
{
    while (cb != 0) {
        const ssize_t n = ::write(nFile, p, cb);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return;
        p += n;
        cb -= static_cast<size_t>(n);
    }
}

// Only what a signal handler may do: no allocation, no locks.
[[noreturn]] void Leave(const char* pszReason)
{
    WriteAll(STDERR_FILENO, pszReason, std::strlen(pszReason));
    const LeaveCard& card = CurrentLeaveCard();
    WriteAll(STDERR_FILENO, card.error.text, card.error.cb);
    WriteAll(STDOUT_FILENO, card.data.text, card.data.cb);
    ::_exit(card.nExitCode);
}

void OnInterrupt(int /*nSignal*/)
{
    const int nSaved = errno;
    if (g_nInterrupts.fetch_add(1) != 0)
        Leave("\nzelhub: left at once.\n");
    errno = nSaved;
}

/// A file, locked while this object lives. Who had it for himself takes it along; it is found
/// locked by name only while the name is still its own.
class CFileLock : public HostSystem::CProcessLock
{
public:
    CFileLock(int nFile, std::string strPath) : m_nFile(nFile), m_strPath(std::move(strPath)) {}
    CFileLock(const CFileLock&) = delete;
    CFileLock& operator=(const CFileLock&) = delete;
    ~CFileLock() override
    {
        if (m_bAlone && IsNamed())
            ::unlink(m_strPath.c_str());
        ::close(m_nFile);
    }

    /// @return false with errno set
    bool Take(bool bShared)
    {
        const bool bTaken = ::flock(m_nFile, (bShared ? LOCK_SH : LOCK_EX) | LOCK_NB) == 0;
        m_bAlone = bTaken && !bShared;
        return bTaken;
    }

    /// Whether the path still leads to this file: a holder that left may have taken it along.
    bool IsNamed() const
    {
        struct stat open = {};
        struct stat named = {};
        return ::fstat(m_nFile, &open) == 0 && ::lstat(m_strPath.c_str(), &named) == 0 &&
               open.st_dev == named.st_dev && open.st_ino == named.st_ino;
    }

private:
    int m_nFile;
    std::string m_strPath;
    bool m_bAlone = false;
};

/// The same for all users: where only root may write, the others would lock elsewhere.
std::string LockFolder()
{
    struct stat st = {};
    const bool bEverybodys =
        ::stat("/run/lock", &st) == 0 && S_ISDIR(st.st_mode) && (st.st_mode & S_IWOTH) != 0;
    return bEverybodys ? "/run/lock" : "/tmp";
}

int OpenLockFile(const std::string& strPath)
{
    constexpr mode_t kEverybody = 0666;
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW;
    const int nFile = ::open(strPath.c_str(), kFlags | O_CREAT | O_EXCL, kEverybody);
    if (nFile < 0) // it is there, or cannot be; a file that another user made keeps its mode
        return ::open(strPath.c_str(), kFlags | O_NONBLOCK);
    (void)::fchmod(nFile, kEverybody); // so that other users' updates see the lock as well
    return nFile;
}

std::string WriteTo(int nFile, const void* pData, size_t cb, bool bSync)
{
    const char* p = static_cast<const char*>(pData);
    while (cb != 0) {
        const ssize_t n = ::write(nFile, p, cb);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return std::strerror(errno);
        p += n;
        cb -= static_cast<size_t>(n);
    }
    if (bSync && ::fsync(nFile) != 0 && errno != EINVAL && errno != EROFS)
        return std::strerror(errno);
    return {};
}

std::string WriteAndClose(int nFile, const void* pData, size_t cb, bool bSync)
{
    if (nFile < 0)
        return std::strerror(errno);
    std::string strWhy = WriteTo(nFile, pData, cb, bSync);
    if (::close(nFile) != 0 && strWhy.empty())
        strWhy = std::strerror(errno);
    return strWhy;
}

} // namespace

bool HostSystem::IsTerminal(bool bStandardError)
{
    if (::isatty(bStandardError ? STDERR_FILENO : STDOUT_FILENO) == 0)
        return false;
    const char* const pszTerm = std::getenv("TERM");
    return pszTerm == nullptr || std::strcmp(pszTerm, "dumb") != 0;
}

int HostSystem::TerminalWidth()
{
    constexpr int kUsual = 80;
    winsize size = {};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return kUsual;
    return size.ws_col;
}

void HostSystem::PrepareStreams() {}

void HostSystem::CatchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = OnInterrupt;
    action.sa_flags = SA_RESTART;
    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(nSignal, &action, nullptr);
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, nullptr);
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
    const std::string strPath = LockFolder() + "/" + strName;
    constexpr int kTries = 100; // a holder may take the file along between any two steps
    int nError = 0;
    for (int i = 0; i < kTries; ++i) {
        const int nFile = OpenLockFile(strPath);
        nError = errno;
        if (nFile < 0 && nError != ENOENT)
            break;
        if (nFile < 0)
            continue;
        auto pFile = std::make_unique<CFileLock>(nFile, strPath);
        if (!pFile->Take(bShared)) {
            nError = errno;
            break;
        }
        if (pFile->IsNamed()) {
            pLock = std::move(pFile);
            return LockResult::Held;
        }
    }
    strWhy = strPath + ": " + std::strerror(nError);
    return nError == EWOULDBLOCK ? LockResult::Busy : LockResult::Failed;
}

std::string HostSystem::WriteWhole(const std::string& strPath, const void* pData, size_t cb,
                                   bool bSync)
{
    constexpr mode_t kUsual = 0666;
    struct stat st = {};
    if (::stat(strPath.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) {
        if (S_ISDIR(st.st_mode))
            return std::strerror(EISDIR);
        return WriteAndClose(::open(strPath.c_str(), O_WRONLY | O_CLOEXEC), pData, cb, bSync);
    }
    const std::string strPart = strPath + ".part" + std::to_string(::getpid());
    const int nFile = ::open(strPart.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kUsual);
    std::string strWhy = WriteAndClose(nFile, pData, cb, bSync);
    if (strWhy.empty() && ::rename(strPart.c_str(), strPath.c_str()) != 0)
        strWhy = std::strerror(errno);
    if (!strWhy.empty() && nFile >= 0)
        ::unlink(strPart.c_str());
    return strWhy;
}

std::ifstream HostSystem::OpenToRead(const std::string& strPath)
{
    return std::ifstream(strPath, std::ios::binary); // replacing hides no file from its readers
}

std::string HostSystem::RightToOpenHint()
{
    return "To allow it, type: sudo sh -c 'zelhub udev-rule >> /etc/udev/rules.d/60-zelhub.rules && "
           "udevadm control --reload && udevadm trigger --subsystem-match=usb'";
}

bool HostSystem::LoadsDrivers()
{
    return false;
}

std::string HostSystem::AbsolutePath(const std::string& strPath)
{
    std::error_code error;
    const std::filesystem::path path = std::filesystem::weakly_canonical(strPath, error);
    return error ? strPath : path.string();
}
