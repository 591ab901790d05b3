#include "dev/CWaitState.h"

CWaitState::CWaitState()
{
    m_strName = "WaitState";
}

bool CWaitState::Reset2Rom()
{
    return Refuse("CWaitState::Reset2Rom", "wait mode not support reset2rom\n");
}

bool CWaitState::Reset2Flash()
{
    return Refuse("CWaitState::Reset2Flash", "wait mode not support reset2flash\n");
}

bool CWaitState::WriteFlash()
{
    return Refuse("CWaitState::WriteFlash", "wait mode not support write flash\n");
}

bool CWaitState::CheckFlash()
{
    return Refuse("CWaitState::CheckFlash", "wait mode not support check flash\n");
}

bool CWaitState::DevReadVersion(USHORT& /*wVersion*/)
{
    return Refuse("CWaitState::DevReadVersion", "wait mode not support read version\n");
}

bool CWaitState::DevErase()
{
    return Refuse("CWaitState::DevErase", "wait mode not support erase flash\n");
}

bool CWaitState::Arrive(DWORD /*devInst*/, DWORD /*dwOldSS*/)
{
    return false;
}

bool CWaitState::Remove()
{
    return GoTo(OFFLINE_STATE);
}

bool CWaitState::ToRom()
{
    return false;
}

bool CWaitState::ToFlash()
{
    return false;
}

bool CWaitState::ToWait()
{
    return false;
}

bool CWaitState::IsPresent()
{
    return true;
}

bool CWaitState::IsAbsent()
{
    return false;
}
