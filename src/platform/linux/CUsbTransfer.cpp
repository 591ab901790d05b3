#include "platform/linux/CUsbTransfer.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <libusb.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"

namespace
{
using Clock = std::chrono::steady_clock;
constexpr long kSliceMicroseconds = 100000; // so that a lost wake-up costs no more

void LIBUSB_CALL NoteEnd(libusb_transfer* pTransfer)
{
    *static_cast<int*>(pTransfer->user_data) = 1;
}
} // namespace

CUsbTransfer::CUsbTransfer(std::shared_ptr<CUsbNode> pNode, const SETUP_PACKET& setup,
                           BYTE* pBuffer)
    : m_pNode(std::move(pNode)),
      m_data(sizeof setup + setup.wLength),
      m_pBuffer(pBuffer),
      m_bIn((setup.bmRequestType & LIBUSB_ENDPOINT_IN) != 0),
      m_pTransfer(::libusb_alloc_transfer(0))
{
    if (m_pTransfer == nullptr) {
        m_dwStartError = kErrNotEnoughMemory;
        return;
    }
    std::memcpy(m_data.data(), &setup, sizeof setup);
    if (!m_bIn && setup.wLength != 0)
        std::memcpy(m_data.data() + sizeof setup, pBuffer, setup.wLength);
    ::libusb_fill_control_transfer(m_pTransfer, m_pNode->Device(), m_data.data(), NoteEnd,
                                   &m_nEnded, 0);
    m_dwStartError = ErrorFromUsb(::libusb_submit_transfer(m_pTransfer));
}

CUsbTransfer::~CUsbTransfer()
{
    if (m_dwStartError == kErrNone && m_nEnded == 0) {
        ::libusb_cancel_transfer(m_pTransfer);
        while (m_nEnded == 0 && HandleEvents(kSliceMicroseconds)) {
        }
    }
    ::libusb_free_transfer(m_pTransfer);
}

bool CUsbTransfer::HandleEvents(long lMicroseconds)
{
    timeval limit = {lMicroseconds / 1000000, lMicroseconds % 1000000};
    return ::libusb_handle_events_timeout_completed(m_pNode->Context().Get(), &limit, &m_nEnded) ==
           LIBUSB_SUCCESS;
}

bool CUsbTransfer::Wait(DWORD dwTimeoutMs)
{
    if (m_dwStartError != kErrNone)
        return true;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(dwTimeoutMs);
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(end - Clock::now()).count();
        const bool bHandled =
            HandleEvents(std::clamp(static_cast<long>(left), 0L, kSliceMicroseconds));
        if (m_nEnded != 0 || left <= 0 || !bHandled)
            return m_nEnded != 0;
    }
}

DWORD CUsbTransfer::Finish(DWORD* pcbDone)
{
    *pcbDone = 0;
    if (m_dwStartError != kErrNone)
        return m_dwStartError;
    const auto cb = static_cast<std::size_t>(m_pTransfer->actual_length);
    if (m_bIn && cb != 0)
        std::memcpy(m_pBuffer, m_data.data() + sizeof(SETUP_PACKET), cb);
    *pcbDone = static_cast<DWORD>(cb);
    switch (m_pTransfer->status) {
    case LIBUSB_TRANSFER_COMPLETED:
        return kErrNone;
    case LIBUSB_TRANSFER_NO_DEVICE:
        return kErrDeviceGone;
    case LIBUSB_TRANSFER_CANCELLED:
        return kErrOperationAborted;
    default:
        return kErrGenFailure;
    }
}
