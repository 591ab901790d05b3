#pragma once

#include "wire/ControlRequest.h"

/// A port driver's request that was understood.
struct DECODED_PORT_IO
{
    bool bWrite;
    bool bMapped;  ///< address is one of memory, not a port's number
    DWORD cbValue; ///< 1 or 4
    ULONGLONG address;
    DWORD dwValue; ///< what a write carries, 0 for a read
};

/// Reads the eight requests of wire/PortIo.h strictly, in both layouts. Keeps nothing.
class CPortIoDecoder
{
public:
    static bool Knows(DWORD dwCode); ///< whether the code is one of the eight

    /// For known codes. @return null, or the reason for a refusal (static text)
    static const char* Decode(const CONTROL_REQUEST& request, DECODED_PORT_IO* pOut);
};
