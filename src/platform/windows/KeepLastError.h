#pragma once

#include <windows.h>

/// For opens: where the system's call touches the last error although it succeeds (a file that
/// is made anew, or was there), a success leaves it as it was.
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

private:
    DWORD m_dwBefore = ::GetLastError();
};
