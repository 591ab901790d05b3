#pragma once

#include "platform/Types.h"

/// A transfer under way (layout of OVERLAPPED, 64-bit). It and the transfer's buffer must stay
/// valid until the transfer has ended.
struct OVERLAPPED_TRANSFER
{
    uintptr_t Internal;
    uintptr_t InternalHigh;
    DWORD Offset;
    DWORD OffsetHigh;
    HANDLE hEvent;
};
static_assert(sizeof(OVERLAPPED_TRANSFER) == 32);

/// WinUSB. Failures set the thread's last error, successes leave it alone.
class IWinUsb
{
public:
    virtual ~IWinUsb() = default;

    /// @param hDevice a device file opened for overlapped transfers
    /// @return true on success; *phInterface is then for Free
    virtual bool Initialize(HANDLE hDevice, HANDLE* phInterface) = 0;

    /// Starts a control transfer; false with 997 means that it is under way.
    /// @param pSetup the 8 bytes of the setup packet (USB 2.0, 9.3)
    virtual bool ControlTransfer(HANDLE hInterface, const BYTE* pSetup, BYTE* pBuffer,
                                 DWORD cbBuffer, DWORD* pcbDone,
                                 OVERLAPPED_TRANSFER* pTransfer) = 0;

    /// Waits for a transfer; a time-out fails with 258 and cancels nothing.
    /// @return true when the transfer ended well
    virtual bool TransferResult(HANDLE hDevice, OVERLAPPED_TRANSFER* pTransfer, DWORD* pcbDone,
                                DWORD dwTimeoutMs, bool bAlertable) = 0;

    virtual bool Free(HANDLE hInterface) = 0; ///< true on success
};
