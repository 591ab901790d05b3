#pragma once

#include "platform/IWinUsb.h"

/// One billboard connection over WinUSB: found by instance number or by IDs, used for control
/// transfers, one at a time. Results are non-zero for success.
class CWinUsb
{
public:
    explicit CWinUsb(DWORD devInst);
    CWinUsb(DWORD dwPid, DWORD dwVid);
    CWinUsb(const CWinUsb&) = delete;
    CWinUsb& operator=(const CWinUsb&) = delete;
    virtual ~CWinUsb(); ///< closes

    /// Finds and opens the device. After a failure nothing stays open; IsOpen says no.
    int WinUsb_OpenDevice();
    int WinUsb_CloseDevice(); ///< success when nothing was open
    bool IsOpen() const { return m_nOpen != 0; }

    /// Starts a control transfer; what came of it shows WaitTransfer.
    /// @param pSetup the 8 bytes of the setup packet
    /// @param pBuffer must stay valid until the transfer or the connection has ended
    void StartTransfer(const BYTE* pSetup, BYTE* pBuffer, DWORD dwLength);

    /// Waits for the transfer that was started; a time-out cancels nothing.
    /// @return non-zero when it ended well; otherwise the last error says why
    int WaitTransfer(DWORD dwTimeoutMs);

private:
    int OpenPath(const WString& strPath);

    int m_nOpen = 0; ///< 1 after a complete open
    HANDLE m_hWinUsb = nullptr;
    HANDLE m_hDevice; ///< invalid = closed
    HANDLE m_hEvent;  ///< of every transfer; invalid = closed
    DWORD m_dwPid = 0;
    DWORD m_dwVid = 0;
    DWORD m_devInst = 0; ///< 0: found by the IDs
    OVERLAPPED_TRANSFER m_transfer = {};
};
