#include "platform/linux/CUsbTransfer.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <libusb.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"

namespace
{
using Clock = std::chrono::steady_clock;
constexpr long kMicrosPerSecond = 1000000;

void LIBUSB_CALL NoteEnd(libusb_transfer* pTransfer)
{
    *static_cast<int*>(pTransfer->user_data) = 1;
}

DWORD ErrorFromStatus(libusb_transfer_status eStatus)
{
    switch (eStatus) {
    case LIBUSB_TRANSFER_COMPLETED:
        return kErrNone;
    case LIBUSB_TRANSFER_TIMED_OUT:
        return kErrSemTimeout;
    case LIBUSB_TRANSFER_NO_DEVICE:
        return kErrDeviceGone;
    case LIBUSB_TRANSFER_CANCELLED:
        return kErrOperationAborted;
    case LIBUSB_TRANSFER_STALL:
        return kErrGenFailure;
    default: // an error on the bus
        return kErrIoDevice;
    }
}

/// Of a transfer that the kernel did not take libusb says only that; errno has the cause.
DWORD ErrorFromRefusal(int nErrno)
{
    // A default pipe that is not there any more is that of a device that is just leaving.
    return nErrno == 0 ? kErrIoDevice : ErrorFromErrno(nErrno == ENOENT ? ENODEV : nErrno);
}
} // namespace

CUsbTransfer::CUsbTransfer(libusb_context* pContext, libusb_device_handle* pDevice)
    : m_pContext(pContext), m_pDevice(pDevice), m_pTransfer(::libusb_alloc_transfer(0))
{}

CUsbTransfer::~CUsbTransfer()
{
    if (IsUnderWay()) {
        ::libusb_cancel_transfer(m_pTransfer);
        Wait();
    }
    ::libusb_free_transfer(m_pTransfer);
}

void CUsbTransfer::Start(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs)
{
    m_dwStartError = kErrNotEnoughMemory;
    if (m_pTransfer == nullptr)
        return;
    m_pData = pData;
    m_bIn = (setup.bmRequestType & LIBUSB_ENDPOINT_IN) != 0;
    m_bytes.resize(std::max(m_bytes.size(), sizeof setup + setup.wLength));
    std::memcpy(m_bytes.data(), &setup, sizeof setup);
    if (!m_bIn && setup.wLength != 0)
        std::memcpy(m_bytes.data() + sizeof setup, pData, setup.wLength);
    m_nEnded = 0;
    ::libusb_fill_control_transfer(m_pTransfer, m_pDevice, m_bytes.data(), NoteEnd, &m_nEnded,
                                   dwTimeoutMs);
    errno = 0;
    const int nError = ::libusb_submit_transfer(m_pTransfer);
    m_dwStartError = nError == LIBUSB_ERROR_IO ? ErrorFromRefusal(errno) : ErrorFromUsb(nError);
}

void CUsbTransfer::Wait()
{
    while (IsUnderWay()) {
        const int nError = ::libusb_handle_events_completed(m_pContext, &m_nEnded);
        if (nError != LIBUSB_SUCCESS && nError != LIBUSB_ERROR_INTERRUPTED)
            ::libusb_cancel_transfer(m_pTransfer);
    }
}

bool CUsbTransfer::WaitFor(DWORD dwMilliseconds)
{
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(dwMilliseconds);
    bool bTimeLeft = true;
    while (IsUnderWay() && bTimeLeft) {
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(end - Clock::now()).count();
        bTimeLeft = left > 0;
        const long lMicros = std::max(static_cast<long>(left), 0L);
        timeval limit = {lMicros / kMicrosPerSecond, lMicros % kMicrosPerSecond};
        ::libusb_handle_events_timeout_completed(m_pContext, &limit, &m_nEnded);
    }
    return !IsUnderWay();
}

DWORD CUsbTransfer::Finish(DWORD* pcbDone)
{
    *pcbDone = 0;
    const DWORD dwError =
        m_dwStartError != kErrNone ? m_dwStartError : ErrorFromStatus(m_pTransfer->status);
    if (dwError != kErrNone)
        return dwError;
    const auto cb = static_cast<std::size_t>(m_pTransfer->actual_length);
    if (m_bIn && cb != 0)
        std::memcpy(m_pData, m_bytes.data() + sizeof(SETUP_PACKET), cb);
    *pcbDone = static_cast<DWORD>(cb);
    return kErrNone;
}
