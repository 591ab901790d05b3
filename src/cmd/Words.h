#pragma once

#include "platform/Types.h"

inline USHORT LowWord(DWORD dw)
{
    return static_cast<USHORT>(dw & 0xFFFFu);
}

inline USHORT HighWord(DWORD dw)
{
    return static_cast<USHORT>(dw >> 16);
}

inline USHORT MakeWord(BYTE byLow, BYTE byHigh)
{
    return static_cast<USHORT>((byHigh << 8) | byLow);
}
