#include "dev/CUSBDev.h"

#include "cmd/CRequestCMD.h"
#include "find/CDevProperty.h"
#include "find/CTopoMatch.h"
#include "find/CVidPidMatch.h"
#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IClock.h"
#include "platform/Platform.h"
#include "wire/HubRequests.h"

#include <algorithm>
#include <array>

namespace
{
constexpr DWORD kTimeoutMs = 5000;
constexpr DWORD kSettleMs = 20; ///< from the unlocking of the flash to the erase
constexpr DWORD kWriteUnit = 29;
constexpr DWORD kReadUnit = 31;
constexpr std::size_t kBlockBuffer = 64;
constexpr std::size_t kBlockHeader = 3;
constexpr std::size_t kSetupLength = 8;

// Bits of the status block.
constexpr std::size_t kBankByte = 7;
constexpr BYTE kDualBankBit = 0x80;
constexpr std::size_t kVersionByte = 10;
constexpr std::size_t kIspByte = 13;
constexpr BYTE kIspBit = 0x02;
constexpr std::size_t kCodeByte = 15;
constexpr BYTE kFlashCodeBit = 0x02;

// The registers that unlock the flash for an erase.
constexpr DWORD kRegUnlock = 0xD820;
constexpr DWORD kRegCount = 0xD825;
constexpr DWORD kRegProtect = 0xD900;
constexpr DWORD kRegControl = 0xD800;

using Status = std::array<BYTE, HUB_STATUS_LENGTH>;

CRequestCMD& Cmd()
{
    return *CRequestCMD::GetRequestObj();
}

/// Reads the status block, zeroed before.
bool ReadStatus(Status& status)
{
    status.fill(0);
    return Cmd().KyHub_Status(status.data(), HUB_STATUS_LENGTH) == 0;
}

using Setup = std::array<BYTE, kSetupLength>;

Setup I2cSetup(BYTE byType, BYTE byRequest, DWORD dwAddr, USHORT wLen)
{
    return {byType,
            byRequest,
            static_cast<BYTE>(dwAddr),
            static_cast<BYTE>(dwAddr >> 8),
            static_cast<BYTE>(dwAddr >> 16),
            static_cast<BYTE>(dwAddr >> 24),
            static_cast<BYTE>(wLen),
            static_cast<BYTE>(wLen >> 8)};
}

USHORT BlockValue(const DEVICE_ATTR& attr, BYTE byCommand)
{
    return static_cast<USHORT>(byCommand << 8 | attr.bySlaveAddr);
}

/// Splits dwLen bytes into units and hands each to fnUnit(offset, length) until one fails.
template<typename Fn>
bool ForUnits(DWORD dwLen, DWORD dwUnit, Fn fnUnit)
{
    for (DWORD dwAt = 0; dwAt < dwLen; dwAt += dwUnit) {
        if (fnUnit(dwAt, std::min(dwUnit, dwLen - dwAt)) != 0)
            return false;
    }
    return true;
}
} // namespace

CUSBDev::CUSBDev() = default;

CUSBDev::~CUSBDev() = default;

void CUSBDev::NeedVidPidMatch()
{
    if (m_pVidPidMatch != nullptr)
        return;
    m_pVidPidMatch = std::make_unique<CVidPidMatch>();
    AddMatch(m_pVidPidMatch.get());
}

void CUSBDev::NeedTopoMatch()
{
    if (m_pTopoMatch != nullptr)
        return;
    m_pTopoMatch = std::make_unique<CTopoMatch>();
    AddMatch(m_pTopoMatch.get());
}

void CUSBDev::AddDevID(DWORD dwFirst, DWORD dwSecond)
{
    NeedVidPidMatch();
    CZelHubPDDev::AddDevID(dwFirst, dwSecond);
}

void CUSBDev::SetDevID(DWORD dwVid, DWORD dwPid)
{
    NeedVidPidMatch();
    m_dwVid = dwVid;
    m_dwPid = dwPid;
}

