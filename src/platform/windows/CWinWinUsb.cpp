#include "platform/windows/CWinWinUsb.h"

#include <cstring>

// clang-format off
#include <windows.h>
#include <winusb.h>
// clang-format on

static_assert(sizeof(OVERLAPPED_TRANSFER) == sizeof(OVERLAPPED));

namespace
{
OVERLAPPED* Overlapped(OVERLAPPED_TRANSFER* pTransfer)
{
    return reinterpret_cast<OVERLAPPED*>(pTransfer);
}
} // namespace

bool CWinWinUsb::Initialize(HANDLE hDevice, HANDLE* phInterface)
{
    return ::WinUsb_Initialize(hDevice, phInterface) != FALSE;
}

bool CWinWinUsb::ControlTransfer(HANDLE hInterface, const BYTE* pSetup, BYTE* pBuffer,
                                 DWORD cbBuffer, DWORD* pcbDone, OVERLAPPED_TRANSFER* pTransfer)
{
    WINUSB_SETUP_PACKET setup = {};
    static_assert(sizeof(setup) == 8);
    std::memcpy(&setup, pSetup, sizeof(setup));
    return ::WinUsb_ControlTransfer(hInterface, setup, pBuffer, cbBuffer, pcbDone,
                                    Overlapped(pTransfer)) != FALSE;
}

bool CWinWinUsb::TransferResult(HANDLE hDevice, OVERLAPPED_TRANSFER* pTransfer, DWORD* pcbDone,
                                DWORD dwTimeoutMs, bool bAlertable)
{
    return ::GetOverlappedResultEx(hDevice, Overlapped(pTransfer), pcbDone, dwTimeoutMs,
                                   bAlertable ? TRUE : FALSE) != FALSE;
}

bool CWinWinUsb::Free(HANDLE hInterface)
{
    return ::WinUsb_Free(hInterface) != FALSE;
}
