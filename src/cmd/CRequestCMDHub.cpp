// The hub vendor commands of the command object.
#include <algorithm>

#include "cmd/CRequestCMD.h"
#include "cmd/RequestTable.h"
#include "cmd/Words.h"
#include "msg/CMsg.h"
#include "wire/HubRequests.h"

namespace
{
constexpr DWORD kTimeoutMs = 5000;
constexpr DWORD kValidationTimeoutMs = 50000;

/// What a command adds to its request codes.
struct REQUEST_ARGS
{
    USHORT wValue = 0;
    USHORT wIndex = 0;
    BYTE* pBuffer = nullptr;
    DWORD dwLength = 0;
    DWORD dwTimeoutMs = kTimeoutMs;
};

DWORD Send(const CKyProxy& proxy, HUB_COMMAND eCommand, const REQUEST_ARGS& args)
{
    const REQUEST_PAIR& pair = RequestOf(eCommand);
    return proxy.GetTransport()->KyHub_SendVDCmd(pair.bmRequestType, pair.bRequest, args.wValue,
                                                 args.wIndex, args.pBuffer, args.dwLength,
                                                 args.dwTimeoutMs);
}

/// Hands a flash range to fnChunk in requests that a hub takes, up to the first failure.
template<class Chunk>
DWORD InChunks(DWORD dwAddr, BYTE* pBuf, DWORD dwLen, Chunk fnChunk)
{
    while (dwLen > 0) {
        const DWORD dwPart = std::min<DWORD>(dwLen, FLASH_REQUEST_MAX);
        const DWORD dwStatus =
            fnChunk(REQUEST_ARGS{LowWord(dwAddr), HighWord(dwAddr), pBuf, dwPart, kTimeoutMs});
        if (dwStatus != 0)
            return dwStatus;
        dwAddr += dwPart;
        pBuf += dwPart;
        dwLen -= dwPart;
    }
    return 0;
}
} // namespace

DWORD CRequestCMD::KyHub_FWReset(USHORT uOption)
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyHub_FWReset",
                            "KyHub_FWReset(USHORT uOption=0x%02x) ", uOption);
    return Send(*m_pProxy, CMD_FW_RESET, {uOption});
}

DWORD CRequestCMD::KyHub_FWReset(USHORT uOption, USHORT Index)
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyHub_FWReset",
                            "KyHub_FWReset(USHORT uOption=0x%02x ,Index = 0x%02x)\n", uOption,
                            Index);
    return Send(*m_pProxy, CMD_FW_RESET, {uOption, Index});
}

DWORD CRequestCMD::KyHub_VdCmdEnable(USHORT wValue)
{
    return Send(*m_pProxy, CMD_VDCMD_ENABLE, {wValue, VDCMD_ENABLE_KEY});
}

DWORD CRequestCMD::KyHub_Status(BYTE* pBuf, USHORT wLen)
{
    return Send(*m_pProxy, CMD_STATUS, {0, 0, pBuf, wLen});
}

DWORD CRequestCMD::KyHub_WriteFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen)
{
    return InChunks(dwAddr, pBuf, dwLen, [this](const REQUEST_ARGS& args) {
        const REQUEST_PAIR& pair = RequestOf(CMD_WRITE_FLASH2);
        CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyHub_WriteFlash2",
                                "KyHub_WriteFlash2 -> RequestType: 0x%02x, Request: 0x%02x\n",
                                pair.bmRequestType, pair.bRequest);
        // Deliberate: every block goes out twice and only the second result counts; a hub accepts
        // the same data again, and a block that it missed the first time arrives after all.
        (void)Send(*m_pProxy, CMD_WRITE_FLASH2, args);
        return Send(*m_pProxy, CMD_WRITE_FLASH2, args);
    });
}

DWORD CRequestCMD::KyHub_ReadFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen)
{
    return InChunks(dwAddr, pBuf, dwLen, [this](const REQUEST_ARGS& args) {
        const REQUEST_PAIR& pair = RequestOf(CMD_READ_FLASH2);
        CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyHub_ReadFlash2",
                                "KyHub_ReadFlash2 -> RequestType: 0x%02x, Request: 0x%02x\n",
                                pair.bmRequestType, pair.bRequest);
        return Send(*m_pProxy, CMD_READ_FLASH2, args);
    });
}

DWORD CRequestCMD::KyHub_EraseFlash2(DWORD dwAddr, DWORD dwTimeoutMs)
{
    return Send(*m_pProxy, CMD_ERASE_FLASH2,
                {LowWord(dwAddr), HighWord(dwAddr), nullptr, 0, dwTimeoutMs});
}

DWORD CRequestCMD::KyHub_ResetCode(BYTE byA, BYTE byB)
{
    return Send(*m_pProxy, CMD_RESET_CODE, {MakeWord(byA, byB)});
}

DWORD CRequestCMD::KyHub_ReadMem(DWORD dwAddr, BYTE* pBuf, DWORD dwLen)
{
    return Send(*m_pProxy, CMD_READ_MEM, {0, LowWord(dwAddr), pBuf, dwLen});
}

DWORD CRequestCMD::KyHub_WriteMem(DWORD dwAddr, BYTE* pBuf, DWORD dwLen)
{
    return Send(*m_pProxy, CMD_WRITE_MEM, {0, LowWord(dwAddr), pBuf, dwLen});
}

DWORD CRequestCMD::KyHub_ISPValidation(BYTE byValue)
{
    return Send(*m_pProxy, CMD_ISP_VALIDATION, {byValue, 0, nullptr, 0, kValidationTimeoutMs});
}

DWORD CRequestCMD::KyHub_SetDLSlaveAddr(BYTE byMode, BYTE bySlaveAddr)
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyHub_SetDLSlaveAddr",
                            "KyHub_SetDLSlaveAddr -> mode=%d, bySlaveAddr=%d\n", byMode,
                            bySlaveAddr);
    return Send(*m_pProxy, CMD_SET_DL_SLAVE_ADDR, {MakeWord(byMode, bySlaveAddr)});
}

DWORD CRequestCMD::KyHub_SetDLSlaveAddrSub(BYTE byMode, BYTE bySlaveAddr)
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::KyHub_SetDLSlaveAddrSub",
                            "KyHub_SetDLSlaveAddr -> mode=%d, bySlaveAddr=%d\n", byMode,
                            bySlaveAddr);
    return Send(*m_pProxy, CMD_SET_DL_SLAVE_ADDR_SUB, {MakeWord(byMode, bySlaveAddr)});
}
