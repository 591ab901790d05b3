#pragma once

#include "platform/Export.h"
#include "platform/Types.h"

struct _KYHUB_INST; // NOLINT(bugprone-reserved-identifier)

/// Speed of the open hub; only the cleared value is ever reported.
enum _myUSB_DEVICE_SPEED : DWORD // NOLINT(bugprone-reserved-identifier)
{
    MY_USB_SPEED_UNKNOWN = 0
};

/// The transport through which the command layer reaches a hub. DWORD results are status: 0 =
/// success, else a system error code (87 for a null pointer, 3 for an open without the driver).
/// Transfers do not check that a device is open. One caller thread at a time.
///
/// Operations that switch selective suspend (opens, KyHub_IsVoHub, KyHub_TurnOnHubSS) wait for the
/// companion service without limit where the process is not elevated.
class ZEL_API IPropertyEx
{
public:
    virtual ~IPropertyEx() = default;

    /// Opens a hub; its selective suspend is switched off and stays off. Close an open hub first:
    /// its handles are forgotten otherwise.
    /// @param dwOldSSValue receives the hub's selective-suspend value (0xFFFFFFFF: it was
    ///                     enabled); untouched where nothing was found, so zero it before
    /// @return status; 0xFFFFFFFF when selective suspend could not be switched off
    virtual DWORD KyHub_OpenDeviceByDevInst(DWORD devInst, DWORD& dwOldSSValue) = 0;
    virtual DWORD KyHub_OpenDeviceByDevInst(DWORD devInst) = 0;
    virtual DWORD KyHub_CloseDevice() = 0; ///< always 0

    virtual int InitProxyDriver() = 0;      ///< non-zero: the driver is open
    virtual int XH_UnInitProxyDriver() = 0; ///< always 1

    /// One vendor request on the open device; blocks at most dwTimeoutMs.
    /// @param pBuffer dwLength bytes, borrowed for the call; may be null with length 0
    /// @return status: 0, or the last transport error (0 too where no transfer failed before and
    ///         the driver is not open)
    virtual DWORD KyHub_SendVDCmd(BYTE byType, BYTE byRequest, USHORT wValue, USHORT wIndex,
                                  BYTE* pBuffer, DWORD dwLength, DWORD dwTimeoutMs) = 0;

    /// Single bytes of I/O ports, and bytes of physical memory. The last transport error follows
    /// each failure.
    virtual DWORD KyHub_WritePortUCHAR(DWORD dwAddr, BYTE byValue) = 0;
    virtual DWORD KyHub_ReadPortUCHAR(DWORD dwAddr, BYTE* pbyValue) = 0;
    virtual DWORD KyHub_WriteMemoryUCHAR(DWORD dwAddr, BYTE* pData, DWORD dwLength) = 0;
    virtual DWORD KyHub_ReadMemoryUCHAR(DWORD dwAddr, BYTE* pData, DWORD dwLength) = 0;

    /// Control transfers by an 8-byte setup packet; wLength is the data's length. A null data
    /// pointer gives 87. 5000 ms each.
    virtual DWORD KyHub_CtlPipeNoDataOut(BYTE* pSetup) = 0;
    virtual DWORD KyHub_CtlPipeOut(BYTE* pSetup, BYTE* pData) = 0;
    virtual DWORD KyHub_CtlPipeIn(BYTE* pSetup, BYTE* pData) = 0;

    virtual DWORD KyHub_Speed(_myUSB_DEVICE_SPEED* pSpeed) = 0; ///< 87 for a null pointer

    /// Reads a hub's identity without touching the open device; waits up to 2.2 s for one that is
    /// resuming. Selective suspend is as before afterwards.
    /// @return 1 when the hub is one of the maker's, else 0; "SM BUS" hubs count with a non-zero
    ///         nAcceptSmBus
    virtual int KyHub_IsVoHub(DWORD devInst, int nAcceptSmBus) = 0;
    virtual DWORD KyHub_OpenHidDeviceByDevInst(DWORD devInst) = 0; ///< as for a hub
    virtual void KyHub_Free(_KYHUB_INST** ppInstance) = 0; ///< deletes and nulls *ppInstance
    virtual int KyHid_IsITEHid(DWORD devInst) = 0;         ///< 1: the vendor-defined collection

    /// Opens a node's HID interface; the caller closes it.
    /// *phInterface stays untouched with result 0 when the node has no such interface.
    virtual DWORD HidGetDevInstInterfaceHandle(DWORD devInst, const GUID* pGuid,
                                               HANDLE* phInterface) = 0;
    virtual int KyHub_TurnOnHubSS(DWORD devInst) = 0; ///< non-zero = success
};
