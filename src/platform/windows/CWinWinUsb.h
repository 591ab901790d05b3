#pragma once

#include "platform/IWinUsb.h"

class CWinWinUsb : public IWinUsb
{
public:
    bool Initialize(HANDLE hDevice, HANDLE* phInterface) override;
    bool ControlTransfer(HANDLE hInterface, const BYTE* pSetup, BYTE* pBuffer, DWORD cbBuffer,
                         DWORD* pcbDone, OVERLAPPED_TRANSFER* pTransfer) override;
    bool TransferResult(HANDLE hDevice, OVERLAPPED_TRANSFER* pTransfer, DWORD* pcbDone,
                        DWORD dwTimeoutMs, bool bAlertable) override;
    bool Free(HANDLE hInterface) override;
};
