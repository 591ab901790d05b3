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

/// Reads the character at strText[i]. @return its bytes, or 0 where there is no valid one
std::size_t ReadPoint(const std::string& strText, std::size_t i, char32_t& point)
{
    const auto byte = [&](std::size_t n) { return static_cast<unsigned char>(strText[n]); };
    const unsigned char first = byte(i);
    if (first < 0x80) {
        point = first;
        return 1;
    }
    const std::size_t nBytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || i + nBytes > strText.size())
        return 0;
    point = first & (0x7Fu >> nBytes);
    for (std::size_t n = i + 1; n < i + nBytes; ++n) {
        if ((byte(n) & 0xC0) != 0x80)
            return 0;
        point = (point << 6) | (byte(n) & 0x3Fu);
    }
    const bool bOverlong = (nBytes == 3 && point < 0x800) || (nBytes == 4 && point < 0x10000);
    const bool bSurrogate = point >= 0xD800 && point < 0xE000;
    return bOverlong || bSurrogate || point > 0x10FFFF ? 0 : nBytes;
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

WString WideFromUtf8(const std::string& strText)
{
    WString strOut;
    for (std::size_t i = 0; i < strText.size();) {
        char32_t point = 0;
        const std::size_t nBytes = ReadPoint(strText, i, point);
        if (nBytes == 0) {
            strOut.push_back('?');
            ++i;
            continue;
        }
        if (point >= 0x10000) {
            strOut.push_back(static_cast<WCHAR>(0xD800 + ((point - 0x10000) >> 10)));
            strOut.push_back(static_cast<WCHAR>(0xDC00 + ((point - 0x10000) & 0x3FF)));
        } else {
            strOut.push_back(static_cast<WCHAR>(point));
        }
        i += nBytes;
    }
    return strOut;
}
