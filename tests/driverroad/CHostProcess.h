#pragma once

#include "platform/Types.h"

#include <string>

/// The host in C, running as a process of its own beside the test.
class CHostProcess
{
public:
    CHostProcess(); ///< starts it and waits until the library is started, or it ended
    CHostProcess(const CHostProcess&) = delete;
    CHostProcess& operator=(const CHostProcess&) = delete;
    ~CHostProcess(); ///< kills it when it still runs

    const std::string& Said() const { return m_strSaid; } ///< its first line

    /// Has it release the library and waits for its end. @return its last line
    std::string End();

    void Kill(); ///< and waits for it to be gone

private:
    std::string ReadLine();

    HANDLE m_hProcess = nullptr;
    HANDLE m_hToIt = nullptr;
    HANDLE m_hFromIt = nullptr;
    std::string m_strSaid;
};
