#include "platform/linux/CSysfs.h"

#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr std::size_t kAttributeBytes = 4096; // sysfs gives a page at most
} // namespace

std::vector<std::string> CSysfs::List(const std::string& strFolder) const
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> pFolder(
        ::opendir((m_strRoot + "/" + strFolder).c_str()), ::closedir);
    if (!pFolder)
        return names;
    while (const dirent* const pEntry = ::readdir(pFolder.get())) {
        if (pEntry->d_name[0] != '.')
            names.emplace_back(pEntry->d_name);
    }
    return names;
}

std::optional<std::string> CSysfs::Read(const std::string& strFile) const
{
    const int nFile = ::open((m_strRoot + "/" + strFile).c_str(), O_RDONLY | O_CLOEXEC);
    if (nFile < 0)
        return std::nullopt;
    std::array<char, kAttributeBytes> text{};
    const ssize_t n = ::read(nFile, text.data(), text.size());
    ::close(nFile);
    if (n < 0)
        return std::nullopt;
    std::string strText(text.data(), static_cast<std::size_t>(n));
    while (!strText.empty() && (strText.back() == '\n' || strText.back() == '\0'))
        strText.pop_back();
    return strText;
}

std::string CSysfs::Target(const std::string& strLink) const
{
    std::array<char, PATH_MAX> target{};
    const ssize_t n = ::readlink((m_strRoot + "/" + strLink).c_str(), target.data(), target.size());
    if (n <= 0)
        return {};
    // The kernel's links are relative and climb to the root: "../../../devices/...".
    std::string strTarget(target.data(), static_cast<std::size_t>(n));
    while (strTarget.rfind("../", 0) == 0)
        strTarget.erase(0, 3);
    return strTarget.rfind("devices/", 0) == 0 ? strTarget : std::string();
}

std::string CSysfs::Identity(const std::string& strFolder) const
{
    struct stat info = {};
    if (::stat((m_strRoot + "/" + strFolder).c_str(), &info) != 0)
        return {};
    return std::to_string(info.st_ino) + "/" + std::to_string(info.st_ctim.tv_sec) + "." +
           std::to_string(info.st_ctim.tv_nsec);
}

int CSysfs::Write(const std::string& strFile, const std::string& strText) const
{
    const int nFile = ::open((m_strRoot + "/" + strFile).c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (nFile < 0)
        return errno;
    const ssize_t n = ::write(nFile, strText.data(), strText.size());
    const int nError = n < 0 ? errno : 0;
    ::close(nFile);
    if (nError != 0)
        return nError;
    return static_cast<std::size_t>(n) == strText.size() ? 0 : EIO;
}