void CUSBDev::SetTopo(WCHAR* pszLocation)
{
    NeedTopoMatch();
    CZelHubPDDev::SetTopo(pszLocation);
}

void CUSBDev::SetTopo(int nLevel, int nPort)
{
    NeedTopoMatch();
    CZelHubPDDev::SetTopo(nLevel, nPort);
}

bool CUSBDev::MatchDev(DWORD devInst)
{
    return std::all_of(m_lstMatch.begin(), m_lstMatch.end(),
                       [&](IMatch* pMatch) { return pMatch->Match(devInst, this); });
}

bool CUSBDev::IsMeEx(DWORD devInst)
{
    return devInst == m_DevInst;
}

bool CUSBDev::Arrive(DWORD devInst, DWORD dwOldSS)
{
    dwOldSSValue = dwOldSS;
    m_DevInst = devInst;
    TellArrival(devInst, dwOldSS);
    LogState("CUSBDev::Arrive");
    return true;
}

bool CUSBDev::Arrive(DWORD devInst)
{
    m_DevInst = devInst;
    TellArrival(devInst, 0);
    LogState("CUSBDev::Arrive");
    return true;
}

bool CUSBDev::Remove()
{
    LeaveBus("CUSBDev::Remove");
    return true;
}

bool CUSBDev::MP_SetByPassMode(BYTE byMode, BYTE byAddr)
{
    // Deliberate: true means that the request failed; hosts rely on the inverted sense.
    return Cmd().KyHub_SetDLSlaveAddr(byMode, byAddr) != 0;
}

DWORD CUSBDev::BlockOutTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                             BYTE byLen, DWORD dwTimeoutMs)
{
    std::array<BYTE, kBlockBuffer> buf = {static_cast<BYTE>(wOffset),
                                          static_cast<BYTE>(wOffset >> 8), byLen};
    const DWORD dwTotal = static_cast<DWORD>(kBlockHeader) + byLen;
    if (dwTotal > buf.size())
        return kErrInvalidParameter;
    if (pData != nullptr)
        std::copy_n(pData, byLen, buf.begin() + kBlockHeader);
    return Cmd().KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_BLOCK_OUT, BlockValue(attr, byCommand), 0,
                                 buf.data(), dwTotal, dwTimeoutMs);
}

DWORD CUSBDev::BlockInTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                            BYTE byLen, DWORD dwTimeoutMs)
{
    return Cmd().KyHub_SendVDCmd(REQTYPE_VENDOR_IN, REQ_BLOCK_IN, BlockValue(attr, byCommand),
                                 wOffset, pData, byLen, dwTimeoutMs);
}

DWORD CUSBDev::I2CConfigImpl(BYTE byA, BYTE byB, BYTE byC)
{
    constexpr BYTE kSet = 0x80;
    Setup setup = {
        REQTYPE_VENDOR_OUT, REQ_I2C_CONFIG, byB, byA, static_cast<BYTE>(byC | kSet), kSet, 0, 0};
    return Cmd().KyHub_CtlPipeNoDataOut(setup.data()) == 0 ? 1 : 0;
}

DWORD CUSBDev::I2CWriteImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen)
{
    Setup setup = I2cSetup(REQTYPE_VENDOR_OUT, REQ_I2C_WRITE, dwAddr, wLen);
    return Cmd().KyHub_CtlPipeOut(setup.data(), pBuf) == 0 ? 1 : 0;
}

DWORD CUSBDev::I2CReadImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen)
{
    Setup setup = I2cSetup(REQTYPE_VENDOR_IN, REQ_I2C_READ, dwAddr, wLen);
    return Cmd().KyHub_CtlPipeIn(setup.data(), pBuf) == 0 ? 1 : 0;
}

