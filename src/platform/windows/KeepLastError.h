#pragma once

#include <windows.h>

/// For calls that touch the last error although they succeed (a file that is made anew, or was
/// there, or is copied): a success leaves it as it was.
class CKeepLastError
{
public:
    /// @return what the call gave
    HANDLE After(HANDLE hOpened) const
    {
        if (hOpened != INVALID_HANDLE_VALUE)
            ::SetLastError(m_dwBefore);
        return hOpened;
    }

    bool After(BOOL bDone) const
    {
        if (bDone != FALSE)
            ::SetLastError(m_dwBefore);
        return bDone != FALSE;
    }

private:
    DWORD m_dwBefore = ::GetLastError();
};
