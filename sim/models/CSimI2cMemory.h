#pragma once

#include "platform/Types.h"

#include <vector>

/// A memory device on a hub's own I2C port, addressed by 32 bits.
class CSimI2cMemory
{
public:
    explicit CSimI2cMemory(std::size_t cb, BYTE byFill = 0xFF) : m_bytes(cb, byFill) {}

    std::vector<BYTE>& Bytes() { return m_bytes; }

    bool Holds(DWORD dwAddr, std::size_t cb) const
    {
        return dwAddr <= m_bytes.size() && cb <= m_bytes.size() - dwAddr;
    }

private:
    std::vector<BYTE> m_bytes;
};
