#include "tools/zelhub/devices/CGuardedBillboardDev.h"

#include "cmd/CRequestCMD.h"
#include "find/CDevProperty.h"
#include "msg/CMsg.h"
#include "tools/zelhub/devices/CBillboardList.h"
#include "tools/zelhub/devices/PdStatus.h"
#include "wire/HubRequests.h"

#include <algorithm>

namespace
{

constexpr BYTE kEnable = 0x01; // the commands as a PD controller behind a hub knows them
constexpr BYTE kToRom = 0x02;
constexpr BYTE kToFlash = 0x05;
constexpr BYTE kValidate = 0x16;
constexpr BYTE kCrc = 0x35;
constexpr BYTE kStatus = 0x3A;
constexpr std::array<BYTE, 4> kWrite = {0x04, 0x06, 0x13, 0x14}; ///< by segment of flash
constexpr std::array<BYTE, 4> kRead = {0x24, 0x26, 0x33, 0x34};
constexpr DWORD kSegmentSize = 0x10000;
constexpr DWORD kEraseTimeoutMs = 10000; ///< the library waits no longer
constexpr DWORD kUnknownCommand = 1;     ///< "incorrect function"

CRequestCMD& Cmd()
{
    return *CRequestCMD::GetRequestObj();
}

/// @return false: no flash command
bool FlashAddress(const std::array<BYTE, 4>& commands, BYTE byCommand, USHORT wOffset,
                  DWORD& dwAddr)
{
    const auto it = std::find(commands.begin(), commands.end(), byCommand);
    dwAddr = static_cast<DWORD>(it - commands.begin()) * kSegmentSize + wOffset;
    return it != commands.end();
}

} // namespace

CGuardedBillboardDev::CGuardedBillboardDev(std::string strLocation, std::string strHardwareId)
    : CGuardedPdDev("billboard device"),
      m_strLocation(std::move(strLocation)),
      m_strHardwareId(std::move(strHardwareId))
{}

CGuardedBillboardDev::~CGuardedBillboardDev()
{
    Close();
}

bool CGuardedBillboardDev::Open()
{
    if (m_bOpen)
        return true;
    const DWORD dwInstance = UsbDeviceAt(m_strLocation);
    const WString strId(m_strHardwareId.begin(), m_strHardwareId.end());
    m_bOpen = dwInstance != 0 && CDevProperty::GetObj()->HasHardwareId(dwInstance, strId) &&
              Cmd().KyBBPD_OpenBillBoardDevice(dwInstance) != 0;
    return m_bOpen;
}

void CGuardedBillboardDev::Close()
{
    if (m_bOpen)
        (void)Cmd().KyBBPD_CloseBillBoardDevice();
    m_bOpen = false;
}

template<typename Request>
DWORD CGuardedBillboardDev::Send(const BYTE* pData, DWORD cb, Request request)
{
    if (cb > m_buffer.size() || !Open())
        return kUnknownError;
    std::copy_n(pData, cb, m_buffer.begin());
    if (request(m_buffer.data()) != 0)
        return 0;
    Close();
    return kUnknownError;
}

template<typename Request>
DWORD CGuardedBillboardDev::Receive(BYTE* pData, DWORD cb, Request request)
{
    // What a transfer leaves alone stays as the caller had it.
    const DWORD dwRes = Send(pData, cb, request);
    if (dwRes == 0)
        std::copy_n(m_buffer.begin(), cb, pData);
    return dwRes;
}

DWORD CGuardedBillboardDev::BlockOutTrans(const DEVICE_ATTR& /*attr*/, BYTE byCommand,
                                          USHORT wOffset, BYTE* pData, BYTE byLen,
                                          DWORD /*dwTimeoutMs*/)
{
    DWORD dwAddr = 0;
    if (FlashAddress(kWrite, byCommand, wOffset, dwAddr))
        return WritePiece(dwAddr, pData, byLen);
    return Send(pData, 0, [=](BYTE*) {
        switch (byCommand) {
        case kEnable:
            return Cmd().KyBBPD_VdCmdEnable(byLen);
        case kToRom:
            return Cmd().KyBBPD_ResetToRom(0);
        case kToFlash:
            return Cmd().KyBBPD_ResetToFlash(1, 1);
        case kValidate:
            return Cmd().KyBBPD_ISPValidation(static_cast<BYTE>(wOffset));
        default:
            return 0;
        }
    });
}

