#include "CHostProcess.h"

#include <windows.h>

#include <stdexcept>

namespace
{
constexpr DWORD kPatience = 30000;
constexpr UINT kKilled = 77;

/// One pipe; the child gets the given end.
void MakePipe(HANDLE* phRead, HANDLE* phWrite, bool bChildReads)
{
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    if (::CreatePipe(phRead, phWrite, &inherit, 0) == FALSE)
        throw std::runtime_error("no pipe");
    ::SetHandleInformation(bChildReads ? *phWrite : *phRead, HANDLE_FLAG_INHERIT, 0);
}
} // namespace

CHostProcess::CHostProcess()
{
    HANDLE hItsInput = nullptr;
    HANDLE hItsOutput = nullptr;
    MakePipe(&hItsInput, &m_hToIt, true);
    MakePipe(&m_hFromIt, &hItsOutput, false);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = hItsInput;
    startup.hStdOutput = hItsOutput;
    startup.hStdError = hItsOutput;
    PROCESS_INFORMATION process = {};
    char szCommand[] = ZELHUB_HOST;
    const BOOL bStarted = ::CreateProcessA(nullptr, szCommand, nullptr, nullptr, TRUE, 0, nullptr,
                                           nullptr, &startup, &process);
    ::CloseHandle(hItsInput);
    ::CloseHandle(hItsOutput);
    if (bStarted == FALSE)
        throw std::runtime_error("the host does not start");
    ::CloseHandle(process.hThread);
    m_hProcess = process.hProcess;
    m_strSaid = ReadLine();
}

CHostProcess::~CHostProcess()
{
    Kill();
    ::CloseHandle(m_hProcess);
    ::CloseHandle(m_hToIt);
    ::CloseHandle(m_hFromIt);
}

std::string CHostProcess::End()
{
    DWORD cbDone = 0;
    ::WriteFile(m_hToIt, "end\n", 4, &cbDone, nullptr);
    std::string strLine = ReadLine();
    ::WaitForSingleObject(m_hProcess, kPatience);
    return strLine;
}

void CHostProcess::Kill()
{
    ::TerminateProcess(m_hProcess, kKilled);
    ::WaitForSingleObject(m_hProcess, kPatience);
}

std::string CHostProcess::ReadLine()
{
    std::string strLine;
    char ch = 0;
    DWORD cbDone = 0;
    while (::ReadFile(m_hFromIt, &ch, 1, &cbDone, nullptr) != FALSE && cbDone == 1 && ch != '\n')
        if (ch != '\r')
            strLine += ch;
    return strLine;
}
