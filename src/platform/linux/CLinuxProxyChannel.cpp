#include "platform/linux/CLinuxProxyChannel.h"

#include <cstring>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxDeviceFiles.h"
#include "wire/CProxyDecoder.h"

namespace
{
constexpr DWORD kUnknownFunction = 1; // ERROR_INVALID_FUNCTION

/// What the caller's address names: the channel is in the caller's own process.
template<class T>
T* InCaller(ULONGLONG address)
{
    return reinterpret_cast<T*>(address); // NOLINT(performance-no-int-to-ptr)
}
} // namespace

DWORD CLinuxProxyChannel::Control(CONTROL_REQUEST& request)
{
    switch (request.dwCode) {
    case IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE:
        return OpenDevice(request);
    case IOCTL_KYPROXY_CLOSE_DEVICE:
        return CloseDevice(request);
    case IOCTL_KYPROXY_SEND_URB:
        return SendUrb(request);
    case IOCTL_KYPROXY_WRITE_PORT_UCHAR:
        return WritePort(request);
    case IOCTL_KYPROXY_READ_PORT_UCHAR:
        return ReadPort(request);
    case IOCTL_KYPROXY_WRITE_MEMORY_UCHAR:
        return WriteMemory(request);
    case IOCTL_KYPROXY_READ_MEMORY_UCHAR:
        return ReadMemory(request);
    default:
        return kUnknownFunction;
    }
}

DWORD CLinuxProxyChannel::OpenDevice(CONTROL_REQUEST& request)
{
    PROXY_DEVICE_REQUEST open;
    if (CProxyDecoder::Open(request, &open) != nullptr)
        return kErrInvalidParameter;
    const auto pFile = m_handles.Find<CLinuxDeviceObject>(InCaller<void>(open.interfaceHandle));
    if (pFile == nullptr)
        return kErrInvalidHandle;
    DWORD dwError = kErrNone;
    std::shared_ptr<CUsbNode> pDevice = pFile->UsbDevice(&dwError);
    if (pDevice != nullptr)
        dwError = pDevice->Attach();
    if (dwError != kErrNone)
        return dwError;
    open.deviceHandle = m_nextDevice++;
    m_devices[open.deviceHandle] = std::move(pDevice);
    std::memcpy(request.pOut, &open, sizeof open);
    request.cbDone = sizeof open;
    return kErrNone;
}

DWORD CLinuxProxyChannel::CloseDevice(const CONTROL_REQUEST& request)
{
    PROXY_DEVICE_REQUEST close;
    if (CProxyDecoder::Close(request, &close) != nullptr)
        return kErrInvalidParameter;
    return m_devices.erase(close.deviceHandle) != 0 ? kErrNone : kErrInvalidHandle;
}

DWORD CLinuxProxyChannel::SendUrb(const CONTROL_REQUEST& request)
{
    PROXY_URB_REQUEST send;
    if (CProxyDecoder::SendUrb(request, &send) != nullptr)
        return kErrInvalidParameter;
    URB& urb = *InCaller<URB>(send.urbAddress);
    DECODED_URB decoded;
    if (CProxyDecoder::Urb(urb, &decoded) != nullptr)
        return kErrInvalidParameter;
    const auto it = m_devices.find(send.deviceHandle);
    if (it == m_devices.end())
        return kErrInvalidHandle;
    DWORD cbMoved = 0;
    const DWORD dwError = it->second->Control(decoded.setup, InCaller<BYTE>(decoded.dataAddress),
                                              send.timeoutMs, &cbMoved);
    urb.Transfer.TransferBufferLength = cbMoved;
    return dwError;
}

DWORD CLinuxProxyChannel::WritePort(const CONTROL_REQUEST& request)
{
    PROXY_PORT_REQUEST port;
    if (CProxyDecoder::WritePort(request, &port) != nullptr)
        return kErrInvalidParameter;
    return m_ports.Write(port.address, 1, port.value);
}

DWORD CLinuxProxyChannel::ReadPort(CONTROL_REQUEST& request)
{
    PROXY_PORT_REQUEST port;
    if (CProxyDecoder::ReadPort(request, &port) != nullptr)
        return kErrInvalidParameter;
    DWORD dwValue = 0;
    const DWORD dwError = m_ports.Read(port.address, 1, &dwValue);
    if (dwError != kErrNone)
        return dwError;
    *static_cast<BYTE*>(request.pOut) = static_cast<BYTE>(dwValue);
    request.cbDone = 1;
    return kErrNone;
}

DWORD CLinuxProxyChannel::WriteMemory(const CONTROL_REQUEST& request) const
{
    PROXY_MEMORY_REQUEST memory;
    if (CProxyDecoder::WriteMemory(request, &memory) != nullptr)
        return kErrInvalidParameter;
    const BYTE* const pData = static_cast<const BYTE*>(request.pIn) + PROXY_MEMORY_DATA_OFFSET;
    return memory.length == 0 ? kErrNone : m_memory.Write(memory.address, pData, memory.length);
}

DWORD CLinuxProxyChannel::ReadMemory(CONTROL_REQUEST& request) const
{
    PROXY_MEMORY_REQUEST memory;
    if (CProxyDecoder::ReadMemory(request, &memory) != nullptr)
        return kErrInvalidParameter;
    if (memory.length == 0)
        return kErrNone;
    const DWORD dwError = m_memory.Read(memory.address, request.pOut, memory.length);
    if (dwError == kErrNone)
        request.cbDone = memory.length;
    return dwError;
}
