// Port and mapped accesses through the port-I/O driver, in both layouts.
#include <cstring>

#include "cmd/CRequestCMD.h"
#include "cmd/ReportError.h"
#include "msg/CMsg.h"
#include "platform/IDeviceFile.h"
#include "platform/Platform.h"
#include "transport/CScopedHandle.h"
#include "wire/PortIo.h"

namespace
{
constexpr DWORD kReadFailed = 0xFFFFFFFF;
constexpr ULONGLONG kConfigAddress = 0xCF8;
constexpr ULONGLONG kConfigData = 0xCFC;

/// What an operation says when a request fails, and when a read brings a wrong length.
struct PORT_TEXTS
{
    const char* pszFunction;
    const char* pszFailed;
    const char* pszWrongLength;
};

// clang-format off: one whole literal each
constexpr PORT_TEXTS kReadByte32 = {
    "CRequestCMD::VoReadByte32", "CSmBus::VoReadByte32(): DeviceIoControl() FAILED! ==> %s\n",
    "CSmBus::VoReadByte32(): DeviceIoControl() OK! ==> dwReturnedLength =  %ld, dwDataLength = %ld\n"};
constexpr PORT_TEXTS kReadDword32 = {
    "CRequestCMD::VoReadDword32", "CSmBus::VoReadDword32(): DeviceIoControl() FAILED! ==> %s\n",
    "CSmBus::VoReadDword32(): DeviceIoControl() OK! ==> dwReturnedLength =  %ld, dwDataLength = %ld\n"};
constexpr PORT_TEXTS kReadByte64 = {
    "CRequestCMD::VoReadByte64", "CSmBus::VoReadByte64(): DeviceIoControl() FAILED! ==> %s\n",
    "CSmBus::VoReadByte3264(): DeviceIoControl() OK! ==> dwReturnedLength =  %ld, dwDataLength = %ld\n"};
constexpr PORT_TEXTS kReadDword64 = {
    "CRequestCMD::VoReadDword64", "CSmBus::VoReadDword64(): DeviceIoControl() FAILED! ==> %s\n",
    "CSmBus::VoReadDword64(): DeviceIoControl() OK! ==> dwReturnedLength =  %ld, dwDataLength = %ld\n"};
// clang-format on
constexpr PORT_TEXTS kWriteByte32 = {"CRequestCMD::VoWriteByte32",
                                     "CSmBus::VoWriteByte32(): DeviceIoControl() FAILED! ==> %s\n",
                                     nullptr};
constexpr PORT_TEXTS kWriteDword32 = {
    "CRequestCMD::VoWriteDword32", "CSmBus::VoWriteDword32(): DeviceIoControl() FAILED! ==> %s\n",
    nullptr};
constexpr PORT_TEXTS kWriteByte64 = {"CRequestCMD::VoWriteByte64",
                                     "CSmBus::VoWriteByte64(): DeviceIoControl() FAILED! ==> %s\n",
                                     nullptr};
constexpr PORT_TEXTS kWriteDword64 = {
    "CRequestCMD::VoWriteDword64", "CSmBus::VoWriteDword64(): DeviceIoControl() FAILED! ==> %s\n",
    nullptr};

/// Reads a value from a port of the driver's 4- or 8-byte layout.
/// @return the value, or 0xFFFFFFFF after a report
template<class Value, class Port>
DWORD ReadPort(HANDLE hDriver, const PORT_TEXTS& texts, DWORD dwCode, Port port)
{
    Value value = 0;
    DWORD dwReturned = 0;
    if (!CurrentPlatform().DeviceFile().Control(hDriver, dwCode, &port, sizeof port, &value,
                                                sizeof value, &dwReturned)) {
        ReportError(texts.pszFunction, texts.pszFailed);
        return kReadFailed;
    }
    if (dwReturned != sizeof value) {
        CMsg::GetObj()->ShowMsg(MSG_FAIL, texts.pszFunction, texts.pszWrongLength, dwReturned,
                                static_cast<DWORD>(sizeof value));
        return kReadFailed;
    }
    return value;
}

/// Writes a value to a port: port and value, packed. @return false after a report
template<class Value, class Port>
bool WritePort(HANDLE hDriver, const PORT_TEXTS& texts, DWORD dwCode, Port port, Value value)
{
    BYTE buffer[sizeof port + sizeof value];
    std::memcpy(buffer, &port, sizeof port);
    std::memcpy(buffer + sizeof port, &value, sizeof value);
    DWORD dwReturned = 0;
    if (CurrentPlatform().DeviceFile().Control(hDriver, dwCode, buffer, sizeof buffer, nullptr, 0,
                                               &dwReturned))
        return true;
    ReportError(texts.pszFunction, texts.pszFailed);
    return false;
}
} // namespace

int CRequestCMD::VoReadByte32(DWORD dwPort)
{
    return static_cast<int>(ReadPort<BYTE>(m_hDriver, kReadByte32, IOCTL_VOPORT_READ_BYTE, dwPort));
}

