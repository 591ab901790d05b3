#include "dev/COfflineState.h"

COfflineState::COfflineState()
{
    m_strName = "OfflineState";
}

bool COfflineState::Reset2Rom()
{
    return Refuse("COfflineState::Reset2Rom", "offline not support reset2rom\n");
}

bool COfflineState::Reset2Flash()
{
    return Refuse("COfflineState::Reset2Flash", "offline not support reset2flash\n");
}

bool COfflineState::WriteFlash()
{
    return Refuse("COfflineState::WriteFlash", "offline not support write flash\n");
}

bool COfflineState::CheckFlash()
{
    return Refuse("COfflineState::CheckFlash", "offline not support check flash\n");
}

bool COfflineState::DevReadVersion(USHORT& /*wVersion*/)
{
    return Refuse("COfflineState::DevReadVersion", "offline not support read version\n");
}

bool COfflineState::DevErase()
{
    return Refuse("COfflineState::DevErase", "offline not support erase flash\n");
}

bool COfflineState::Arrive(DWORD /*devInst*/, DWORD /*dwOldSS*/)
{
    return GoTo(UNKNOWN_STATE);
}

bool COfflineState::Remove()
{
    return false;
}

bool COfflineState::ToRom()
{
    return false;
}

bool COfflineState::ToFlash()
{
    return false;
}

bool COfflineState::ToWait()
{
    return false;
}

bool COfflineState::IsPresent()
{
    return false;
}

bool COfflineState::IsAbsent()
{
    return true;
}
