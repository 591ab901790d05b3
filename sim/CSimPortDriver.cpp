#include "sim/CSimPortDriver.h"

#include "wire/PortIo.h"

#include <cstdio>
#include <cstring>

namespace
{
constexpr DWORD kErrInvalidFunction = 1;

struct Request
{
    DWORD dwCode;
    bool bWrite;
    bool bMapped;
    unsigned cbValue;
};

constexpr Request kRequests[] = {
    {IOCTL_VOPORT_READ_BYTE, false, false, 1},
    {IOCTL_VOPORT_READ_DWORD, false, false, 4},
    {IOCTL_VOPORT_WRITE_BYTE, true, false, 1},
    {IOCTL_VOPORT_WRITE_DWORD, true, false, 4},
    {IOCTL_VOPORT_READ_BYTE_MAPPED, false, true, 1},
    {IOCTL_VOPORT_READ_DWORD_MAPPED, false, true, 4},
    {IOCTL_VOPORT_WRITE_BYTE_MAPPED, true, true, 1},
    {IOCTL_VOPORT_WRITE_DWORD_MAPPED, true, true, 4},
};

const Request* FindRequest(DWORD dwCode)
{
    for (const Request& entry : kRequests)
        if (entry.dwCode == dwCode)
            return &entry;
    return nullptr;
}
} // namespace

CSimPortDriver::CSimPortDriver(ISimPortSpace& ports, ISimPortSpace& memory)
    : m_ports(ports), m_memory(memory)
{}

DWORD CSimPortDriver::Control(ISimDriverCaller& /*caller*/, SimControlRequest& request)
{
    const Request* const pKind = FindRequest(request.dwCode);
    if (pKind == nullptr) {
        Reject(request, "the code is not one of the eight");
        return kErrInvalidFunction;
    }
    const DWORD cbValueIn = pKind->bWrite ? pKind->cbValue : 0;
    const bool bShort = !pKind->bMapped && request.cbIn == 4 + cbValueIn;
    if (request.pIn == nullptr || (!bShort && request.cbIn != 8 + cbValueIn))
        return Reject(request, "the input fits neither layout");
    if (request.cbOut != (pKind->bWrite ? 0 : pKind->cbValue))
        return Reject(request, "the output has not the request's length");

    ULONGLONG address = 0;
    const size_t cbAddress = bShort ? 4 : 8;
    std::memcpy(&address, request.pIn, cbAddress);
    if (!pKind->bMapped && address > 0xFFFF)
        return Reject(request, "there is no such port");
    ISimPortSpace& space = pKind->bMapped ? m_memory : m_ports;
    DWORD dwValue = 0;
    if (pKind->bWrite) {
        std::memcpy(&dwValue, static_cast<const BYTE*>(request.pIn) + cbAddress, cbValueIn);
        space.Write(address, dwValue, pKind->cbValue);
    } else {
        dwValue = space.Read(address, pKind->cbValue);
        std::memcpy(request.pOut, &dwValue, pKind->cbValue);
        request.cbDone = m_cbLie != 0 ? m_cbLie : pKind->cbValue;
    }
    Note(pKind->bWrite ? (pKind->bMapped ? "write mapped" : "write port")
                       : (pKind->bMapped ? "read mapped" : "read port"),
         address, pKind->cbValue, dwValue);
    return kErrNone;
}

DWORD CSimPortDriver::Reject(const SimControlRequest& request, const char* pszReason)
{
    char szText[128];
    std::snprintf(szText, sizeof szText, "%08X: %s", static_cast<unsigned>(request.dwCode),
                  pszReason);
    m_rejections.emplace_back(szText);
    return kErrInvalidParameter;
}

void CSimPortDriver::Note(const char* pszWhat, ULONGLONG address, unsigned cb, DWORD dwValue)
{
    if (!m_bKeepLog)
        return;
    char szText[96];
    std::snprintf(szText, sizeof szText, "%s 0x%llX %u = 0x%X", pszWhat, address, cb,
                  static_cast<unsigned>(dwValue));
    m_log.emplace_back(szText);
}
