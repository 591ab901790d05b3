#include "dev/CI2CPdDev.h"

#include "cmd/CRequestCMD.h"
#include "msg/CMsg.h"

#include <algorithm>
#include <array>

namespace
{
// Commands of the controller, the high byte of the block transfers' wValue.
constexpr BYTE kCmdEnable = 0x01;
constexpr BYTE kCmdReset2Rom = 0x02;
constexpr BYTE kCmdErase = 0x03;
constexpr BYTE kCmdReset2Flash = 0x05;
constexpr BYTE kCmdIspValidation = 0x16;
constexpr BYTE kCmdCheckCrc = 0x35;
constexpr BYTE kCmdStatus = 0x3A;
// Flash commands by 64 KiB segment; the last serves everything above.
constexpr std::array<BYTE, 4> kCmdWriteFlash = {0x04, 0x06, 0x13, 0x14};
constexpr std::array<BYTE, 4> kCmdReadFlash = {0x24, 0x26, 0x33, 0x34};

constexpr USHORT kKey = 0x0A7C; ///< offset of the commands that change something
constexpr USHORT kCrcOfBank1 = 0x100;

constexpr DWORD kTimeoutMs = 5000;
constexpr DWORD kSlowTimeoutMs = 30000;
constexpr DWORD kReset2RomTimeoutMs = 10000;
constexpr DWORD kReset2FlashTimeoutMs = 100;
constexpr DWORD kWriteTimeoutMs = 20000;

constexpr DWORD kBlock = 256; ///< bytes between two progress reports
constexpr DWORD kWriteUnit = 29;
constexpr DWORD kReadUnit = 31;
constexpr DWORD kBank1 = 0x20000;
constexpr DWORD kMarkOfBank1 = 0x27EF0;
constexpr BYTE kCrcGood = 2;
constexpr std::size_t kImageVersionAt = 0x7EF9;

// The status block.
constexpr std::size_t kCodeByte = 0; ///< 0: ROM code runs
constexpr std::size_t kMajorByte = 3;
constexpr std::size_t kMinorByte = 4;
constexpr std::size_t kCheckByte = 13;
constexpr BYTE kIspBit = 0x08;
constexpr BYTE kCrcBit = 0x04;
constexpr std::size_t kBankByte = 14;
constexpr BYTE kRunsBank1Bit = 0x10;

using Status = std::array<BYTE, 20>;

BYTE FlashCommand(const std::array<BYTE, 4>& commands, DWORD dwAddr)
{
    return commands[std::min<std::size_t>(dwAddr >> 16, commands.size() - 1)];
}

bool ReadStatus(CI2CPdDev& dev, Status& status)
{
    status.fill(0);
    return dev.MP_GetICStatus(status.data(), static_cast<BYTE>(status.size()));
}
} // namespace

CI2CPdDev::CI2CPdDev() = default;

CI2CPdDev::~CI2CPdDev() = default;

bool CI2CPdDev::Probe()
{
    if (!MP_Vdcmdenable(1)) {
        (void)Remove();
        return false;
    }
    (void)Arrive(0);
    return true;
}

bool CI2CPdDev::IsPresent()
{
    return Probe();
}

bool CI2CPdDev::IsAbsent()
{
    return !Probe();
}

bool CI2CPdDev::Arrive(DWORD devInst, DWORD dwOldSS)
{
    dwOldSSValue = dwOldSS;
    m_DevInst = devInst;
    TellArrival(devInst, dwOldSS);
    return true;
}

bool CI2CPdDev::Arrive(DWORD devInst)
{
    TellArrival(devInst, 0);
    m_DevInst = devInst;
    return true;
}

bool CI2CPdDev::Remove()
{
    LeaveBus("CI2CPdDev::Remove");
    return true;
}

bool CI2CPdDev::IsMeEx(DWORD devInst)
{
    return devInst == m_DevInst;
}

bool CI2CPdDev::MP_SetByPassMode(BYTE byMode, BYTE byAddr)
{
    return CRequestCMD::GetRequestObj()->KyHub_SetDLSlaveAddrSub(byMode, byAddr) == 0;
}

