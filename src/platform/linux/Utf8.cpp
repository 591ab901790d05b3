#include "platform/linux/Utf8.h"

namespace
{
void AppendPoint(std::string& strOut, char32_t point)
{
    const auto put = [&](char32_t bits) { strOut.push_back(static_cast<char>(bits)); };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | (point >> 6));
        put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        put(0xE0 | (point >> 12));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    } else {
        put(0xF0 | (point >> 18));
        put(0x80 | ((point >> 12) & 0x3F));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    }
}
} // namespace

std::string Utf8FromWide(const WCHAR* pText, std::size_t nUnits)
{
    std::string strOut;
    strOut.reserve(nUnits);
    for (std::size_t i = 0; i < nUnits; ++i) {
        const char32_t unit = pText[i];
        const bool bHigh = (unit & 0xFC00) == 0xD800;
        if (bHigh && i + 1 < nUnits && (pText[i + 1] & 0xFC00) == 0xDC00) {
            AppendPoint(strOut, 0x10000 + ((unit & 0x3FF) << 10) +
                                    (static_cast<char32_t>(pText[i + 1]) & 0x3FF));
            ++i;
        } else if ((unit & 0xF800) == 0xD800) {
            strOut.push_back('?');
        } else {
            AppendPoint(strOut, unit);
        }
    }
    return strOut;
}
