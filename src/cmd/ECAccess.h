#pragma once

#include "platform/Export.h"
#include "platform/Types.h"

/// One EC access as hosts describe it; the library gives the fields no meaning.
struct ZEL_API ECAccessReg
{
    ECAccessReg() = default;
    ECAccessReg(bool bFlagIn, BYTE byValueIn) : bFlag(bFlagIn), byValue(byValueIn) {}

    bool bFlag = false;
    BYTE byValue = 0;
};

/// Six accesses with their frame.
struct ZEL_API ECAccessTable
{
    ECAccessReg regs[6];
    BYTE byFirst = 0;
    BYTE bySecond = 0;
    DWORD dwValue = 0;
};

static_assert(sizeof(ECAccessReg) == 2);
static_assert(sizeof(ECAccessTable) == 20);
