#include "dev/CFlashMode.h"

#include "dev/CZelHubPDDev.h"

CFlashMode::CFlashMode()
{
    m_strName = "FlashState";
}

bool CFlashMode::Reset2Rom()
{
    // A device with two banks is written while its flash code runs from the other one.
    if (m_pDev->IsDualBank())
        return true;
    return m_pDev->Reset2RomEx();
}

bool CFlashMode::Reset2Flash()
{
    return m_pDev->Reset2FlashEx();
}

bool CFlashMode::WriteFlash()
{
    return m_pDev->WriteFlashEx(m_pDev->GetFwBuf());
}

bool CFlashMode::CheckFlash()
{
    return m_pDev->CheckFlashInFlash();
}

bool CFlashMode::DevReadVersion(USHORT& wVersion)
{
    return m_pDev->DevReadVersionEx(wVersion);
}

bool CFlashMode::DevErase()
{
    return m_pDev->DevEraseEx();
}

bool CFlashMode::Arrive(DWORD /*devInst*/, DWORD /*dwOldSS*/)
{
    return false;
}

bool CFlashMode::Remove()
{
    return false;
}

bool CFlashMode::ToRom()
{
    return false;
}

bool CFlashMode::ToFlash()
{
    return false;
}

bool CFlashMode::ToWait()
{
    return GoTo(WAIT_STATE);
}

bool CFlashMode::IsPresent()
{
    return true;
}

bool CFlashMode::IsAbsent()
{
    return false;
}
