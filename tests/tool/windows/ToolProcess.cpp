#include "tool/ToolProcess.h"

#include <windows.h>

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace
{

struct Ends
{
    HANDLE hRead = nullptr;
    HANDLE hWrite = nullptr;
};

Ends MakePipe()
{
    Ends ends;
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    if (::CreatePipe(&ends.hRead, &ends.hWrite, &inherit, 0) == FALSE)
        throw std::runtime_error("no pipe");
    ::SetHandleInformation(ends.hRead, HANDLE_FLAG_INHERIT, 0);
    return ends;
}

/// A word as a program's start reads it back.
std::string Quoted(const std::string& strWord)
{
    std::string strQuoted = "\"";
    size_t nBackslashes = 0;
    for (const char ch : strWord) {
        if (ch == '"')
            strQuoted.append(nBackslashes + 1, '\\');
        nBackslashes = ch == '\\' ? nBackslashes + 1 : 0;
        strQuoted += ch;
    }
    return strQuoted.append(nBackslashes, '\\') + "\"";
}

/// Changes this process's environment, which children inherit, for as long as it lives.
class CEnvironment
{
public:
    explicit CEnvironment(const std::vector<std::string>& settings) : m_settings(settings)
    {
        for (const std::string& strSetting : m_settings)
            Set(strSetting, strSetting.substr(strSetting.find('=') + 1).c_str());
    }
    CEnvironment(const CEnvironment&) = delete;
    CEnvironment& operator=(const CEnvironment&) = delete;
    ~CEnvironment()
    {
        for (const std::string& strSetting : m_settings)
            Set(strSetting, nullptr);
    }

private:
    static void Set(const std::string& strSetting, const char* pszValue)
    {
        ::SetEnvironmentVariableA(strSetting.substr(0, strSetting.find('=')).c_str(), pszValue);
    }

    const std::vector<std::string>& m_settings;
};

} // namespace

const char* const kRightToOpenHint = "Run as administrator.";

struct CToolProcess::Child
{
    void ReadAll(HANDLE hRead, std::string& strInto)
    {
        char buffer[4096];
        DWORD cbDone = 0;
        while (::ReadFile(hRead, buffer, sizeof buffer, &cbDone, nullptr) != FALSE && cbDone != 0) {
            const std::lock_guard<std::mutex> lock(mutex);
            strInto.append(buffer, cbDone);
            more.notify_all();
        }
        ::CloseHandle(hRead);
        const std::lock_guard<std::mutex> lock(mutex);
        ++nEnded;
        more.notify_all();
    }

    HANDLE hProcess = nullptr;
    std::mutex mutex;
    std::condition_variable more;
    int nEnded = 0; ///< streams
    std::thread out;
    std::thread err;
};

CToolProcess::CToolProcess(const std::vector<std::string>& arguments, const Setting& setting)
    : m_pChild(std::make_unique<Child>())
{
    if (setting.bTerminal || !setting.strOutFile.empty())
        throw std::runtime_error("no such start on this system");
    std::string strLine = Quoted(setting.strProgram);
    for (const std::string& strWord : arguments)
        strLine += " " + Quoted(strWord);
    const Ends out = MakePipe();
    const Ends err = MakePipe();
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.hWrite;
    startup.hStdError = err.hWrite;
    PROCESS_INFORMATION process = {};
    const CEnvironment environment(setting.environment);
    const BOOL bStarted = ::CreateProcessA(nullptr, strLine.data(), nullptr, nullptr, TRUE, 0,
                                           nullptr, nullptr, &startup, &process);
    const DWORD dwError = ::GetLastError();
    ::CloseHandle(out.hWrite);
    ::CloseHandle(err.hWrite);
    if (bStarted == FALSE)
        throw std::runtime_error("the program does not start: error " + std::to_string(dwError));
    ::CloseHandle(process.hThread);
    m_pChild->hProcess = process.hProcess;
    m_pChild->out = std::thread([this, out] { m_pChild->ReadAll(out.hRead, m_result.strOut); });
    m_pChild->err = std::thread([this, err] { m_pChild->ReadAll(err.hRead, m_result.strErr); });
}

CToolProcess::~CToolProcess()
{
    if (m_pChild->hProcess != nullptr) {
        ::TerminateProcess(m_pChild->hProcess, 1);
        (void)Finish();
    }
}

bool CToolProcess::WaitForError(const std::string& strText)
{
    const auto found = [&] { return m_result.strErr.find(strText) != std::string::npos; };
    std::unique_lock<std::mutex> lock(m_pChild->mutex);
    m_pChild->more.wait(lock, [&] { return found() || m_pChild->nEnded == 2; });
    return found();
}

ToolResult CToolProcess::Finish()
{
    m_pChild->out.join();
    m_pChild->err.join();
    ::WaitForSingleObject(m_pChild->hProcess, INFINITE);
    DWORD dwExit = 0;
    ::GetExitCodeProcess(m_pChild->hProcess, &dwExit);
    ::CloseHandle(m_pChild->hProcess);
    m_pChild->hProcess = nullptr;
    m_result.nExit = static_cast<int>(dwExit);
    return m_result;
}
