#pragma once

#include "platform/Types.h"

/// The log's output stream: opened and closed for every line. A failure marks it failed until
/// the next successful open.
class CLogStream
{
public:
    CLogStream() = default;
    CLogStream(const CLogStream&) = delete;
    CLogStream& operator=(const CLogStream&) = delete;

    void Open(const char* pszPath);
    void Write(const char* pszText); ///< nothing while failed or not open
    void Close();

private:
    HANDLE m_hFile = InvalidHandle();
    bool m_bFailed = false;
};
