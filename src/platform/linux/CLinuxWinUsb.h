#pragma once

#include "platform/IWinUsb.h"
#include "platform/linux/CLinuxHandles.h"

/// The WinUSB calls on usbfs. A transfer runs without limit of time; waiting for it may end
/// earlier, and then it goes on until it ends, the device leaves, or the device file and the
/// interface are closed. The record's event is not touched: the wait that ends well would
/// take its signal back at once.
class CLinuxWinUsb : public IWinUsb
{
public:
    /// @param handles shared with the device files, outlives this object
    explicit CLinuxWinUsb(CLinuxHandles& handles) : m_handles(handles) {}

    bool Initialize(HANDLE hDevice, HANDLE* phInterface) override;
    bool ControlTransfer(HANDLE hInterface, const BYTE* pSetup, BYTE* pBuffer, DWORD cbBuffer,
                         DWORD* pcbDone, OVERLAPPED_TRANSFER* pTransfer) override;
    bool TransferResult(HANDLE hDevice, OVERLAPPED_TRANSFER* pTransfer, DWORD* pcbDone,
                        DWORD dwTimeoutMs, bool bAlertable) override;
    bool Free(HANDLE hInterface) override;

private:
    CLinuxHandles& m_handles;
};
