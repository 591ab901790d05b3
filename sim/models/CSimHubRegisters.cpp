#include "sim/models/CSimHubRegisters.h"

#include "sim/models/CSimMisuse.h"

namespace
{

struct Register
{
    USHORT usAddr;
    BYTE byAtReset;
    BYTE byForErase;
};

constexpr USHORT kUnlock = 0xD800;
constexpr BYTE kUnlockBit = 0x01;
constexpr Register kGuards[] = {
    {0xD820, 0x00, 0x01}, {0xD825, 0x00, 0x00}, {0xD826, 0x00, 0x01},  {0xD827, 0x00, 0x00},
    {0xD828, 0x00, 0x00}, {0xD900, 0x80, 0x00}, {kUnlock, 0x40, 0x41},
};

} // namespace

void CSimHubRegisters::Reset()
{
    m_values.clear();
    for (const Register& reg : kGuards)
        m_values[reg.usAddr] = reg.byAtReset;
}

BYTE CSimHubRegisters::Read(USHORT usAddr) const
{
    const auto it = m_values.find(usAddr);
    return it == m_values.end() ? BYTE{0} : it->second;
}

void CSimHubRegisters::Write(USHORT usAddr, BYTE by)
{
    m_values[usAddr] = by;
    if (usAddr == kUnlock && (by & kUnlockBit) != 0)
        m_usUnlocked = m_clock.Now();
}

std::string CSimHubRegisters::EraseObstacle() const
{
    for (const Register& reg : kGuards)
        if (Read(reg.usAddr) != reg.byForErase)
            return "register " + CSimMisuse::Hex(reg.usAddr, 4) + " is " +
                   CSimMisuse::Hex(Read(reg.usAddr)) + ", not " + CSimMisuse::Hex(reg.byForErase);
    if (m_clock.Now() - m_usUnlocked < kSettleMicros)
        return "the unlock had no 20 ms to settle";
    return {};
}

void CSimHubRegisters::LockErase()
{
    for (const Register& reg : kGuards)
        m_values[reg.usAddr] = reg.byAtReset;
}
