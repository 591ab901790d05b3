#include "sim/models/CSimMisuse.h"

std::string CSimMisuse::Text() const
{
    std::string text;
    for (const std::string& reason : m_reasons)
        text += reason + "\n";
    return text;
}

std::string CSimMisuse::Hex(DWORD dwValue, int nDigits)
{
    std::string text;
    while (dwValue != 0 || nDigits > 0) {
        text.insert(text.begin(), "0123456789ABCDEF"[dwValue & 0xF]);
        dwValue >>= 4;
        --nDigits;
    }
    return "0x" + text;
}
