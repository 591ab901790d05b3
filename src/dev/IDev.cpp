#include "dev/IDev.h"

namespace
{
constexpr DWORD kNotSupported = 0xFFFFFFFF;
}

IDev::~IDev() = default;

void IDev::SetDevState(CState* /*pState*/) {}

CState* IDev::GetDevState()
{
    return nullptr;
}

CState* IDev::GetCertainDevState(DEVSTATE /*eState*/)
{
    return nullptr;
}

void IDev::SetMaster(IDev* pMaster)
{
    m_pMaster = pMaster;
}

IDev* IDev::GetMaster()
{
    return m_pMaster;
}

void IDev::SetSlaveAddr(BYTE byAddr)
{
    m_attr.bySlaveAddr = byAddr;
}

void IDev::SetFwBuf(const std::vector<BYTE>& vFw)
{
    m_vFwBuf = vFw;
}

void IDev::SetFwLength(DWORD dwLength)
{
    m_dwFwLength = dwLength;
}

IFwFinder* IDev::GetFwFinder()
{
    return m_pFwFinder;
}

void IDev::AddDevID(DWORD /*dwFirst*/, DWORD /*dwSecond*/) {}

void IDev::DeleteDevID(DWORD /*dwFirst*/, DWORD /*dwSecond*/) {}

bool IDev::GetDevID(DWORD& /*dwFirst*/, DWORD& /*dwSecond*/, DWORD /*dwIndex*/)
{
    return false;
}

void IDev::AddHidDevID(DWORD /*dwFirst*/, DWORD /*dwSecond*/) {}

void IDev::SetTopo(WCHAR* /*pszLocation*/) {}

void IDev::SetTopo(int /*nLevel*/, int /*nPort*/) {}

WString IDev::GetLocationPath()
{
    return {};
}

int IDev::GetLevel()
{
    return -1;
}

int IDev::GetPort()
{
    return -1;
}

bool IDev::ForceReset2Rom()
{
    return false;
}

bool IDev::Reset2Rom()
{
    return false;
}

bool IDev::Reset2Flash()
{
    return false;
}

bool IDev::WriteFlash()
{
    return false;
}

bool IDev::CheckFlash()
{
    return false;
}

void IDev::JudgeCodeMode(IDev* /*pDev*/) {}

void IDev::InitFwFinder(const std::string& /*strPath*/) {}

bool IDev::DevReadVersion(USHORT& /*wVersion*/)
{
    return false;
}

bool IDev::DevErase()
{
    return false;
}

bool IDev::IsPresent()
{
    return false;
}

bool IDev::IsAbsent()
{
    return false;
}

bool IDev::Arrive(DWORD /*devInst*/, DWORD /*dwOldSS*/)
{
    return false;
}

bool IDev::Arrive(DWORD /*devInst*/)
{
    return false;
}

bool IDev::Remove()
{
    return false;
}

bool IDev::InitDev(BYTE /*byParam*/)
{
    return true;
}

bool IDev::UnInitDev(BYTE /*byParam*/)
{
    return true;
}

bool IDev::IsMeEx(DWORD /*devInst*/)
{
    return false;
}

bool IDev::MP_SetByPassMode(BYTE /*byMode*/, BYTE /*byAddr*/)
{
    return false;
}

bool IDev::OpenHidDevice(DWORD /*devInst*/)
{
    return false;
}

void IDev::CloseHidDevice() {}

void IDev::InitMaster() {}

void IDev::UninitMaster() {}

DWORD IDev::BlockOutTrans(const DEVICE_ATTR& /*attr*/, BYTE /*byCommand*/, USHORT /*wOffset*/,
                          BYTE* /*pData*/, BYTE /*byLen*/, DWORD /*dwTimeoutMs*/)
{
    return kNotSupported;
}

DWORD IDev::BlockInTrans(const DEVICE_ATTR& /*attr*/, BYTE /*byCommand*/, USHORT /*wOffset*/,
                         BYTE* /*pData*/, BYTE /*byLen*/, DWORD /*dwTimeoutMs*/)
{
    return kNotSupported;
}

DWORD IDev::I2CConfigImpl(BYTE /*byA*/, BYTE /*byB*/, BYTE /*byC*/)
{
    return 0;
}

DWORD IDev::I2CWriteImpl(DWORD /*dwAddr*/, BYTE* /*pBuf*/, USHORT /*wLen*/)
{
    return 0;
}

DWORD IDev::I2CReadImpl(DWORD /*dwAddr*/, BYTE* /*pBuf*/, USHORT /*wLen*/)
{
    return 0;
}

bool IDev::DevReadBINVersion(USHORT& /*wVersion*/, int /*nWhich*/)
{
    return false;
}

bool IDev::MatchDev(DWORD /*devInst*/)
{
    return false;
}

void IDev::ForceRemove() {}

void IDev::AddMatch(IMatch* pMatch)
{
    m_lstMatch.push_back(pMatch);
}
