// The billboard commands of the command object. Every result is non-zero for success. The texts'
// borrowed prefixes are what hosts know.
#include "cmd/CRequestCMD.h"
#include "cmd/CWinUsb.h"
#include "cmd/RequestTable.h"
#include "cmd/Words.h"
#include "msg/CMsg.h"
#include "transport/CScopedHandle.h"
#include "wire/HubRequests.h"

namespace
{
constexpr DWORD kTimeoutMs = 5000;
constexpr DWORD kLongestWaitMs = 10000;
constexpr DWORD kSecondBank = 0x20000;
constexpr DWORD kBankLength = 0x20000;

struct SETUP_BYTES
{
    BYTE bytes[8];
};

SETUP_BYTES MakeSetup(const REQUEST_PAIR& pair, USHORT wValue, USHORT wIndex, DWORD dwLength)
{
    const auto low = [](USHORT w) { return static_cast<BYTE>(w & 0xFFu); };
    const auto high = [](USHORT w) { return static_cast<BYTE>(w >> 8); };
    const USHORT wLength = LowWord(dwLength);
    return {{pair.bmRequestType, pair.bRequest, low(wValue), high(wValue), low(wIndex),
             high(wIndex), low(wLength), high(wLength)}};
}
} // namespace

int CRequestCMD::KyBBPD_OpenBillBoardDevice(DWORD devInst)
{
    m_pWinUsb = std::make_unique<CWinUsb>(devInst);
    return m_pWinUsb->WinUsb_OpenDevice();
}

int CRequestCMD::KyBBPD_OpenBillBoardDevice(DWORD dwPid, DWORD dwVid)
{
    m_pWinUsb = std::make_unique<CWinUsb>(dwPid, dwVid);
    return m_pWinUsb->WinUsb_OpenDevice();
}

int CRequestCMD::KyBBPD_CloseBillBoardDevice()
{
    if (m_pWinUsb == nullptr)
        return 1;
    const int nResult = m_pWinUsb->WinUsb_CloseDevice();
    m_pWinUsb.reset();
    return nResult;
}

int CRequestCMD::KyBBPD_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex,
                                  BYTE* pBuffer, DWORD dwLength, DWORD dwTimeoutMs)
{
    if (m_pWinUsb == nullptr)
        return 0;
    CMsg* const pMsg = CMsg::GetObj();
    // clang-format off: one whole literal
    pMsg->ShowMsg(
        MSG_FAIL, "CRequestCMD::KyBBPD_SendVDCmd",
        "RequestType is 0x%02x,request is 0x%02x,wValue is 0x%02x,wIndex is 0x%02x,pBufLen is %d\n",
        byType, byRequest, wValue, wIndex, dwLength);
    // clang-format on
    if (dwLength != 0)
        pMsg->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_SendVDCmd", "buf detail is 0x%02x\n",
                      pBuffer[0]);
    if (!m_pWinUsb->IsOpen()) {
        pMsg->ShowMsg(MSG_ERROR, "CRequestCMD::KyBBPD_SendVDCmd",
                      "Error,Can't Open WinUSBHandle.\n");
        return 0;
    }
    const SETUP_BYTES setup = MakeSetup({byType, byRequest}, wValue, wIndex, dwLength);
    m_pWinUsb->StartTransfer(setup.bytes, pBuffer, dwLength);
    // Deliberate: only now, so that the limit holds for the wait and not for the transfer.
    if (dwTimeoutMs > kLongestWaitMs) {
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::KyBBPD_SendVDCmd",
                      "Timeout > 10s,Set Timeout = 10 s \n");
        dwTimeoutMs = kLongestWaitMs;
    }
    const int nResult = m_pWinUsb->WaitTransfer(dwTimeoutMs);
    if (nResult == 0) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_ERROR, "CRequestCMD::KyBBPD_SendVDCmd",
                      "Send FAIL,Last Error Code is %x\n", dwError);
    }
    return nResult;
}

int CRequestCMD::KyBBPD_WriteFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_WRITE_FLASH2);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_WriteFlash2",
                            "KyDummy_WriteFlash -> RequestType: 0x%02x, Request: 0x%02x\n",
                            pair.bmRequestType, pair.bRequest);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_WriteFlash2",
                            "KyDummy_WriteFlash -> addr: %#x, length: %#x\n", dwAddr, dwLen);
    return KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, LowWord(dwAddr), HighWord(dwAddr),
                            pBuf, dwLen, kTimeoutMs);
}

