#pragma once

#include <vector>

#include "wire/SetupPacket.h"

struct libusb_context;
struct libusb_device_handle;
struct libusb_transfer;

/// A control transfer on a device's default pipe, to be used again and again, one at a time: what
/// libusb needs for it is made once. The device must stay open as long as this object lives.
class CUsbTransfer
{
public:
    CUsbTransfer(libusb_context* pContext, libusb_device_handle* pDevice);
    CUsbTransfer(const CUsbTransfer&) = delete;
    CUsbTransfer& operator=(const CUsbTransfer&) = delete;
    ~CUsbTransfer(); ///< cancels what is still under way

    /// Starts it; a start that fails counts as a transfer that ended so. None may be under way.
    /// @param pData the caller's, setup.wLength bytes; outgoing bytes are taken at once, incoming
    ///              ones are handed over by Finish alone, until which it must stay valid
    /// @param dwTimeoutMs when the transfer is cancelled, 0 = never
    void Start(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs);

    void Wait(); ///< for its end

    /// Waits at most so long, 0 = just looks; cancels nothing. @return whether it has ended
    bool WaitFor(DWORD dwMilliseconds);

    /// After its end: hands over what came in.
    /// @param pcbDone bytes that moved, 0 after a failure
    /// @return 0, or an error code
    DWORD Finish(DWORD* pcbDone);

private:
    bool IsUnderWay() const { return m_dwStartError == 0 && m_nEnded == 0; }

    libusb_context* m_pContext;
    libusb_device_handle* m_pDevice;
    libusb_transfer* m_pTransfer;
    std::vector<BYTE> m_bytes; ///< setup packet and data, as libusb wants them
    BYTE* m_pData = nullptr;
    bool m_bIn = false;
    int m_nEnded = 1;
    DWORD m_dwStartError = 0;
};
