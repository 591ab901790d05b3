#pragma once

#include <memory>
#include <vector>

#include "platform/linux/CUsbNode.h"

struct libusb_transfer;

/// One control transfer that was started and is waited for later, maybe several times, maybe
/// never. The caller's buffer is touched by Finish alone.
class CUsbTransfer
{
public:
    /// Starts it, without limit of time. A start that fails counts as a transfer that ended so.
    /// @param pBuffer the caller's, setup.wLength bytes; must stay valid until Finish
    CUsbTransfer(std::shared_ptr<CUsbNode> pNode, const SETUP_PACKET& setup, BYTE* pBuffer);
    CUsbTransfer(const CUsbTransfer&) = delete;
    CUsbTransfer& operator=(const CUsbTransfer&) = delete;
    ~CUsbTransfer(); ///< cancels what is still under way

    /// Waits at most dwTimeoutMs. @return whether it has ended
    bool Wait(DWORD dwTimeoutMs);

    /// After its end: hands over what came in. @return 0, or an error code
    DWORD Finish(DWORD* pcbDone);

private:
    bool HandleEvents(long lMicroseconds);

    std::shared_ptr<CUsbNode> m_pNode;
    std::vector<BYTE> m_data; ///< setup packet and data, as libusb wants them
    BYTE* m_pBuffer;
    bool m_bIn;
    libusb_transfer* m_pTransfer;
    int m_nEnded = 0;
    DWORD m_dwStartError = 0;
};