bool CUSBDev::IsDualBank()
{
    static constexpr char kFunc[] = "CUSBDev::IsDualBank";
    Status status;
    if (!ReadStatus(status))
        return false;
    if ((status[kBankByte] & kDualBankBit) != 0) {
        CMsg::GetObj()->ShowMsg(MSG_INFO, kFunc, "Flash is dual bank\n");
        return true;
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, kFunc, "Flash is not dual bank\n");
    return false;
}

bool CUSBDev::IsRomCode()
{
    static constexpr char kFunc[] = "CUSBDev::IsRomCode";
    Status status;
    if (!ReadStatus(status)) {
        CMsg::GetObj()->ShowMsg(MSG_FAIL, kFunc, "dev is not connect\n");
        return false;
    }
    if ((status[kCodeByte] & kFlashCodeBit) == 0) {
        CMsg::GetObj()->ShowMsg(MSG_INFO, kFunc, "dev is rom code\n");
        return true;
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, kFunc, "dev is not rom code\n");
    return false;
}

bool CUSBDev::IsNeedReset()
{
    return true;
}

bool CUSBDev::Reset2RomEx()
{
    if (!IsNeedReset() || Cmd().KyHub_FWReset(0) != 0)
        return false;
    ResetWasSent("CUSBDev::Reset2RomEx");
    return true;
}

bool CUSBDev::Reset2FlashEx()
{
    if (Cmd().KyHub_ResetCode(1, 1) != 0)
        return false;
    ResetWasSent("CUSBDev::Reset2FlashEx");
    return true;
}

bool CUSBDev::WriteFlashEx(const std::vector<BYTE>& vFw)
{
    const DWORD dwLen = static_cast<DWORD>(vFw.size());
    const DWORD dwChunks = dwLen / FLASH_REQUEST_MAX;
    const DWORD dwRest = dwLen % FLASH_REQUEST_MAX;
    BYTE* const pImage = const_cast<BYTE*>(vFw.data()); // a write only reads it
    DWORD dwStatus = Cmd().KyHub_VdCmdEnable(VDCMD_ENABLE_WRITE);
    for (DWORD i = 0; i < dwChunks; ++i) {
        const DWORD dwAt = i * FLASH_REQUEST_MAX;
        dwStatus = Cmd().KyHub_WriteFlash2(m_dwFlashAddr + dwAt, pImage + dwAt, FLASH_REQUEST_MAX);
        const DWORD dwPercent = 100 * FLASH_REQUEST_MAX * i / dwLen;
        CMsg::GetObj()->ShowUIMsg(RES_INFO, "write flash complete %d%%\r", dwPercent);
        CMsg::GetObj()->ShowProgress(WriteProgress(dwPercent));
        if (dwStatus != 0)
            return false;
    }
    if (dwRest != 0) {
        const DWORD dwAt = dwChunks * FLASH_REQUEST_MAX;
        dwStatus = Cmd().KyHub_WriteFlash2(m_dwFlashAddr + dwAt, pImage + dwAt, dwRest);
    }
    // Deliberate: an enable that failed counts only where no data followed it.
    CMsg::GetObj()->ShowUIMsg(RES_INFO, "write flash complete 100%%\n");
    return dwStatus == 0;
}

bool CUSBDev::ReadFlashEx(std::vector<BYTE>& vOut)
{
    const DWORD dwLen = static_cast<DWORD>(m_vFwBuf.size());
    const DWORD dwChunks = dwLen / FLASH_REQUEST_MAX;
    const DWORD dwRest = dwLen % FLASH_REQUEST_MAX;
    if (vOut.size() < dwLen)
        vOut.resize(dwLen);
    DWORD dwStatus = 0;
    for (DWORD i = 0; i < dwChunks; ++i) {
        const DWORD dwAt = i * FLASH_REQUEST_MAX;
        dwStatus =
            Cmd().KyHub_ReadFlash2(m_dwFlashAddr + dwAt, vOut.data() + dwAt, FLASH_REQUEST_MAX);
        CMsg::GetObj()->ShowUIMsg(RES_INFO, "read flash complete %d%%\r",
                                  100 * FLASH_REQUEST_MAX * i / dwLen);
        if (dwStatus != 0)
            return false;
    }
    if (dwRest != 0) {
        const DWORD dwAt = dwChunks * FLASH_REQUEST_MAX;
        dwStatus = Cmd().KyHub_ReadFlash2(m_dwFlashAddr + dwAt, vOut.data() + dwAt, dwRest);
    }
    CMsg::GetObj()->ShowUIMsg(RES_INFO, "read flash complete 100%%\n");
    return dwStatus == 0;
}