int CRequestCMD::KyBBPD_ReadFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_READ_FLASH2);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_ReadFlash2",
                            "KyDummy_ReadFlash -> RequestType: 0x%02x, Request: 0x%02x\n",
                            pair.bmRequestType, pair.bRequest);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_ReadFlash2",
                            "KyDummy_ReadFlash -> addr: %#x, length: %#x\n", dwAddr, dwLen);
    return KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, LowWord(dwAddr), HighWord(dwAddr),
                            pBuf, dwLen, kTimeoutMs);
}

int CRequestCMD::KyBBPD_EraseFlash2(DWORD dwAddr, DWORD dwTimeoutMs)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_ERASE_FLASH2);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_EraseFlash2", "-> KyBBPD_EraseFlash\n");
    const int nResult = KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, LowWord(dwAddr),
                                         HighWord(dwAddr), nullptr, 0, dwTimeoutMs);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_EraseFlash2",
                            "<- KyBBPD_EraseFlash, return %d\n", nResult);
    return nResult;
}

int CRequestCMD::KyBBPD_GetICStatus(BYTE* pBuf, DWORD dwLen)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_IC_STATUS);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_GetICStatus",
                            "KyBBPD_GetICStatus -> RequestType: 0x%02x, Request: 0x%02x\n",
                            pair.bmRequestType, pair.bRequest);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_GetICStatus",
                            "KyBBPD_GetICStatus -> length: %#x\n", dwLen);
    return KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, 0, 0, pBuf, dwLen, kTimeoutMs);
}

int CRequestCMD::KyBBPD_ISPValidation(BYTE byOldBin)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_ISP_VALIDATION);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_ISPValidation",
                            "KyHub_ISPValidation oldbin is %d\n", byOldBin);
    const int nResult =
        KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, byOldBin, 0, nullptr, 0, kTimeoutMs);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_ISPValidation",
                            "KyDummy_ISPValidation return value is %d\n", nResult);
    return nResult;
}

int CRequestCMD::KyBBPD_VdCmdEnable(USHORT wValue)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_VDCMD_ENABLE);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_VdCmdEnable", "-> \n");
    const int nResult = KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, wValue,
                                         VDCMD_ENABLE_KEY, nullptr, 0, kTimeoutMs);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_VdCmdEnable", "<-  return %d\n",
                            nResult);
    return nResult;
}

int CRequestCMD::KyBBPD_ResetToFlash(USHORT wA, USHORT wB)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_RESET_TO_FLASH);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_ResetToFlash", "-> \n");
    const USHORT wValue = MakeWord(static_cast<BYTE>(wA & 0xFF), static_cast<BYTE>(wB & 0xFF));
    const int nResult =
        KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, wValue, 0, nullptr, 0, kTimeoutMs);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_ResetToFlash", "<- return %d\n",
                            nResult);
    return nResult;
}

int CRequestCMD::KyBBPD_ResetToRom(USHORT wValue)
{
    return KyBBPD_ResetToRom(wValue, 0);
}

int CRequestCMD::KyBBPD_ResetToRom(USHORT wValue, USHORT wIndex)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_RESET_TO_ROM);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_ResetToRom", "-> \n");
    const int nResult =
        KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, wValue, wIndex, nullptr, 0, kTimeoutMs);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_ResetToRom", "<-  return %d\n", nResult);
    return nResult;
}

int CRequestCMD::KyBBPD_CheckCodeCRCValid(BYTE byBank, DWORD dwAddr, DWORD dwLen, BYTE* pbyResult)
{
    const REQUEST_PAIR& pair = RequestOf(CMD_BB_CHECK_CRC);
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_INFO, "CRequestCMD::KyBBPD_CheckCodeCRCValid",
                  " -> RequestType: 0x%02x, Request: 0x%02x\n", pair.bmRequestType, pair.bRequest);
    if ((dwAddr & ~kSecondBank) != 0) {
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::KyBBPD_CheckCodeCRCValid", " invalid address %#x\n",
                      dwAddr);
        return 0;
    }
    if (dwLen != kBankLength) {
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::KyBBPD_CheckCodeCRCValid",
                      " invalid data length %#x\n", dwLen);
        return 0;
    }
    const auto wValue = static_cast<USHORT>((dwAddr != 0 ? 0x100 : 0) | byBank);
    return KyBBPD_SendVDCmd(pair.bmRequestType, pair.bRequest, wValue, 0, pbyResult, 1, kTimeoutMs);
}
