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
    CKyProxy* GetProxy() const { return m_pProxy.get(); } ///< null while unbound

    /// Opens a hub; close the one that is open before. Its selective suspend is switched off,
    /// which waits for the companion service without limit where the process is not elevated.
    /// @param dwOldSSValue receives the value that was found (0xFFFFFFFF: it was enabled);
    ///                     untouched where nothing was found, so zero it before
    /// @return 1 = success, else 0
    int XH_OpenDevice(DWORD devInst);
    int XH_OpenDevice(DWORD devInst, DWORD& dwOldSSValue);
    int XH_CloseDevice();                ///< always 0; also where nothing is open
    int XH_OpenHidDevice(DWORD devInst); ///< as XH_OpenDevice: 1 = success, else 0

    /// One vendor request on the open hub; blocks at most dwTimeoutMs.
    /// @param pBuffer dwLength bytes, borrowed for the call; may be null with length 0
    DWORD KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex, BYTE* pBuffer,
                          DWORD dwLength, DWORD dwTimeoutMs);

    /// Control transfers by an 8-byte setup packet, whose wLength is the data's length; 87 for a
    /// null pointer, 5000 ms each.
    DWORD KyHub_CtlPipeNoDataOut(BYTE* pSetup);
    DWORD KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData);
    DWORD KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData);
    DWORD KyHub_Speed(_myUSB_DEVICE_SPEED& eSpeed);

    /// Bytes of I/O ports and of physical memory; buffers are borrowed for the call.
    DWORD KyHub_WritePortUCHAR(DWORD dwPort, BYTE byValue);
    DWORD KyHub_ReadPortUCHAR(DWORD dwPort, BYTE& byValue);
    DWORD KyHub_WriteMemoryUCHAR(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_ReadMemoryUCHAR(DWORD dwBase, DWORD dwOffset, BYTE* pbyValue); ///< one byte

    /// Asks a hub who made it, beside the open one. @param nFlag non-zero: "SM BUS" counts too
    /// @return non-zero: one of the maker's hubs
    int KyHub_IsVoHub(DWORD devInst, int nFlag);
    int KyHub_TurnOnHubSS(DWORD devInst);      ///< selective suspend on; non-zero = success
    void KyHub_Free(_KYHUB_INST** ppInstance); ///< deletes and nulls *ppInstance
    int KyHid_IsITEHid(DWORD devInst);         ///< 1: the vendor-defined collection

    /// Opens a node's HID interface; the caller closes it. *phInterface stays untouched with
    /// result 0 when the node has no such interface.
    DWORD HidGetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid, HANDLE* phInterface);

    // --- hub vendor commands: one control request each, 5000 ms unless stated ---

    DWORD KyHub_FWReset(USHORT uOption); ///< 0: into ROM code
    DWORD KyHub_FWReset(USHORT uOption, USHORT Index);
    DWORD KyHub_VdCmdEnable(USHORT wValue);      ///< 1 before version and erase, 3 before a write
    DWORD KyHub_Status(BYTE* pBuf, USHORT wLen); ///< 20 bytes in every use

    /// Flash transfers in requests of at most 4096 bytes, one after another; a length of 0 sends
    /// nothing and succeeds. Deliberate: every write request is sent twice, the second result
    /// counts.
    ///
    /// @param dwAddr first byte's flash address (low half in wValue, high half in wIndex)
    /// @param pBuf   the caller's, dwLen bytes, not kept; a write only reads it; after a failed
    ///               read only the requests before it have filled their part
    /// @return status: 0, or the first failing request's code
    DWORD KyHub_WriteFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_ReadFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_EraseFlash2(DWORD dwAddr, DWORD dwTimeoutMs);
    DWORD KyHub_ResetCode(BYTE byA, BYTE byB); ///< (1, 1): into flash code

    /// Memory registers: the low 16 bits of dwAddr count; dwLen bytes, buffers borrowed.
    DWORD KyHub_ReadMem(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_WriteMem(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    DWORD KyHub_ISPValidation(BYTE byValue); ///< the hub checks its flash: up to 50 s
    DWORD KyHub_SetDLSlaveAddr(BYTE byMode, BYTE bySlaveAddr);
    DWORD KyHub_SetDLSlaveAddrSub(BYTE byMode, BYTE bySlaveAddr);

    // --- port-I/O driver ---

    /// Functions of ManageDriver.
    enum : USHORT
    {
        kInstallAndStart = 1,
        kStopAndRemove = 2
    };

    /// Extracts, installs and opens the driver; the arguments are not used.
    int XH_InitVoPortDriver(BYTE byA, BYTE byB, BYTE byC); ///< 1 = ready, 0 = failed
    int XH_UnInitVoPortDriver();                           ///< always 1

    /// The steps of the start. Manager handles are borrowed. @return 1 = success, else 0
    int ExtractVoport(USHORT wResourceId, const WCHAR* pszResourceType);

    /// @param wFunction kInstallAndStart, or kStopAndRemove: 1 whatever came of it
    int ManageDriver(const WCHAR* pszService, const WCHAR* pszDriverPath, USHORT wFunction);
    int SetupDriverName(WCHAR* pszPath); ///< writes the driver file's path; 260 characters
    int InstallDriver(HANDLE hManager, const WCHAR* pszName, const WCHAR* pszPath);
    int StartDriver(HANDLE hManager, const WCHAR* pszName);
    int StopDriver(HANDLE hManager, const WCHAR* pszName);
    int RemoveDriver(HANDLE hManager, const WCHAR* pszName);

    /// Port accesses by 4-byte port numbers. Reads give the value, or 0xFFFFFFFF on failure (for
    /// bytes that is -1); writes give the value written, or 0 on failure, which a written 0
    /// cannot be told from.
    int VoReadByte32(DWORD dwPort);
    DWORD VoReadDword32(DWORD dwPort);
    int VoWriteByte32(DWORD dwPort, BYTE byData);
    DWORD VoWriteDword32(DWORD dwPort, DWORD dwData);

    /// The same by 8-byte port numbers or, where mapping is on, addresses.
    int VoReadByte64(ULONGLONG qwPort);
    DWORD VoReadDword64(ULONGLONG qwPort);
    int VoWriteByte64(ULONGLONG qwPort, BYTE byData);
    DWORD VoWriteDword64(ULONGLONG qwPort, DWORD dwData);

    /// The same in the layout that the driver takes; 0 before the driver was started.
    int VoInputByte(ULONGLONG qwPort);
    DWORD VoInputDword(ULONGLONG qwPort);
    int VoOutputByte(ULONGLONG qwPort, BYTE byData);
    DWORD VoOutputDword(ULONGLONG qwPort, DWORD dwData);

    // --- SMBus host controller: waits are without limit ---

    /// @param dwBase first I/O port of the controller @param bySlaveAddr 8-bit address
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

    /// @param byValue receives the register; after a failed read it is as it was
    void ReadGeneralECReg(DWORD dwCmdPort, DWORD dwDataPort, BYTE byReg, BYTE& byValue);

    // --- billboard PD over WinUSB: every result is non-zero for success ---

    /// Opens by instance number or by identifiers; what was open is closed. After a failure the
    /// commands fail until the next open.
    int KyBBPD_OpenBillBoardDevice(DWORD devInst);
    int KyBBPD_OpenBillBoardDevice(DWORD dwPid, DWORD dwVid); ///< PID first; neither may be 0
    int KyBBPD_CloseBillBoardDevice();                        ///< success when nothing was open

    /// One vendor request; waits at most dwTimeoutMs, and never more than 10 s. A time-out
    /// cancels nothing: pBuffer (dwLength bytes) must stay valid until the close.
    int KyBBPD_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex, BYTE* pBuffer,
                         DWORD dwLength, DWORD dwTimeoutMs);

    /// One request each, 5000 ms unless stated; buffers as above.
    int KyBBPD_WriteFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    int KyBBPD_ReadFlash2(DWORD dwAddr, BYTE* pBuf, DWORD dwLen);
    int KyBBPD_EraseFlash2(DWORD dwAddr, DWORD dwTimeoutMs);
    int KyBBPD_GetICStatus(BYTE* pBuf, DWORD dwLen);
    int KyBBPD_ISPValidation(BYTE byOldBin);
    int KyBBPD_VdCmdEnable(USHORT wValue);
    int KyBBPD_ResetToFlash(USHORT wA, USHORT wB);
    int KyBBPD_ResetToRom(USHORT wValue);
    int KyBBPD_ResetToRom(USHORT wValue, USHORT wIndex);

    /// Lets the device check a bank. @param dwAddr 0 or 0x20000 @param dwLen 0x20000
    /// @param pbyResult receives 1 byte, the verdict; success only says that it was read
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