bool CUSBDev::CheckFlashInFlash()
{
    Status status;
    if (ReadStatus(status) && (status[kIspByte] & kIspBit) != 0)
        return Cmd().KyHub_ISPValidation(1) == 0;
    return CheckFlashWithCmp();
}

bool CUSBDev::DevReadVersionEx(USHORT& wVersion)
{
    Status status;
    if (!MP_Vdcmdenable(VDCMD_ENABLE_READ_ERASE) || !ReadStatus(status))
        return false;
    wVersion = static_cast<USHORT>(status[kVersionByte] << 8 | status[kVersionByte + 1]);
    return true;
}

bool CUSBDev::DevEraseEx()
{
    if (!MP_Vdcmdenable(VDCMD_ENABLE_READ_ERASE))
        return false;
    // The unlocking's own results are not looked at: a chip that stayed locked refuses the erase.
    BYTE byOne = 0x01;
    BYTE count[] = {0x00, 0x01, 0x00, 0x00};
    BYTE byZero = 0x00;
    (void)Cmd().KyHub_WriteMem(kRegUnlock, &byOne, 1);
    (void)Cmd().KyHub_WriteMem(kRegCount, count, sizeof(count));
    (void)Cmd().KyHub_WriteMem(kRegProtect, &byZero, 1);
    BYTE byControl = 0xFF;
    (void)Cmd().KyHub_ReadMem(kRegControl, &byControl, 1);
    byControl = static_cast<BYTE>(byControl | 0x01);
    (void)Cmd().KyHub_WriteMem(kRegControl, &byControl, 1);
    CurrentPlatform().Clock().Sleep(kSettleMs);
    return Cmd().KyHub_EraseFlash2(0, kTimeoutMs) == 0;
}

bool CUSBDev::MP_Vdcmdenable(BYTE byValue)
{
    return Cmd().KyHub_VdCmdEnable(byValue) == 0;
}

bool CUSBDev::WriteFlashUnit(DWORD /*dwAddr*/, BYTE* pBuf, DWORD dwLen)
{
    // Deliberate: the address argument is ignored, units count from the code area's start.
    return ForUnits(dwLen, kWriteUnit, [&](DWORD dwAt, DWORD dwPart) {
        return Cmd().KyHub_WriteFlash2(m_dwFlashAddr + dwAt, pBuf + dwAt, dwPart);
    });
}

bool CUSBDev::ReadFlashUnit(DWORD /*dwAddr*/, BYTE* pBuf, DWORD dwLen)
{
    // Deliberate: as in WriteFlashUnit.
    return ForUnits(dwLen, kReadUnit, [&](DWORD dwAt, DWORD dwPart) {
        return Cmd().KyHub_ReadFlash2(m_dwFlashAddr + dwAt, pBuf + dwAt, dwPart);
    });
}

bool CUSBDev::IsSameLoacation(DWORD devInst)
{
    static constexpr char kFunc[] = "CUSBDev::IsSameLoacation";
    if (CDevProperty::GetObj()->GetLocationPath(devInst) == m_LocationPath) {
        CMsg::GetObj()->ShowMsg(MSG_INFO, kFunc, "get same dev location\n");
        return true;
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, kFunc, "dev location is changed\n");
    return false;
}

void CUSBDev::FillLoacation(DWORD devInst)
{
    m_LocationPath = CDevProperty::GetObj()->GetLocationPath(devInst);
}
