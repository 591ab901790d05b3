#pragma once

#include "platform/Types.h"

/// The calling thread's last error.
DWORD SystemError();

/// Gives a handle back to its service at the end of the scope; never a null or invalid one.
class CScopedHandle
{
public:
    using Closer = void (*)(HANDLE);

    CScopedHandle(HANDLE hOpen, Closer pfnClose) : m_hOpen(hOpen), m_pfnClose(pfnClose) {}
    CScopedHandle(const CScopedHandle&) = delete;
    CScopedHandle& operator=(const CScopedHandle&) = delete;
    ~CScopedHandle() { Reset(); }

    HANDLE Get() const { return m_hOpen; }
    bool IsOpen() const { return m_hOpen != nullptr && m_hOpen != InvalidHandle(); }

    /// Closes what is open and takes over another handle.
    void Reset(HANDLE hOther = nullptr)
    {
        if (IsOpen())
            m_pfnClose(m_hOpen);
        m_hOpen = hOther;
    }

    /// Hands the handle out; it stays open.
    HANDLE Release()
    {
        HANDLE const hOpen = m_hOpen;
        m_hOpen = nullptr;
        return hOpen;
    }

private:
    HANDLE m_hOpen;
    Closer m_pfnClose;
};

/// Closers, one per kind of handle.
void CloseDeviceSet(HANDLE hSet);
void CloseDeviceFile(HANDLE hDevice);
void CloseWideFile(HANDLE hFile);
void CloseService(HANDLE hManagerOrService);
void CloseNamedEvent(HANDLE hEvent);
void CloseNamedPipe(HANDLE hPipe);
void CloseToken(HANDLE hToken);
