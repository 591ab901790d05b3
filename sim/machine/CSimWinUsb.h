#pragma once

#include "platform/IWinUsb.h"

class CSimMachine;

/// WinUSB over the nodes whose Traits says bWinUsb. A transfer runs when its result is
/// asked for; one that takes longer than the wait fails the wait with 258 and stays under way.
class CSimWinUsb : public IWinUsb
{
public:
    explicit CSimWinUsb(CSimMachine& machine) : m_machine(machine) {}

    bool Initialize(HANDLE hDevice, HANDLE* phInterface) override;
    bool ControlTransfer(HANDLE hInterface, const BYTE* pSetup, BYTE* pBuffer, DWORD cbBuffer,
                         DWORD* pcbDone, OVERLAPPED_TRANSFER* pTransfer) override;
    bool TransferResult(HANDLE hDevice, OVERLAPPED_TRANSFER* pTransfer, DWORD* pcbDone,
                        DWORD dwTimeoutMs, bool bAlertable) override;
    bool Free(HANDLE hInterface) override;

private:
    CSimMachine& m_machine;
};
