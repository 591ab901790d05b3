#include "msg/CLogStream.h"

#include <cstring>

#include "platform/IHostFiles.h"
#include "platform/Platform.h"

void CLogStream::Open(const char* pszPath)
{
    m_hFile = CurrentPlatform().HostFiles().OpenForAppending(pszPath);
    m_bFailed = m_hFile == InvalidHandle();
}

void CLogStream::Write(const char* pszText)
{
    if (m_bFailed || m_hFile == InvalidHandle())
        return;
    if (!CurrentPlatform().HostFiles().Write(m_hFile, pszText,
                                             static_cast<DWORD>(std::strlen(pszText))))
        m_bFailed = true;
}

void CLogStream::Close()
{
    if (m_hFile == InvalidHandle())
        return;
    if (!CurrentPlatform().HostFiles().Close(m_hFile))
        m_bFailed = true;
    m_hFile = InvalidHandle();
}
