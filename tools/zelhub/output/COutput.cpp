#include "tools/zelhub/output/COutput.h"

#include <array>
#include <cstdio>

Cell Cell::Optional(const std::string& strText)
{
    return strText.empty() ? None() : Cell(Printable(strText));
}

std::string SizeText(unsigned long long n)
{
    constexpr unsigned long long kKib = 1024;
    std::string strBytes = std::to_string(n) + " bytes";
    if (n == 0 || n % kKib != 0)
        return strBytes;
    return std::to_string(n / kKib) + " KiB (" + strBytes + ")";
}

Cell SizeCell(unsigned long long n)
{
    return {SizeText(n), static_cast<long long>(n)};
}

Cell CodeCell(bool bFlashCode)
{
    return bFlashCode ? Cell("flash") : Cell("ROM", std::string("rom"));
}

std::string Hex(unsigned long long n, int nDigits)
{
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "0x%0*llX", nDigits, n);
    return text.data();
}

std::string HexBytes(const unsigned char* pBytes, size_t cb)
{
    std::string strText;
    for (size_t i = 0; i < cb; ++i) {
        if (i != 0)
            strText += ' ';
        strText += Hex(pBytes[i], 2).substr(2);
    }
    return strText;
}

std::string Printable(const std::string& strText)
{
    constexpr unsigned char kDelete = 0x7F;
    std::string strClean = strText;
    for (char& ch : strClean) {
        const auto by = static_cast<unsigned char>(ch);
        if (by < ' ' || by == kDelete)
            ch = '?';
    }
    return strClean;
}
