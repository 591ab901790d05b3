#include "dev/CUnknownState.h"

CUnknownState::CUnknownState()
{
    m_strName = "UnknownState";
}

bool CUnknownState::Reset2Rom()
{
    return Refuse("CUnknownState::Reset2Rom", "unknown not support reset2rom\n");
}

bool CUnknownState::Reset2Flash()
{
    return Refuse("CUnknownState::Reset2Flash", "unknown not support reset2flash\n");
}

bool CUnknownState::WriteFlash()
{
    return Refuse("CUnknownState::WriteFlash", "unknown not support write flash\n");
}

bool CUnknownState::CheckFlash()
{
    return Refuse("CUnknownState::CheckFlash", "unknown not support check flash\n");
}

bool CUnknownState::DevReadVersion(USHORT& /*wVersion*/)
{
    return Refuse("CUnknownState::DevReadVersion", "unknown not support read version\n");
}

bool CUnknownState::DevErase()
{
    return Refuse("CUnknownState::DevErase", "unknown not support erase flash\n");
}

bool CUnknownState::Arrive(DWORD /*devInst*/, DWORD /*dwOldSS*/)
{
    return false;
}

bool CUnknownState::Remove()
{
    return false;
}

bool CUnknownState::ToRom()
{
    return GoTo(ROM_STATE);
}

bool CUnknownState::ToFlash()
{
    return GoTo(FLASH_STATE);
}

bool CUnknownState::ToWait()
{
    return false;
}

bool CUnknownState::IsPresent()
{
    return true;
}

bool CUnknownState::IsAbsent()
{
    return false;
}
