#pragma once

#include "platform/Types.h"

/// I/O ports or memory as a processor sees them: what device models with registers implement.
class ISimPortSpace
{
public:
    virtual ~ISimPortSpace() = default;

    /// Reads cb bytes (1 or 4), little-endian in the low bytes of the result.
    virtual DWORD Read(ULONGLONG address, unsigned cb) = 0;

    /// Writes the low cb bytes (1 or 4) of a value.
    virtual void Write(ULONGLONG address, DWORD dwValue, unsigned cb) = 0;
};
