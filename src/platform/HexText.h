#pragma once

#include "platform/Types.h"

/// A number as "%04x" writes it: lower-case digits, at least four.
inline WString HexText(DWORD dwValue)
{
    const WCHAR* const pszDigits = WTEXT("0123456789abcdef");
    WString strHex;
    for (int nShift = 28; nShift >= 0; nShift -= 4) {
        const DWORD dwDigit = (dwValue >> nShift) & 0xFu;
        if (!strHex.empty() || dwDigit != 0 || nShift < 16)
            strHex.push_back(pszDigits[dwDigit]);
    }
    return strHex;
}