DWORD CI2CPdDev::BlockOutTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                               BYTE byLen, DWORD dwTimeoutMs)
{
    IDev* const pMaster = GetMaster();
    if (pMaster == nullptr)
        return CZelHubPDDev::BlockOutTrans(attr, byCommand, wOffset, pData, byLen, dwTimeoutMs);
    return pMaster->BlockOutTrans(attr, byCommand, wOffset, pData, byLen, dwTimeoutMs);
}

DWORD CI2CPdDev::BlockInTrans(const DEVICE_ATTR& attr, BYTE byCommand, USHORT wOffset, BYTE* pData,
                              BYTE byLen, DWORD dwTimeoutMs)
{
    IDev* const pMaster = GetMaster();
    if (pMaster == nullptr)
        return CZelHubPDDev::BlockInTrans(attr, byCommand, wOffset, pData, byLen, dwTimeoutMs);
    return pMaster->BlockInTrans(attr, byCommand, wOffset, pData, byLen, dwTimeoutMs);
}

bool CI2CPdDev::Send(BYTE byCommand, USHORT wOffset, BYTE* pData, BYTE byLen, DWORD dwTimeoutMs)
{
    return BlockOutTrans(m_attr, byCommand, wOffset, pData, byLen, dwTimeoutMs) == 0;
}

bool CI2CPdDev::Receive(BYTE byCommand, USHORT wOffset, BYTE* pData, BYTE byLen)
{
    return BlockInTrans(m_attr, byCommand, wOffset, pData, byLen, kTimeoutMs) == 0;
}

bool CI2CPdDev::SendPadded(BYTE byCommand, BYTE byCount, DWORD dwTimeoutMs)
{
    std::array<BYTE, 0x100> command = {0x01}; // room for every count that a byte can hold
    return Send(byCommand, kKey, command.data(), byCount, dwTimeoutMs);
}

bool CI2CPdDev::MP_Vdcmdenable(BYTE byCount)
{
    return SendPadded(kCmdEnable, byCount, kTimeoutMs);
}

bool CI2CPdDev::MP_EraseFlash(BYTE byCount)
{
    return SendPadded(kCmdErase, byCount, kSlowTimeoutMs);
}

bool CI2CPdDev::MP_GetICStatus(BYTE* pBuf, BYTE byLen)
{
    return Receive(kCmdStatus, 0, pBuf, byLen);
}

bool CI2CPdDev::MP_ISPValidation(BYTE byValue)
{
    return Send(kCmdIspValidation, byValue, nullptr, 0, kSlowTimeoutMs);
}

bool CI2CPdDev::IsDualBank()
{
    Status status;
    const bool bRead = ReadStatus(*this, status);
    if (bRead)
        m_dwFlashAddr = (status[kBankByte] & kRunsBank1Bit) == 0 ? kBank1 : 0;
    CMsg::GetObj()->ShowMsg(
        MSG_INFO, "CI2CPdDev::IsDualBank",
        "In IsDualBank,bres is %d,m_dwFlashAddr 0x%x,Current Code is Work On Bank %d\n",
        bRead ? 1 : 0, m_dwFlashAddr, m_dwFlashAddr == kBank1 ? 0 : 1);
    return bRead; // every controller that answers has two banks
}

bool CI2CPdDev::IsRomCode()
{
    Status status;
    const bool bRead = ReadStatus(*this, status);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CI2CPdDev::IsRomCode",
                            "In IsRomCode,byICStatus[0]= %d,FW version is %d.%d \n",
                            status[kCodeByte], status[kMajorByte], status[kMinorByte]);
    return bRead && status[kCodeByte] == 0;
}

bool CI2CPdDev::IsNeedReset()
{
    return true;
}

bool CI2CPdDev::Reset2RomEx()
{
    BYTE byOne = 1;
    if (!Send(kCmdReset2Rom, kKey, &byOne, 1, kReset2RomTimeoutMs))
        return false;
    ResetWasSent("CI2CPdDev::Reset2RomEx");
    return true;
}

bool CI2CPdDev::Reset2FlashEx()
{
    BYTE byOne = 1;
    if (!Send(kCmdReset2Flash, kKey, &byOne, 1, kReset2FlashTimeoutMs))
        return false;
    ResetWasSent("CI2CPdDev::Reset2FlashEx");
    return true;
}

