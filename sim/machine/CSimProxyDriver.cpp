#include "sim/machine/CSimProxyDriver.h"

#include <cstdio>
#include <cstring>
#include <span>

namespace
{
constexpr DWORD kErrInvalidFunction = 1;
constexpr DWORD kErrNoAccess = 998;

const char* NameOf(DWORD dwCode)
{
    switch (dwCode) {
    case IOCTL_KYPROXY_CLOSE_DEVICE:
        return "close";
    case IOCTL_KYPROXY_SEND_URB:
        return "urb";
    case IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE:
        return "open";
    case IOCTL_KYPROXY_WRITE_PORT_UCHAR:
        return "write port";
    case IOCTL_KYPROXY_READ_PORT_UCHAR:
        return "read port";
    case IOCTL_KYPROXY_WRITE_MEMORY_UCHAR:
        return "write memory";
    case IOCTL_KYPROXY_READ_MEMORY_UCHAR:
        return "read memory";
    default:
        return "unknown request";
    }
}

std::string Outcome(DWORD dwError, DWORD dwUrbStatus)
{
    char szText[40];
    if (dwError != 0)
        std::snprintf(szText, sizeof szText, " -> error %u", static_cast<unsigned>(dwError));
    else if (dwUrbStatus != 0)
        std::snprintf(szText, sizeof szText, " -> status %08X", static_cast<unsigned>(dwUrbStatus));
    else
        return " -> ok";
    return szText;
}
} // namespace

std::string SimProxyRecord::Line() const
{
    std::string strLine = NameOf(dwCode);
    if (bUrb) {
        char szText[96];
        std::snprintf(szText, sizeof szText, " %02X/%02X v=%04X i=%04X len=%u t=%u",
                      setup.bmRequestType, setup.bRequest, setup.wValue, setup.wIndex,
                      setup.wLength, static_cast<unsigned>(dwTimeoutMs));
        strLine += szText;
    }
    return strLine + Outcome(dwError, dwUrbStatus);
}

CSimProxyDriver::CSimProxyDriver(ISimPortSpace* pPorts, ISimPortSpace* pMemory)
    : m_pPorts(pPorts), m_pMemory(pMemory)
{}

DWORD CSimProxyDriver::Control(ISimDriverCaller& caller, SimControlRequest& request)
{
    SimProxyRecord record;
    record.dwCode = request.dwCode;
    if (m_bKeepLog && request.pIn != nullptr) {
        const auto* const pIn = static_cast<const BYTE*>(request.pIn);
        record.in.assign(pIn, pIn + request.cbIn);
    }
    record.dwError = Dispatch(caller, request, record);
    const DWORD dwError = record.dwError;
    if (m_bKeepLog)
        m_log.push_back(std::move(record));
    return dwError;
}

void CSimProxyDriver::Unload()
{
    m_devices.clear();
}

void CSimProxyDriver::FailTransfer(unsigned n, DWORD dwError)
{
    m_faults[n] = {dwError, 0, 0};
}

void CSimProxyDriver::FailTransferWithStatus(unsigned n, DWORD dwUrbStatus)
{
    m_faults[n] = {kErrNone, dwUrbStatus, 0};
}

void CSimProxyDriver::ClearFaults()
{
    m_faults.clear();
    m_interceptor = nullptr;
}

std::vector<std::string> CSimProxyDriver::Lines() const
{
    std::vector<std::string> lines;
    for (const SimProxyRecord& record : m_log)
        lines.push_back(record.Line());
    return lines;
}

DWORD CSimProxyDriver::Dispatch(ISimDriverCaller& caller, SimControlRequest& request,
                                SimProxyRecord& record)
{
    switch (request.dwCode) {
    case IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE:
        return OpenDevice(caller, request, record);
    case IOCTL_KYPROXY_CLOSE_DEVICE:
        return CloseDevice(request, record);
    case IOCTL_KYPROXY_SEND_URB:
        return SendUrb(caller, request, record);
    case IOCTL_KYPROXY_WRITE_PORT_UCHAR:
    case IOCTL_KYPROXY_READ_PORT_UCHAR:
        return Port(request, request.dwCode == IOCTL_KYPROXY_WRITE_PORT_UCHAR);
    case IOCTL_KYPROXY_WRITE_MEMORY_UCHAR:
        return WriteMemory(request);
    case IOCTL_KYPROXY_READ_MEMORY_UCHAR:
        return ReadMemory(request);
    default:
        Reject(request, "the code is not one of the seven");
        return kErrInvalidFunction;
    }
}

DWORD CSimProxyDriver::OpenDevice(ISimDriverCaller& caller, SimControlRequest& request,
                                  SimProxyRecord& record)
{
    PROXY_DEVICE_REQUEST open;
    if (const char* const pszReason = CProxyDecoder::Open(request, &open))
        return Reject(request, pszReason);
    std::shared_ptr<ISimUsbDevice> pDevice = caller.DeviceBehind(open.interfaceHandle);
    if (pDevice == nullptr)
        return kErrInvalidHandle;
    open.deviceHandle = m_nextHandle++;
    record.deviceHandle = open.deviceHandle;
    m_devices[open.deviceHandle] = std::move(pDevice);
    std::memcpy(request.pOut, &open, sizeof open);
    request.cbDone = sizeof open;
    return kErrNone;
}

DWORD CSimProxyDriver::CloseDevice(SimControlRequest& request, SimProxyRecord& record)
{
    PROXY_DEVICE_REQUEST close;
    if (const char* const pszReason = CProxyDecoder::Close(request, &close))
        return Reject(request, pszReason);
    record.deviceHandle = close.deviceHandle;
    return m_devices.erase(close.deviceHandle) != 0 ? kErrNone : NoSuchDevice(close.deviceHandle);
}

