#include "sim/machine/CSimWinUsb.h"

#include "platform/ErrorCodes.h"
#include "sim/machine/CSimDevicePath.h"
#include "sim/machine/CSimMachine.h"

#include <cstring>

namespace
{
constexpr DWORD kErrIoPending = 997;
constexpr DWORD kWaitTimedOut = 258;

class CWinUsbObject : public CSimHandleObject
{
public:
    explicit CWinUsbObject(std::shared_ptr<CSimDeviceFileObject> pGiven) : pFile(std::move(pGiven))
    {}
    std::shared_ptr<CSimDeviceFileObject> pFile;
};
} // namespace

bool CSimWinUsb::Initialize(HANDLE hDevice, HANDLE* phInterface)
{
    if (!m_machine.Enter("IWinUsb::Initialize"))
        return false;
    auto pFile = m_machine.Handles().Find<CSimDeviceFileObject>(hDevice);
    if (pFile == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    if ((pFile->dwFlags & kFlagOverlapped) == 0)
        return m_machine.Fail(kErrInvalidParameter);
    if (!pFile->pPath->Node().Traits().bWinUsb)
        return m_machine.Fail(kErrNotEnoughMemory);
    *phInterface = m_machine.Handles().Add("winusb interface", "",
                                           std::make_shared<CWinUsbObject>(std::move(pFile)));
    return true;
}

bool CSimWinUsb::ControlTransfer(HANDLE hInterface, const BYTE* pSetup, BYTE* pBuffer,
                                 DWORD cbBuffer, DWORD* /*pcbDone*/, OVERLAPPED_TRANSFER* pTransfer)
{
    if (!m_machine.Enter("IWinUsb::ControlTransfer"))
        return false;
    const auto pObject = m_machine.Handles().Find<CWinUsbObject>(hInterface);
    if (pObject == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    SETUP_PACKET setup;
    std::memcpy(&setup, pSetup, sizeof setup);
    const bool bBuffer = setup.wLength == 0 || (pBuffer != nullptr && cbBuffer >= setup.wLength);
    if (pTransfer == nullptr || !bBuffer || pTransfer->Offset != 0 || pTransfer->OffsetHigh != 0)
        return m_machine.Fail(kErrInvalidParameter);
    pObject->pFile->transfers[pTransfer] = {setup, setup.wLength == 0 ? nullptr : pBuffer, false};
    return m_machine.Fail(kErrIoPending);
}

bool CSimWinUsb::TransferResult(HANDLE hDevice, OVERLAPPED_TRANSFER* pTransfer, DWORD* pcbDone,
                                DWORD dwTimeoutMs, bool /*bAlertable*/)
{
    if (!m_machine.Enter("IWinUsb::TransferResult"))
        return false;
    const auto pFile = m_machine.Handles().Find<CSimDeviceFileObject>(hDevice);
    if (pFile == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    const auto it = pFile->transfers.find(pTransfer);
    if (it == pFile->transfers.end())
        return m_machine.Fail(kErrInvalidParameter);
    CSimClock& clock = m_machine.Time();
    const CSimClock::Micros limit = CSimClock::Micros{dwTimeoutMs} * 1000;
    if (it->second.bLate) {
        clock.Advance(limit);
        return m_machine.Fail(kWaitTimedOut);
    }
    const CSimClock::Micros start = clock.Now();
    const SimTransferResult result =
        pFile->pPath->Control(it->second.setup, it->second.pBuffer, dwTimeoutMs);
    if (result.dwError == kErrSemTimeout || clock.Now() - start > limit) {
        it->second.bLate = true;
        return m_machine.Fail(kWaitTimedOut);
    }
    pFile->transfers.erase(it);
    if (pcbDone != nullptr)
        *pcbDone = result.cbDone;
    if (result.dwError != kErrNone)
        return m_machine.Fail(result.dwError);
    return result.dwUsbdStatus == 0 || m_machine.Fail(kErrGenFailure);
}

bool CSimWinUsb::Free(HANDLE hInterface)
{
    if (!m_machine.Enter("IWinUsb::Free"))
        return false;
    return m_machine.Handles().Close<CWinUsbObject>(hInterface) ||
           m_machine.Fail(kErrInvalidHandle);
}