DWORD CRequestCMD::VoReadDword32(DWORD dwPort)
{
    return ReadPort<DWORD>(m_hDriver, kReadDword32, IOCTL_VOPORT_READ_DWORD, dwPort);
}

int CRequestCMD::VoWriteByte32(DWORD dwPort, BYTE byData)
{
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::VoWriteByte32",
                            "VoWriteByte32 dwPort=%#x, byData=%#x\n", dwPort, byData);
    return WritePort(m_hDriver, kWriteByte32, IOCTL_VOPORT_WRITE_BYTE, dwPort, byData) ? byData : 0;
}

DWORD CRequestCMD::VoWriteDword32(DWORD dwPort, DWORD dwData)
{
    return WritePort(m_hDriver, kWriteDword32, IOCTL_VOPORT_WRITE_DWORD, dwPort, dwData) ? dwData
                                                                                         : 0;
}

int CRequestCMD::VoReadByte64(ULONGLONG qwPort)
{
    const DWORD dwCode =
        m_bUseMapping != 0 ? IOCTL_VOPORT_READ_BYTE_MAPPED : IOCTL_VOPORT_READ_BYTE;
    return static_cast<int>(ReadPort<BYTE>(m_hDriver, kReadByte64, dwCode, qwPort));
}

DWORD CRequestCMD::VoReadDword64(ULONGLONG qwPort)
{
    // PCI configuration is reached through ports even where everything else is mapped.
    const bool bMapped = m_bUseMapping != 0 && qwPort != kConfigData;
    const DWORD dwCode = bMapped ? IOCTL_VOPORT_READ_DWORD_MAPPED : IOCTL_VOPORT_READ_DWORD;
    return ReadPort<DWORD>(m_hDriver, kReadDword64, dwCode, qwPort);
}

int CRequestCMD::VoWriteByte64(ULONGLONG qwPort, BYTE byData)
{
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_INFO, "CRequestCMD::VoWriteByte64",
                  "VoWriteByte64 qwPort=%#llx, byData=%#x\n", qwPort, byData);
    const DWORD dwCode =
        m_bUseMapping != 0 ? IOCTL_VOPORT_WRITE_BYTE_MAPPED : IOCTL_VOPORT_WRITE_BYTE;
    if (!WritePort(m_hDriver, kWriteByte64, dwCode, qwPort, byData))
        return 0;
    pMsg->ShowMsg(MSG_INFO, "CRequestCMD::VoWriteByte64",
                  "CSmBus::VoWriteByte64(): Write to port 0x%08X <- 0x%02X\n",
                  static_cast<DWORD>(qwPort), byData);
    return byData;
}

DWORD CRequestCMD::VoWriteDword64(ULONGLONG qwPort, DWORD dwData)
{
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_INFO, "CRequestCMD::VoWriteDword64", "m_bUseMapping=%d\n", m_bUseMapping);
    const bool bMapped = m_bUseMapping != 0 && qwPort != kConfigAddress;
    const DWORD dwCode = bMapped ? IOCTL_VOPORT_WRITE_DWORD_MAPPED : IOCTL_VOPORT_WRITE_DWORD;
    if (!WritePort(m_hDriver, kWriteDword64, dwCode, qwPort, dwData))
        return 0;
    pMsg->ShowMsg(MSG_INFO, "CRequestCMD::VoWriteDword64",
                  "CSmBus::VoWriteDword64(): Write to port 0x%08X <- 0x%08X\n",
                  static_cast<DWORD>(qwPort), dwData);
    return dwData;
}

int CRequestCMD::VoInputByte(ULONGLONG qwPort)
{
    if (m_bIsWinNT == 0 && m_bUseMapping == 0)
        return 0;
    return m_bIsWow64 != 0 ? VoReadByte64(qwPort) : VoReadByte32(static_cast<DWORD>(qwPort));
}

DWORD CRequestCMD::VoInputDword(ULONGLONG qwPort)
{
    if (m_bIsWinNT == 0 && m_bUseMapping == 0)
        return 0;
    return m_bIsWow64 != 0 ? VoReadDword64(qwPort) : VoReadDword32(static_cast<DWORD>(qwPort));
}

int CRequestCMD::VoOutputByte(ULONGLONG qwPort, BYTE byData)
{
    if (m_bIsWinNT == 0 && m_bUseMapping == 0)
        return 0;
    return m_bIsWow64 != 0 ? VoWriteByte64(qwPort, byData)
                           : VoWriteByte32(static_cast<DWORD>(qwPort), byData);
}

DWORD CRequestCMD::VoOutputDword(ULONGLONG qwPort, DWORD dwData)
{
    if (m_bIsWinNT == 0 && m_bUseMapping == 0)
        return 0;
    return m_bIsWow64 != 0 ? VoWriteDword64(qwPort, dwData)
                           : VoWriteDword32(static_cast<DWORD>(qwPort), dwData);
}
