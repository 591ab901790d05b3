#pragma once

#include <memory>

#include "cmd/CKyProxy.h"
#include "platform/Types.h"
#include "transport/IPropertyEx.h"

class CWinUsb;

/// The process-wide command object: every device class reaches hardware through it. Exactly one
/// hub is open at a time. Nothing checks its arguments or the binding: bind a transport first.
/// DWORD results are status (0 = success) unless stated. One thread at a time.
class ZEL_API CRequestCMD
{
public:
    static CRequestCMD* GetRequestObj();
    CRequestCMD(const CRequestCMD&) = delete;
    CRequestCMD& operator=(const CRequestCMD&) = delete;
    virtual ~CRequestCMD();

    // --- binding and forwarders to the transport ---

    /// Binds a transport (not owned; an earlier holder is freed) and starts the driver.
    /// @return always 1, whatever the driver did
    int XH_InitProxyDriver(IPropertyEx* pTransport);
    int XH_UnInitProxyDriver(); ///< releases the driver and the binding; 1 when unbound
    CKyProxy* GetProxy() const { return m_pProxy.get(); }

    int XH_OpenDevice(DWORD devInst);                      ///< 1 = success, else 0
    int XH_OpenDevice(DWORD devInst, DWORD& dwOldSSValue); ///< 1 = success, else 0
    int XH_CloseDevice();
    int XH_OpenHidDevice(DWORD devInst); ///< 1 = success, else 0
    DWORD KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex, BYTE* pBuffer,
                          DWORD dwLength, DWORD dwTimeoutMs);
    DWORD KyHub_CtlPipeNoDataOut(BYTE* pSetup);
    DWORD KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData);
    DWORD KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData);
    DWORD KyHub_Speed(_myUSB_DEVICE_SPEED& eSpeed);
    DWORD KyHub_WritePortUCHAR(DWORD dwPort, BYTE byValue);
    DWORD KyHub_ReadPortUCHAR(DWORD dwPort, BYTE& byValue);
    DWORD KyHub_WriteMemoryUCHAR(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_ReadMemoryUCHAR(DWORD dwBase, DWORD dwOffset, BYTE* pbyValue); ///< one byte
    int KyHub_IsVoHub(DWORD devInst, int nFlag); ///< non-zero: one of the maker's hubs
    int KyHub_TurnOnHubSS(DWORD devInst);        ///< non-zero = success
    void KyHub_Free(_KYHUB_INST** ppInstance);
    int KyHid_IsITEHid(DWORD devInst); ///< 1: the vendor-defined collection
    DWORD HidGetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid, HANDLE* phInterface);

    // --- hub vendor commands: one control request each ---

    DWORD KyHub_FWReset(USHORT uOption);
    DWORD KyHub_FWReset(USHORT uOption, USHORT Index);
    DWORD KyHub_VdCmdEnable(USHORT wValue);
    DWORD KyHub_Status(BYTE* pBuf, USHORT wLen); ///< 20 bytes in every use

    /// Flash transfers in requests of at most 4096 bytes; a length of 0 sends nothing and
    /// succeeds. Deliberate: every write request is sent twice, the second result counts.
    DWORD KyHub_WriteFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_ReadFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_EraseFlash2(DWORD dwAddr, DWORD dwTimeoutMs);
    DWORD KyHub_ResetCode(BYTE byA, BYTE byB);
    DWORD KyHub_ReadMem(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_WriteMem(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_ISPValidation(BYTE byValue);
    DWORD KyHub_SetDLSlaveAddr(BYTE byMode, BYTE bySlaveAddr);
    DWORD KyHub_SetDLSlaveAddrSub(BYTE byMode, BYTE bySlaveAddr);

    // --- port-I/O driver ---

    int XH_InitVoPortDriver(BYTE byA, BYTE byB, BYTE byC); ///< 1 = ready, 0 = failed
    int XH_UnInitVoPortDriver();                           ///< always 1
    int ExtractVoport(USHORT wResourceId, const WCHAR* pszResourceType);
    int ManageDriver(const WCHAR* pszService, const WCHAR* pszDriverPath, USHORT wFunction);
    int SetupDriverName(WCHAR* pszPath); ///< 260 characters
    int InstallDriver(HANDLE hManager, const WCHAR* pszName, const WCHAR* pszPath);
    int StartDriver(HANDLE hManager, const WCHAR* pszName);
    int StopDriver(HANDLE hManager, const WCHAR* pszName);
    int RemoveDriver(HANDLE hManager, const WCHAR* pszName);
    int VoReadByte32(DWORD dwPort); ///< the byte, or 0xFFFFFFFF
    DWORD VoReadDword32(DWORD dwPort);
    int VoWriteByte32(DWORD dwPort, BYTE byData); ///< the byte, or 0 on failure
    DWORD VoWriteDword32(DWORD dwPort, DWORD dwData);
    int VoReadByte64(ULONGLONG qwPort);
    DWORD VoReadDword64(ULONGLONG qwPort);
    int VoWriteByte64(ULONGLONG qwPort, BYTE byData);
    DWORD VoWriteDword64(ULONGLONG qwPort, DWORD dwData);
    int VoInputByte(ULONGLONG qwPort);
    DWORD VoInputDword(ULONGLONG qwPort);
    int VoOutputByte(ULONGLONG qwPort, BYTE byData);
    DWORD VoOutputDword(ULONGLONG qwPort, DWORD dwData);

    // --- SMBus host controller: waits are without limit ---

    /// @param pBuf 256 bytes: block count, then the data @param nMode 1 = write, 0 = read
    /// @return 1 = success, 0 = failure
    short IntelBlockTransByBlk(DWORD dwBase, BYTE bySlaveAddr, BYTE byCommand, BYTE* pBuf,
                               int nMode);
    short IntelBlockTransByBlkEx(DWORD dwBase, BYTE bySlaveAddr, BYTE byCommand, BYTE* pBuf,
                                 int nMode); ///< buffer soak test, always 0
    short IntelBlockTransByByte(DWORD dwBase, BYTE bySlaveAddr, BYTE byCommand, BYTE* pBuf,
                                int nMode);

    // --- embedded controller: waits are without limit, failures are not seen ---

    void WriteGeneralECReg(DWORD dwCmdPort, DWORD dwDataPort, BYTE byReg, BYTE byValue);
    void ReadGeneralECReg(DWORD dwCmdPort, DWORD dwDataPort, BYTE byReg, BYTE& byValue);

    // --- billboard PD over WinUSB: every result is non-zero for success ---

    int KyBBPD_OpenBillBoardDevice(DWORD devInst);
    int KyBBPD_OpenBillBoardDevice(DWORD dwPid, DWORD dwVid);
    int KyBBPD_CloseBillBoardDevice();
    int KyBBPD_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex, BYTE* pBuffer,
                         DWORD dwLength, DWORD dwTimeoutMs);
    int KyBBPD_WriteFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    int KyBBPD_ReadFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    int KyBBPD_EraseFlash2(DWORD dwAddr, DWORD dwTimeoutMs);
    int KyBBPD_GetICStatus(BYTE* pBuf, DWORD dwLen);
    int KyBBPD_ISPValidation(BYTE byOldBin);
    int KyBBPD_VdCmdEnable(USHORT wValue);
    int KyBBPD_ResetToFlash(USHORT wA, USHORT wB);
    int KyBBPD_ResetToRom(USHORT wValue);
    int KyBBPD_ResetToRom(USHORT wValue, USHORT wIndex);
    int KyBBPD_CheckCodeCRCValid(BYTE byBank, DWORD dwAddr, DWORD dwLen, BYTE* pbyResult);

private:
    CRequestCMD();
    int InstallAndOpen(); ///< the port driver, where it is not installed; 1 = ready, 0 = failed

    std::unique_ptr<CKyProxy> m_pProxy; ///< null while unbound
    int m_bIsWinNT = 0;
    int m_bUseMapping = 0;
    int m_bIsWow64 = 0;
    HANDLE m_hDriver = nullptr;
    std::unique_ptr<CWinUsb> m_pWinUsb; ///< null before the first billboard open

    friend class CRequestCMDTestAccess; ///< tests set what nothing else sets
};
