#include "sim/machine/SimText.h"

namespace
{
void AppendUtf8(std::string* pOut, std::uint32_t code)
{
    const auto push = [pOut](std::uint32_t value) { pOut->push_back(static_cast<char>(value)); };
    if (code < 0x80) {
        push(code);
    } else if (code < 0x800) {
        push(0xC0 | (code >> 6));
        push(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        push(0xE0 | (code >> 12));
        push(0x80 | ((code >> 6) & 0x3F));
        push(0x80 | (code & 0x3F));
    } else {
        push(0xF0 | (code >> 18));
        push(0x80 | ((code >> 12) & 0x3F));
        push(0x80 | ((code >> 6) & 0x3F));
        push(0x80 | (code & 0x3F));
    }
}

WCHAR UpperChar(WCHAR ch)
{
    return ch >= 'a' && ch <= 'z' ? static_cast<WCHAR>(ch - 'a' + 'A') : ch;
}

WCHAR LowerChar(WCHAR ch)
{
    return ch >= 'A' && ch <= 'Z' ? static_cast<WCHAR>(ch - 'A' + 'a') : ch;
}

WString Digits(std::uint64_t value, unsigned nBase, unsigned nDigits)
{
    WString strText;
    while (value != 0 || strText.size() < nDigits) {
        const auto nDigit = static_cast<unsigned>(value % nBase);
        strText.insert(strText.begin(), static_cast<WCHAR>("0123456789ABCDEF"[nDigit]));
        value /= nBase;
    }
    return strText;
}
} // namespace

namespace SimText
{
std::string Narrow(const WString& strText)
{
    std::string strOut;
    for (size_t i = 0; i < strText.size(); ++i) {
        const std::uint32_t code = strText[i];
        const bool bHigh = code >= 0xD800 && code < 0xDC00;
        const std::uint32_t next = i + 1 < strText.size() ? strText[i + 1] : 0;
        if (bHigh && next >= 0xDC00 && next < 0xE000) {
            AppendUtf8(&strOut, 0x10000 + ((code - 0xD800) << 10) + (next - 0xDC00));
            ++i;
        } else if (code >= 0xD800 && code < 0xE000) {
            strOut.push_back('?');
        } else {
            AppendUtf8(&strOut, code);
        }
    }
    return strOut;
}

WString Widen(const std::string& strAscii)
{
    return WString(strAscii.begin(), strAscii.end());
}

WString Upper(const WString& strText)
{
    WString strOut = strText;
    for (WCHAR& ch : strOut)
        ch = UpperChar(ch);
    return strOut;
}

WString Lower(const WString& strText)
{
    WString strOut = strText;
    for (WCHAR& ch : strOut)
        ch = LowerChar(ch);
    return strOut;
}

bool SameNoCase(const WString& a, const WString& b)
{
    return a.size() == b.size() && StartsNoCase(a, b);
}

bool StartsNoCase(const WString& strText, const WString& strStart)
{
    if (strText.size() < strStart.size())
        return false;
    for (size_t i = 0; i < strStart.size(); ++i)
        if (UpperChar(strText[i]) != UpperChar(strStart[i]))
            return false;
    return true;
}

WString Hex(std::uint64_t value, unsigned nDigits)
{
    return Digits(value, 16, nDigits);
}

WString Decimal(std::uint64_t value, unsigned nDigits)
{
    return Digits(value, 10, nDigits);
}

WString GuidText(const GUID& guid)
{
    WString strText = WTEXT("{");
    strText += Hex(guid.Data1, 8);
    strText += WTEXT("-");
    strText += Hex(guid.Data2, 4);
    strText += WTEXT("-");
    strText += Hex(guid.Data3, 4);
    strText += WTEXT("-");
    for (unsigned i = 0; i < 8; ++i) {
        if (i == 2)
            strText += WTEXT("-");
        strText += Hex(guid.Data4[i], 2);
    }
    return Lower(strText) + WTEXT("}");
}

WString PathKey(const WString& strPath)
{
    WString strKey;
    for (const WCHAR ch : strPath)
        if (ch != WCHAR('\\') || strKey.empty() || strKey.back() != WCHAR('\\'))
            strKey.push_back(UpperChar(ch));
    if (!strKey.empty() && strKey.back() == WCHAR('\\'))
        strKey.pop_back();
    return strKey;
}

std::uint32_t Hash(const WString& strText)
{
    std::uint32_t hash = 2166136261u;
    for (const WCHAR ch : strText) {
        hash = (hash ^ (ch & 0xFFu)) * 16777619u;
        hash = (hash ^ (static_cast<std::uint32_t>(ch) >> 8)) * 16777619u;
    }
    return hash;
}
} // namespace SimText