bool CI2CPdDev::DevReadVersionEx(USHORT& wVersion)
{
    Status status;
    if (!MP_Vdcmdenable(1) || !ReadStatus(*this, status))
        return false;
    wVersion = static_cast<USHORT>(status[kMajorByte] << 8 | status[kMinorByte]);
    return true;
}

bool CI2CPdDev::DevEraseEx()
{
    return MP_Vdcmdenable(1) && MP_EraseFlash(0);
}

bool CI2CPdDev::DevReadBINVersion(USHORT& wVersion, int /*nWhich*/)
{
    if (m_vFwBuf.size() < kImageVersionAt + 2)
        return false;
    wVersion = static_cast<USHORT>(m_vFwBuf[kImageVersionAt] << 8 | m_vFwBuf[kImageVersionAt + 1]);
    return true;
}

bool CI2CPdDev::WriteFlashUnit(DWORD dwAddr, const BYTE* pBuf, DWORD dwLen)
{
    // Deliberate: the segment's command holds for the whole call, even where a later unit lies in
    // the next segment; the offset wraps there.
    const BYTE byCommand = FlashCommand(kCmdWriteFlash, dwAddr);
    for (DWORD dwAt = 0; dwAt < dwLen; dwAt += kWriteUnit) {
        BYTE* const pUnit = const_cast<BYTE*>(pBuf + dwAt); // a write only reads it
        const BYTE byUnit = static_cast<BYTE>(std::min(kWriteUnit, dwLen - dwAt));
        if (!Send(byCommand, static_cast<USHORT>(dwAddr + dwAt), pUnit, byUnit, kWriteTimeoutMs))
            return false;
    }
    return true;
}

bool CI2CPdDev::ReadFlashUnit(DWORD dwAddr, BYTE* pBuf, DWORD dwLen)
{
    const BYTE byCommand = FlashCommand(kCmdReadFlash, dwAddr);
    for (DWORD dwAt = 0; dwAt < dwLen; dwAt += kReadUnit) {
        const BYTE byUnit = static_cast<BYTE>(std::min(kReadUnit, dwLen - dwAt));
        if (!Receive(byCommand, static_cast<USHORT>(dwAddr + dwAt), pBuf + dwAt, byUnit))
            return false;
    }
    return true;
}

bool CI2CPdDev::WriteFlashEx(const std::vector<BYTE>& vFw)
{
    const DWORD dwLen = static_cast<DWORD>(vFw.size());
    const DWORD dwWhole = dwLen / kBlock * kBlock;
    const DWORD dwEnd = m_dwFlashAddr + dwWhole;
    bool bResult = MP_Vdcmdenable(3);
    for (DWORD i = 0; i < dwLen / kBlock; ++i) {
        bResult = WriteFlashUnit(m_dwFlashAddr + kBlock * i, vFw.data() + kBlock * i, kBlock);
        const DWORD dwPercent = 100 * kBlock * i / dwLen;
        CMsg::GetObj()->ShowUIMsg(RES_INFO, "write flash complete %d%%\r", dwPercent);
        CMsg::GetObj()->ShowProgress(WriteProgress(dwPercent));
        if (!bResult)
            return false;
    }
    if (dwWhole != dwLen)
        bResult = WriteFlashUnit(m_dwFlashAddr + dwWhole, vFw.data() + dwWhole, dwLen - dwWhole);
    // Deliberate: an enable that failed counts only where no data followed it.
    CMsg::GetObj()->ShowUIMsg(RES_INFO, "write flash complete 100%%\n");
    CMsg::GetObj()->ShowUIMsg(RES_INFO, "dwFlashAddr is 0x%x\n", dwEnd);
    return bResult;
}

