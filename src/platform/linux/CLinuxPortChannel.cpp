#include "platform/linux/CLinuxPortChannel.h"

#include <cstring>

#include "platform/ErrorCodes.h"
#include "wire/CPortIoDecoder.h"

namespace
{
constexpr DWORD kUnknownFunction = 1; // ERROR_INVALID_FUNCTION
}

DWORD CLinuxPortChannel::Control(CONTROL_REQUEST& request)
{
    if (!CPortIoDecoder::Knows(request.dwCode))
        return kUnknownFunction;
    DECODED_PORT_IO io;
    if (CPortIoDecoder::Decode(request, &io) != nullptr)
        return kErrInvalidParameter;
    const auto dwPort = static_cast<DWORD>(io.address);
    if (io.bWrite)
        return io.bMapped ? m_memory.Write(io.address, &io.dwValue, io.cbValue)
                          : m_ports.Write(dwPort, io.cbValue, io.dwValue);
    const DWORD dwError = io.bMapped ? m_memory.Read(io.address, &io.dwValue, io.cbValue)
                                     : m_ports.Read(dwPort, io.cbValue, &io.dwValue);
    if (dwError != kErrNone)
        return dwError;
    std::memcpy(request.pOut, &io.dwValue, io.cbValue);
    request.cbDone = io.cbValue;
    return kErrNone;
}
