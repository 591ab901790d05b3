#pragma once

#include "platform/FileConstants.h"

/// Device files. Failures set the calling thread's last error, in Windows numbers on every
/// platform; successes leave it alone.
class IDeviceFile
{
public:
    virtual ~IDeviceFile() = default;

    /// Opens a device by its path (an interface path, or a name such as "\\.\ZelUpx").
    /// Sharing is passed on; not every platform enforces it.
    /// @return a handle for Close, or InvalidHandle()
    virtual HANDLE Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
                        DWORD dwFlags) = 0;

    /// @return true on success
    virtual bool Close(HANDLE hDevice) = 0;

    /// Sends one I/O control request and waits for it. The buffers are borrowed for the call;
    /// *pcbDone receives the count of bytes written to pOut.
    /// @return true on success
    virtual bool Control(HANDLE hDevice, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut,
                         DWORD cbOut, DWORD* pcbDone) = 0;
};
