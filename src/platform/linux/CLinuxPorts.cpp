#include "platform/linux/CLinuxPorts.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"

namespace
{
constexpr DWORD kHighestPort = 0xFFFF;
constexpr DWORD kConfigAddress = 0xCF8;
constexpr DWORD kConfigData = 0xCFC;
constexpr DWORD kConfigEnable = 0x80000000;
constexpr DWORD kAllOnes = 0xFFFFFFFF;

bool IsConfigData(DWORD dwPort)
{
    return dwPort >= kConfigData && dwPort < kConfigData + 4;
}

/// Outcome of a positioned read or write that must move everything.
DWORD Outcome(ssize_t nMoved, DWORD cb)
{
    if (nMoved < 0)
        return ErrorFromErrno(errno);
    return nMoved == static_cast<ssize_t>(cb) ? kErrNone : kErrAccessDenied;
}

std::string FunctionPath(const std::string& strSys, DWORD dwConfigAddress)
{
    char szFunction[32];
    std::snprintf(szFunction, sizeof szFunction, "0000:%02x:%02x.%x",
                  (dwConfigAddress >> 16) & 0xFFU, (dwConfigAddress >> 11) & 0x1FU,
                  (dwConfigAddress >> 8) & 7U);
    return strSys + "/bus/pci/devices/" + szFunction + "/config";
}
} // namespace

DWORD CLinuxPorts::Open()
{
    if (!m_ports.IsOpen())
        m_ports = CDescriptor(::open((m_roots.strDev + "/port").c_str(), O_RDWR | O_CLOEXEC));
    return m_ports.IsOpen() ? kErrNone : ErrorFromErrno(errno);
}

DWORD CLinuxPorts::Read(DWORD dwPort, DWORD cb, DWORD* pdwValue)
{
    *pdwValue = 0;
    if (dwPort > kHighestPort)
        return kErrInvalidParameter;
    if (const DWORD dwError = Open())
        return dwError;
    if (dwPort == kConfigAddress && cb == 4) {
        *pdwValue = m_dwConfigAddress;
        return kErrNone;
    }
    if (IsConfigData(dwPort))
        return AccessConfig(dwPort, cb, pdwValue, false);
    return Outcome(::pread(m_ports.Get(), pdwValue, cb, dwPort), cb);
}

DWORD CLinuxPorts::Write(DWORD dwPort, DWORD cb, DWORD dwValue)
{
    if (dwPort > kHighestPort)
        return kErrInvalidParameter;
    if (const DWORD dwError = Open())
        return dwError;
    if (dwPort == kConfigAddress && cb == 4) {
        m_dwConfigAddress = dwValue;
        return kErrNone;
    }
    if (IsConfigData(dwPort))
        return AccessConfig(dwPort, cb, &dwValue, true);
    return Outcome(::pwrite(m_ports.Get(), &dwValue, cb, dwPort), cb);
}

DWORD CLinuxPorts::AccessConfig(DWORD dwPort, DWORD cb, DWORD* pdwValue, bool bWrite) const
{
    const std::string strPath = FunctionPath(m_roots.strSys, m_dwConfigAddress);
    const CDescriptor config(
        (m_dwConfigAddress & kConfigEnable) == 0
            ? -1
            : ::open(strPath.c_str(), (bWrite ? O_RDWR : O_RDONLY) | O_CLOEXEC));
    if (!config.IsOpen()) {
        if ((m_dwConfigAddress & kConfigEnable) != 0 && errno != ENOENT)
            return ErrorFromErrno(errno);
        if (!bWrite)
            *pdwValue = cb == 4 ? kAllOnes : 0xFF;
        return kErrNone;
    }
    const auto nOffset = off_t{m_dwConfigAddress & 0xFC} + off_t{dwPort - kConfigData};
    return Outcome(bWrite ? ::pwrite(config.Get(), pdwValue, cb, nOffset)
                          : ::pread(config.Get(), pdwValue, cb, nOffset),
                   cb);
}