DWORD CGuardedBillboardDev::BlockInTrans(const DEVICE_ATTR& /*attr*/, BYTE byCommand,
                                         USHORT wOffset, BYTE* pData, BYTE byLen,
                                         DWORD /*dwTimeoutMs*/)
{
    DWORD dwAddr = 0;
    if (FlashAddress(kRead, byCommand, wOffset, dwAddr))
        return ReadFlash(dwAddr, pData, byLen);
    if (byCommand == kCrc)
        return Receive(pData, byLen, [=](BYTE* pBuf) {
            const DWORD dwBank = wOffset != 0 ? kBankSize : 0;
            return Cmd().KyBBPD_CheckCodeCRCValid(0, dwBank, kBankSize, pBuf);
        });
    if (byCommand == kStatus)
        return Receive(pData, byLen,
                       [=](BYTE* pBuf) { return Cmd().KyBBPD_GetICStatus(pBuf, byLen); });
    return kUnknownCommand;
}

DWORD CGuardedBillboardDev::WritePiece(DWORD dwAddr, const BYTE* pData, DWORD cb)
{
    return Send(pData, cb, [=](BYTE* pBuf) { return Cmd().KyBBPD_WriteFlash2(dwAddr, pBuf, cb); });
}

DWORD CGuardedBillboardDev::ReadFlash(DWORD dwAddr, BYTE* pBuf, DWORD cb)
{
    while (cb != 0) {
        const DWORD cbPart = std::min({cb, kRequestSize, kBankSize - dwAddr % kBankSize});
        const DWORD dwRes = Receive(
            pBuf, cbPart, [=](BYTE* pTo) { return Cmd().KyBBPD_ReadFlash2(dwAddr, pTo, cbPart); });
        if (dwRes != 0)
            return dwRes;
        dwAddr += cbPart;
        pBuf += cbPart;
        cb -= cbPart;
    }
    return 0;
}

bool CGuardedBillboardDev::ReadFlashEx(std::vector<BYTE>& vOut)
{
    if (vOut.size() < m_vFwBuf.size())
        vOut.resize(m_vFwBuf.size());
    return ReadFlash(m_dwFlashAddr, vOut.data(), static_cast<DWORD>(m_vFwBuf.size())) == 0;
}

bool CGuardedBillboardDev::EraseBank(unsigned nBank)
{
    return Send(nullptr, 0, [=](BYTE*) {
               return Cmd().KyBBPD_EraseFlash2(nBank * kBankSize, kEraseTimeoutMs);
           }) == 0;
}

bool CGuardedBillboardDev::MP_EraseFlash(BYTE /*byCount*/)
{
    PdStatus status;
    if (!MP_GetICStatus(status.bytes.data(), static_cast<BYTE>(status.bytes.size())))
        return false;
    for (const unsigned nBank : {0U, 1U})
        if (!(status.RunsFlash() && nBank == status.RunningBank()) && !EraseBank(nBank))
            return false;
    return true;
}

bool CGuardedBillboardDev::WriteImage(const std::vector<BYTE>& vFw)
{
    PdStatus status;
    if (!MP_GetICStatus(status.bytes.data(), static_cast<BYTE>(status.bytes.size())))
        return false;
    if (status.RunsFlash()) {
        if (m_dwFlashAddr == status.RunningBank() * kBankSize) {
            m_facts.strCheckError = "the bank that runs was about to be written";
            return false;
        }
        if (!MP_Vdcmdenable(VDCMD_ENABLE_READ_ERASE) || !MP_EraseFlash(0))
            return false;
    }
    if (!MP_Vdcmdenable(VDCMD_ENABLE_WRITE))
        return false;
    const auto cb = static_cast<DWORD>(vFw.size());
    for (DWORD dw = 0; dw < cb; dw += kRequestSize) {
        const DWORD cbPart = std::min(kRequestSize, cb - dw);
        if (WritePiece(m_dwFlashAddr + dw, vFw.data() + dw, cbPart) != 0)
            return false;
        CMsg::GetObj()->ShowProgress(WriteProgress(static_cast<DWORD>(100ULL * dw / cb)));
    }
    return true;
}
