#pragma once

#include <windows.h>

/// For calls that may touch the last error although they succeed (a file that is made anew, or was
/// there, or is copied; what goes through another process): a success leaves it as it was.
class CKeepLastError
{
public:
    /// @return what the call gave; null and all bits set are failures
    template<class Object>
    Object* After(Object* pOpened) const
    {
        if (pOpened != nullptr && pOpened != INVALID_HANDLE_VALUE)
            ::SetLastError(m_dwBefore);
        return pOpened;
    }

    /// 0 is a failure.
    DWORD After(DWORD dwCount) const
    {
        if (dwCount != 0)
            ::SetLastError(m_dwBefore);
        return dwCount;
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
