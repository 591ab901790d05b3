#include "tool/ToolProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

struct Ends
{
    int nRead = -1;
    int nWrite = -1;
};

Ends MakePipe()
{
    int files[2] = {-1, -1};
    if (::pipe2(files, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    return {files[0], files[1]};
}

Ends MakeTerminal()
{
    const int nMaster = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (nMaster < 0 || ::grantpt(nMaster) != 0 || ::unlockpt(nMaster) != 0)
        throw std::runtime_error("no terminal");
    return {nMaster, ::open(::ptsname(nMaster), O_RDWR | O_NOCTTY | O_CLOEXEC)};
}

[[noreturn]] void BecomeTool(const std::string& strProgram, std::vector<char*> arguments,
                             const std::vector<std::string>& environment, int nOut, int nErr)
{
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(nOut, STDOUT_FILENO);
    ::dup2(nErr, STDERR_FILENO);
    for (const std::string& strSetting : environment)
        ::putenv(const_cast<char*>(strSetting.c_str()));
    ::execv(strProgram.c_str(), arguments.data());
    ::_exit(127);
}

/// @return false at the end
bool ReadInto(int nFile, std::string& strText)
{
    std::array<char, 65536> buffer;
    const ssize_t n = ::read(nFile, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR)
        return true;
    if (n <= 0) // a terminal ends with EIO
        return false;
    strText.append(buffer.data(), static_cast<size_t>(n));
    return true;
}

} // namespace

const char* const kRightToOpenHint = "sudo sh -c 'zelhub udev-rule >>";

struct CToolProcess::Child
{
    pid_t pid = -1;
    int nOut = -1;
    int nErr = -1;
};

CToolProcess::CToolProcess(const std::vector<std::string>& arguments, const Setting& setting)
    : m_pChild(std::make_unique<Child>())
{
    std::vector<std::string> words = {"zelhub"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& strWord : words)
        pointers.push_back(strWord.data());
    pointers.push_back(nullptr);
    Ends out = MakePipe();
    const Ends err = setting.bTerminal ? MakeTerminal() : MakePipe();
    const int nFile =
        setting.strOutFile.empty() ? -1 : ::open(setting.strOutFile.c_str(), O_WRONLY | O_CLOEXEC);
    m_pChild->pid = ::fork();
    if (m_pChild->pid == 0)
        BecomeTool(setting.strProgram, pointers, setting.environment,
                   nFile >= 0 ? nFile : out.nWrite, err.nWrite);
    for (const int nEnd : {out.nWrite, err.nWrite, nFile})
        if (nEnd >= 0)
            ::close(nEnd);
    m_pChild->nOut = out.nRead;
    m_pChild->nErr = err.nRead;
}

CToolProcess::~CToolProcess()
{
    if (m_pChild->pid > 0) {
        Signal(SIGKILL);
        (void)Finish();
    }
}

void CToolProcess::ReadSome(bool bUntilEnd, const std::string& strText)
{
    while (m_pChild->nOut >= 0 || m_pChild->nErr >= 0) {
        if (!bUntilEnd && m_result.strErr.find(strText) != std::string::npos)
            return;
        std::array<pollfd, 2> files = {pollfd{m_pChild->nOut, POLLIN, 0},
                                       pollfd{m_pChild->nErr, POLLIN, 0}};
        if (::poll(files.data(), files.size(), -1) < 0)
            continue;
        for (pollfd& file : files) {
            int& nFile = &file == &files[0] ? m_pChild->nOut : m_pChild->nErr;
            std::string& strInto = &file == &files[0] ? m_result.strOut : m_result.strErr;
            if (file.revents != 0 && !ReadInto(nFile, strInto)) {
                ::close(nFile);
                nFile = -1;
            }
        }
    }
}

bool CToolProcess::WaitForError(const std::string& strText)
{
    ReadSome(false, strText);
    return m_result.strErr.find(strText) != std::string::npos;
}

void CToolProcess::Signal(int nSignal) const
{
    ::kill(m_pChild->pid, nSignal);
}

ToolResult CToolProcess::Finish()
{
    ReadSome(true, {});
    int nStatus = 0;
    while (::waitpid(m_pChild->pid, &nStatus, 0) < 0 && errno == EINTR) {
    }
    m_pChild->pid = -1;
    m_result.nExit = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
    return m_result;
}
