#pragma once

#include "cmd/CRequestCMD.h"

/// Reaches the port driver's state, part of which nothing in the library sets.
class CRequestCMDTestAccess
{
public:
    static void SetMapping(int n) { Obj().m_bUseMapping = n; }
    static void SetWinNT(int n) { Obj().m_bIsWinNT = n; }
    static void SetWow64(int n) { Obj().m_bIsWow64 = n; }
    static HANDLE Driver() { return Obj().m_hDriver; }

    /// As in a process that has just begun.
    static void Reset()
    {
        Obj().m_bIsWinNT = 0;
        Obj().m_bUseMapping = 0;
        Obj().m_bIsWow64 = 0;
        Obj().m_hDriver = nullptr;
    }

private:
    static CRequestCMD& Obj() { return *CRequestCMD::GetRequestObj(); }
};