bool CI2CPdDev::ReadFlashEx(std::vector<BYTE>& vOut)
{
    static constexpr char kFunc[] = "CI2CPdDev::ReadFlashEx";
    CMsg* const pMsg = CMsg::GetObj();
    const DWORD dwLen = static_cast<DWORD>(m_vFwBuf.size());
    const DWORD dwWhole = dwLen / kBlock * kBlock;
    pMsg->ShowMsg(MSG_INFO, kFunc, "dwlen is %ld,input vecbuf size is %ld\n", dwLen,
                  static_cast<DWORD>(vOut.size()));
    if (vOut.size() < dwLen)
        vOut.resize(dwLen);
    for (DWORD i = 0; i < dwLen / kBlock; ++i) {
        const bool bRead =
            ReadFlashUnit(m_dwFlashAddr + kBlock * i, vOut.data() + kBlock * i, kBlock);
        pMsg->ShowMsg(MSG_INFO, kFunc, "read flash complete %d%% \n", 100 * kBlock * i / dwLen);
        if (!bRead)
            return false;
    }
    pMsg->ShowMsg(MSG_INFO, kFunc, "read flash for exit\n");
    bool bResult = true;
    if (dwWhole != dwLen) {
        // Deliberate: "%LE" is no conversion of ours and stands in the log as it is.
        pMsg->ShowMsg(MSG_INFO, kFunc, "dwlen%LEN_RW_UNIT == %d \n", dwLen - dwWhole);
        bResult = ReadFlashUnit(m_dwFlashAddr + dwWhole, vOut.data() + dwWhole, dwLen - dwWhole);
    }
    pMsg->ShowMsg(MSG_INFO, kFunc, "read flash complete 100%% \n");
    return bResult;
}

bool CI2CPdDev::CheckFlashInFlash()
{
    static constexpr char kFunc[] = "CI2CPdDev::CheckFlashInFlash";
    CMsg* const pMsg = CMsg::GetObj();
    Status status;
    const bool bRead = ReadStatus(*this, status);
    const bool bIsp = bRead && (status[kCheckByte] & kIspBit) != 0;
    const bool bCrc = bRead && (status[kCheckByte] & kCrcBit) != 0;
    pMsg->ShowMsg(
        MSG_INFO, kFunc,
        "Flash Code is %d,byICStatus[0x0D] & 0x08 = %02x,byICStatus[0x0D] & 0x04 = %02x\n",
        status[kCodeByte], status[kCheckByte] & kIspBit, status[kCheckByte] & kCrcBit);
    if (bIsp && status[kCodeByte] != 0) {
        (void)MP_Vdcmdenable(1);
        if (!MP_ISPValidation(1)) {
            pMsg->ShowMsg(MSG_FAIL, kFunc, "check flash with isp return false\n");
            pMsg->ShowMsg(MSG_FAIL, kFunc, "check flash in flash return false\n");
            return false;
        }
        pMsg->ShowMsg(MSG_INFO, kFunc, "check flash with isp return true\n");
    } else if (!(bCrc ? MP_CheckCRC() : CheckFlashWithCmp())) {
        pMsg->ShowMsg(MSG_FAIL, kFunc, "check flash in flash return false\n");
        return false;
    }
    pMsg->ShowMsg(MSG_INFO, kFunc, "check flash in flash return true\n");
    return true;
}

bool CI2CPdDev::MP_CheckCRC()
{
    static constexpr char kFunc[] = "CI2CPdDev::MP_CheckCRC";
    CMsg* const pMsg = CMsg::GetObj();
    if (m_dwFlashAddr != 0 && m_dwFlashAddr != kBank1) {
        pMsg->ShowMsg(MSG_FAIL, kFunc, "Check CRC invalid address %#x\n", m_dwFlashAddr);
        return false;
    }
    BYTE byResult = 0;
    if (!Receive(kCmdCheckCrc, m_dwFlashAddr != 0 ? kCrcOfBank1 : 0, &byResult, 1)) {
        pMsg->ShowMsg(MSG_FAIL, kFunc, "Check CRC fail.\n");
        return false;
    }
    pMsg->ShowMsg(MSG_INFO, kFunc, "Check CRC return is %d\n", byResult);
    if (byResult != kCrcGood)
        return false;
    static constexpr BYTE kCleared[2] = {0, 0};
    return WriteFlashUnit(kMarkOfBank1 - m_dwFlashAddr, kCleared, sizeof(kCleared));
}
