#include "dev/CRomMode.h"

#include "dev/CZelHubPDDev.h"
#include "msg/CMsg.h"

CRomMode::CRomMode()
{
    m_strName = "RomState";
}

bool CRomMode::Reset2Rom()
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRomMode::Reset2Rom", "rom code support reset2Rom\n");
    return m_pDev->Reset2RomEx();
}

bool CRomMode::Reset2Flash()
{
    return m_pDev->Reset2FlashEx();
}

bool CRomMode::WriteFlash()
{
    return m_pDev->WriteFlashEx(m_pDev->GetFwBuf());
}

bool CRomMode::CheckFlash()
{
    return m_pDev->CheckFlashWithCmp();
}

bool CRomMode::DevReadVersion(USHORT& /*wVersion*/)
{
    return false;
}

bool CRomMode::DevErase()
{
    return m_pDev->DevEraseEx();
}

bool CRomMode::Arrive(DWORD /*devInst*/, DWORD /*dwOldSS*/)
{
    return false;
}

bool CRomMode::Remove()
{
    return false;
}

bool CRomMode::ToRom()
{
    return false;
}

bool CRomMode::ToFlash()
{
    return false;
}

bool CRomMode::ToWait()
{
    // Deliberate: the state changes, and yet the answer is false. No caller looks at it.
    (void)GoTo(WAIT_STATE);
    return false;
}

bool CRomMode::IsPresent()
{
    return true;
}

bool CRomMode::IsAbsent()
{
    return false;
}
