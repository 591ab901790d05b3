#include "sim/machine/CSimPortDriver.h"

#include "wire/CPortIoDecoder.h"

#include <cstdio>
#include <cstring>

namespace
{
constexpr DWORD kErrInvalidFunction = 1;
} // namespace

CSimPortDriver::CSimPortDriver(ISimPortSpace& ports, ISimPortSpace& memory)
    : m_ports(ports), m_memory(memory)
{}

DWORD CSimPortDriver::Control(ISimDriverCaller& /*caller*/, SimControlRequest& request)
{
    if (!CPortIoDecoder::Knows(request.dwCode)) {
        Reject(request, "the code is not one of the eight");
        return kErrInvalidFunction;
    }
    DECODED_PORT_IO io;
    if (const char* const pszReason = CPortIoDecoder::Decode(request, &io))
        return Reject(request, pszReason);
    ISimPortSpace& space = io.bMapped ? m_memory : m_ports;
    if (io.bWrite) {
        space.Write(io.address, io.dwValue, io.cbValue);
    } else {
        io.dwValue = space.Read(io.address, io.cbValue);
        std::memcpy(request.pOut, &io.dwValue, io.cbValue);
        request.cbDone = m_cbLie != 0 ? m_cbLie : io.cbValue;
    }
    Note(io.bWrite ? (io.bMapped ? "write mapped" : "write port")
                   : (io.bMapped ? "read mapped" : "read port"),
         io.address, io.cbValue, io.dwValue);
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