DWORD CSimProxyDriver::SendUrb(ISimDriverCaller& caller, SimControlRequest& request,
                               SimProxyRecord& record)
{
    PROXY_URB_REQUEST send;
    if (const char* const pszReason = CProxyDecoder::SendUrb(request, &send))
        return Reject(request, pszReason);
    auto* const pUrb = static_cast<URB*>(caller.Memory(send.urbAddress, sizeof(URB)));
    if (pUrb == nullptr)
        return kErrNoAccess;
    DECODED_URB decoded;
    if (const char* const pszReason = CProxyDecoder::Urb(*pUrb, &decoded))
        return Reject(request, pszReason);
    record.bUrb = true;
    record.urb = *pUrb;
    record.setup = decoded.setup;
    record.dwTimeoutMs = send.timeoutMs;
    record.deviceHandle = send.deviceHandle;
    const auto it = m_devices.find(send.deviceHandle);
    if (it == m_devices.end())
        return NoSuchDevice(send.deviceHandle);
    const std::shared_ptr<ISimUsbDevice> pDevice = it->second; // outlives an unload meanwhile
    BYTE* const pData =
        decoded.cbData == 0
            ? nullptr
            : static_cast<BYTE*>(caller.Memory(decoded.dataAddress, decoded.cbData));
    if (pData == nullptr && decoded.cbData != 0)
        return kErrNoAccess;
    return Transfer(*pDevice, decoded, pData, *pUrb, record);
}

DWORD CSimProxyDriver::Transfer(ISimUsbDevice& device, const DECODED_URB& decoded, BYTE* pData,
                                URB& urb, SimProxyRecord& record)
{
    if (m_bKeepLog && !decoded.bIn && pData != nullptr)
        record.data.assign(pData, pData + decoded.cbData);
    const SimTransferResult result = Carry(device, decoded.setup, pData, record.dwTimeoutMs);
    record.dwUrbStatus = result.dwUsbdStatus;
    record.cbMoved = result.cbDone;
    urb.Transfer.Hdr.Status = result.dwUsbdStatus;
    urb.Transfer.TransferBufferLength = result.cbDone;
    if (m_bKeepLog && decoded.bIn && pData != nullptr)
        record.data.assign(pData, pData + result.cbDone);
    return result.dwError;
}

SimTransferResult CSimProxyDriver::Carry(ISimUsbDevice& device, const SETUP_PACKET& setup,
                                         BYTE* pData, DWORD dwTimeoutMs)
{
    const unsigned n = ++m_nTransfers;
    if (const auto it = m_faults.find(n); it != m_faults.end())
        return Spoil(it->second, dwTimeoutMs);
    if (m_interceptor)
        if (const auto result = m_interceptor(setup, n))
            return Spoil(*result, dwTimeoutMs);
    return device.Control(setup, pData, dwTimeoutMs);
}

SimTransferResult CSimProxyDriver::Spoil(const SimTransferResult& result, DWORD dwTimeoutMs) const
{
    constexpr ULONGLONG kTransferTime = 125;
    if (m_timeHook)
        m_timeHook(result.dwError == kErrSemTimeout ? ULONGLONG{dwTimeoutMs} * 1000
                                                    : kTransferTime);
    return result;
}

DWORD CSimProxyDriver::Port(SimControlRequest& request, bool bWrite)
{
    PROXY_PORT_REQUEST port;
    const char* const pszReason =
        bWrite ? CProxyDecoder::WritePort(request, &port) : CProxyDecoder::ReadPort(request, &port);
    if (pszReason != nullptr)
        return Reject(request, pszReason);
    if (m_pPorts == nullptr)
        return kErrInvalidFunction;
    if (bWrite) {
        m_pPorts->Write(port.address, port.value, 1);
    } else {
        *static_cast<BYTE*>(request.pOut) = static_cast<BYTE>(m_pPorts->Read(port.address, 1));
        request.cbDone = 1;
    }
    return kErrNone;
}

DWORD CSimProxyDriver::WriteMemory(const SimControlRequest& request)
{
    PROXY_MEMORY_REQUEST memory;
    if (const char* const pszReason = CProxyDecoder::WriteMemory(request, &memory))
        return Reject(request, pszReason);
    if (m_pMemory == nullptr)
        return kErrInvalidFunction;
    const std::span<const BYTE> in(static_cast<const BYTE*>(request.pIn), request.cbIn);
    ULONGLONG address = memory.address;
    for (const BYTE byValue : in.subspan(PROXY_MEMORY_DATA_OFFSET, memory.length))
        m_pMemory->Write(address++, byValue, 1);
    return kErrNone;
}

DWORD CSimProxyDriver::ReadMemory(SimControlRequest& request)
{
    PROXY_MEMORY_REQUEST memory;
    if (const char* const pszReason = CProxyDecoder::ReadMemory(request, &memory))
        return Reject(request, pszReason);
    if (m_pMemory == nullptr)
        return kErrInvalidFunction;
    ULONGLONG address = memory.address;
    for (BYTE& byValue : std::span(static_cast<BYTE*>(request.pOut), memory.length))
        byValue = static_cast<BYTE>(m_pMemory->Read(address++, 1));
    request.cbDone = memory.length;
    return kErrNone;
}

DWORD CSimProxyDriver::Reject(const SimControlRequest& request, const char* pszReason)
{
    m_rejections.push_back(std::string(NameOf(request.dwCode)) + ": " + pszReason);
    return kErrInvalidParameter;
}

DWORD CSimProxyDriver::NoSuchDevice(ULONGLONG deviceHandle)
{
    char szText[64];
    std::snprintf(szText, sizeof szText, "no such device handle: %08llX", deviceHandle);
    m_rejections.emplace_back(szText);
    return kErrInvalidHandle;
}
