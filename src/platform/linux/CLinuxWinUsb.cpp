#include "platform/linux/CLinuxWinUsb.h"

#include <cstring>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxDeviceFiles.h"
#include "platform/linux/LinuxError.h"

namespace
{
constexpr DWORD kTransferUnderWay = 997; // ERROR_IO_PENDING
constexpr DWORD kWaitTimedOut = 258;     // WAIT_TIMEOUT

class CWinUsbInterface : public CLinuxHandleObject
{
public:
    explicit CWinUsbInterface(std::shared_ptr<CLinuxUsbFile> pGiven) : pFile(std::move(pGiven)) {}
    const std::shared_ptr<CLinuxUsbFile> pFile;
};
} // namespace

bool CLinuxWinUsb::Initialize(HANDLE hDevice, HANDLE* phInterface)
{
    auto pFile = m_handles.Find<CLinuxUsbFile>(hDevice);
    if (pFile == nullptr)
        return FailWith(kErrInvalidHandle);
    if (!pFile->IsOverlapped())
        return FailWith(kErrInvalidParameter);
    DWORD dwError = kErrNone;
    dwError = pFile->UsbDevice(&dwError)->Attach();
    if (dwError != kErrNone)
        return FailWith(dwError);
    *phInterface = m_handles.Add(std::make_shared<CWinUsbInterface>(std::move(pFile)));
    return true;
}

bool CLinuxWinUsb::ControlTransfer(HANDLE hInterface, const BYTE* pSetup, BYTE* pBuffer,
                                   DWORD cbBuffer, DWORD* /*pcbDone*/,
                                   OVERLAPPED_TRANSFER* pTransfer)
{
    const auto pInterface = m_handles.Find<CWinUsbInterface>(hInterface);
    if (pInterface == nullptr)
        return FailWith(kErrInvalidHandle);
    SETUP_PACKET setup;
    std::memcpy(&setup, pSetup, sizeof setup);
    const bool bBuffer = setup.wLength == 0 || (pBuffer != nullptr && cbBuffer >= setup.wLength);
    if (pTransfer == nullptr || !bBuffer || pTransfer->Offset != 0 || pTransfer->OffsetHigh != 0)
        return FailWith(kErrInvalidParameter);
    pInterface->pFile->Start(pTransfer, setup, pBuffer);
    return FailWith(kTransferUnderWay);
}

bool CLinuxWinUsb::TransferResult(HANDLE hDevice, OVERLAPPED_TRANSFER* pTransfer, DWORD* pcbDone,
                                  DWORD dwTimeoutMs, bool /*bAlertable*/)
{
    const auto pFile = m_handles.Find<CLinuxUsbFile>(hDevice);
    if (pFile == nullptr)
        return FailWith(kErrInvalidHandle);
    CUsbTransfer* const pStarted = pFile->FindTransfer(pTransfer);
    if (pStarted == nullptr)
        return FailWith(kErrInvalidParameter);
    if (!pStarted->WaitFor(dwTimeoutMs))
        return FailWith(kWaitTimedOut);
    DWORD cbDone = 0;
    const DWORD dwError = pStarted->Finish(&cbDone);
    pFile->Forget(pTransfer);
    if (pcbDone != nullptr)
        *pcbDone = cbDone;
    return dwError == kErrNone || FailWith(dwError);
}

bool CLinuxWinUsb::Free(HANDLE hInterface)
{
    return m_handles.Close<CWinUsbInterface>(hInterface) || FailWith(kErrInvalidHandle);
}
