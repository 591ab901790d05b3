#include "msg/Formatter.h"

#include <type_traits>

#include "platform/IProcess.h"
#include "platform/Platform.h"

namespace
{
struct Conversion
{
    bool bLeft = false;
    bool bZero = false;
    bool bPlus = false;
    bool bSpace = false;
    bool bAlternate = false;
    int nWidth = 0;
    int nPrecision = -1; ///< -1 = none given
    int nLongs = 0;      ///< count of l
    bool bWideText = false;
    bool bNarrowText = false;
    char chKind = 0; ///< 0 = not one of ours
};

template<typename C>
class CTextSink
{
public:
    CTextSink(C* pOut, std::size_t nRoom) : m_pOut(pOut), m_nRoom(nRoom) {}

    void Put(C ch)
    {
        if (m_nLength + 1 < m_nRoom)
            m_pOut[m_nLength++] = ch;
    }
    void Fill(C ch, int nCount)
    {
        for (int i = 0; i < nCount; ++i)
            Put(ch);
    }
    std::size_t Finish()
    {
        if (m_nRoom > 0)
            m_pOut[m_nLength] = 0;
        return m_nLength;
    }

private:
    C* m_pOut;
    std::size_t m_nRoom;
    std::size_t m_nLength = 0;
};

template<typename C>
bool IsDigit(C ch)
{
    return ch >= C('0') && ch <= C('9');
}

template<typename C>
int ReadNumber(const C*& p)
{
    int n = 0;
    for (; IsDigit(*p); ++p) {
        if (n < 100000)
            n = n * 10 + static_cast<int>(*p - C('0'));
    }
    return n;
}

template<typename C>
void ReadFlags(const C*& p, Conversion& conv)
{
    for (;; ++p) {
        if (*p == C('-'))
            conv.bLeft = true;
        else if (*p == C('0'))
            conv.bZero = true;
        else if (*p == C('+'))
            conv.bPlus = true;
        else if (*p == C(' '))
            conv.bSpace = true;
        else if (*p == C('#'))
            conv.bAlternate = true;
        else
            return;
    }
}

template<typename C>
void ReadLength(const C*& p, Conversion& conv)
{
    for (;; ++p) {
        if (*p == C('l'))
            ++conv.nLongs;
        else if (*p == C('w'))
            conv.bWideText = true;
        else if (*p == C('h'))
            conv.bNarrowText = true;
        else
            return;
    }
}

/// Reads what follows a percent sign; p ends behind it. chKind stays 0 for what is not ours.
template<typename C>
Conversion ReadConversion(const C*& p)
{
    Conversion conv;
    ReadFlags(p, conv);
    conv.nWidth = ReadNumber(p);
    if (*p == C('.')) {
        ++p;
        conv.nPrecision = ReadNumber(p);
    }
    ReadLength(p, conv);
    for (const char* pszKind = "diuxXocpsS%"; *pszKind != 0; ++pszKind) {
        if (*p == C(*pszKind)) {
            conv.chKind = *pszKind;
            ++p;
            break;
        }
    }
    return conv;
}

/// Writes the digits of a value backwards and returns their count. The base is known when this
/// is compiled, which saves the divisions that would cost most of a line's time.
template<unsigned nBase>
int Digits(ULONGLONG qwValue, const char* pszDigits, char* pOut)
{
    int n = 0;
    for (; qwValue != 0; qwValue /= nBase)
        pOut[n++] = pszDigits[qwValue % nBase];
    return n;
}

int Digits(ULONGLONG qwValue, char chKind, char* pOut)
{
    switch (chKind) {
    case 'x':
        return Digits<16>(qwValue, "0123456789abcdef", pOut);
    case 'X':
        return Digits<16>(qwValue, "0123456789ABCDEF", pOut);
    case 'o':
        return Digits<8>(qwValue, "01234567", pOut);
    default:
        return Digits<10>(qwValue, "0123456789", pOut);
    }
}

template<typename C>
void PutNumber(CTextSink<C>& sink, const Conversion& conv, ULONGLONG qwValue, bool bNegative)
{
    const bool bHex = conv.chKind == 'x' || conv.chKind == 'X';
    char digits[24];
    const int nDigits = Digits(qwValue, conv.chKind, digits);

    char prefix[3];
    int nPrefix = 0;
    const bool bSigned = conv.chKind == 'd' || conv.chKind == 'i';
    if (bNegative)
        prefix[nPrefix++] = '-';
    else if (bSigned && conv.bPlus)
        prefix[nPrefix++] = '+';
    else if (bSigned && conv.bSpace)
        prefix[nPrefix++] = ' ';
    if (conv.bAlternate && bHex && qwValue != 0) {
        prefix[nPrefix++] = '0';
        prefix[nPrefix++] = conv.chKind;
    }

    const int nLeast = conv.nPrecision >= 0 ? conv.nPrecision : 1;
    int nZeros = nDigits < nLeast ? nLeast - nDigits : 0;
    int nPad = conv.nWidth - nPrefix - nZeros - nDigits;
    if (nPad > 0 && conv.bZero && !conv.bLeft && conv.nPrecision < 0) {
        nZeros += nPad;
        nPad = 0;
    }
    if (!conv.bLeft)
        sink.Fill(C(' '), nPad);
    for (int i = 0; i < nPrefix; ++i)
        sink.Put(C(prefix[i]));
    sink.Fill(C('0'), nZeros);
    for (int i = nDigits; i > 0; --i)
        sink.Put(C(digits[i - 1]));
    if (conv.bLeft)
        sink.Fill(C(' '), nPad);
}

/// Text of the format's own width, or narrow text in a wide format (byte by byte).
template<typename C, typename T>
void PutText(CTextSink<C>& sink, const Conversion& conv, const T* pszText)
{
    int nLength = 0;
    while ((conv.nPrecision < 0 || nLength < conv.nPrecision) && pszText[nLength] != 0)
        ++nLength;
    if (!conv.bLeft)
        sink.Fill(C(' '), conv.nWidth - nLength);
    for (int i = 0; i < nLength; ++i)
        sink.Put(static_cast<C>(static_cast<std::make_unsigned_t<T>>(pszText[i])));
    if (conv.bLeft)
        sink.Fill(C(' '), conv.nWidth - nLength);
}

bool IsHighSurrogate(WCHAR ch)
{
    return (ch & 0xFC00) == 0xD800;
}
bool IsLowSurrogate(WCHAR ch)
{
    return (ch & 0xFC00) == 0xDC00;
}

/// Converts the character at psz (1 or 2 units) and returns the bytes in szOut.
int NarrowOne(const WCHAR* psz, int nUnits, char (&szOut)[8])
{
    const int n = CurrentPlatform().Process().NarrowText(psz, nUnits, szOut, sizeof szOut);
    if (n > 0)
        return n;
    szOut[0] = '?';
    return 1;
}

/// Wide text in a narrow format, converted character by character: nothing is allocated, and a
/// text that does not fit is cut between characters' bytes like any other.
void PutWideInNarrow(CTextSink<char>& sink, const Conversion& conv, const WCHAR* pszText)
{
    int nWidth = 0;
    char szOne[8];
    const auto forEach = [&](auto&& put) {
        int nLength = 0;
        for (const WCHAR* p = pszText; *p != 0;) {
            const int nUnits = IsHighSurrogate(p[0]) && IsLowSurrogate(p[1]) ? 2 : 1;
            const int n = NarrowOne(p, nUnits, szOne);
            if (conv.nPrecision >= 0 && nLength + n > conv.nPrecision)
                return;
            nLength += n;
            put(n);
            p += nUnits;
        }
    };
    if (conv.nWidth > 0)
        forEach([&](int n) { nWidth += n; });
    if (!conv.bLeft)
        sink.Fill(' ', conv.nWidth - nWidth);
    forEach([&](int n) {
        for (int i = 0; i < n; ++i)
            sink.Put(szOne[i]);
    });
    if (conv.bLeft)
        sink.Fill(' ', conv.nWidth - nWidth);
}

void PutWide(CTextSink<char>& sink, const Conversion& conv, const WCHAR* psz)
{
    PutWideInNarrow(sink, conv, psz != nullptr ? psz : WTEXT("(null)"));
}

void PutWide(CTextSink<WCHAR>& sink, const Conversion& conv, const WCHAR* psz)
{
    PutText(sink, conv, psz != nullptr ? psz : WTEXT("(null)"));
}

template<typename C>
bool TakesWide(const Conversion& conv)
{
    if (conv.bWideText || conv.nLongs > 0)
        return true;
    if (conv.bNarrowText)
        return false;
    const bool bFormatIsWide = sizeof(C) > 1;
    return conv.chKind == 's' ? bFormatIsWide : !bFormatIsWide;
}

/// The rest of the arguments, passed on by reference whatever va_list is.
struct Arguments
{
    va_list args;
};

// The analyzer does not follow va_copy into the record.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized)

template<typename C>
void PutInteger(CTextSink<C>& sink, const Conversion& conv, Arguments& rest)
{
    if (conv.chKind == 'd' || conv.chKind == 'i') {
        const LONGLONG ll = conv.nLongs >= 2 ? va_arg(rest.args, LONGLONG) : va_arg(rest.args, int);
        const ULONGLONG qw = static_cast<ULONGLONG>(ll);
        PutNumber(sink, conv, ll < 0 ? 0 - qw : qw, ll < 0);
        return;
    }
    const ULONGLONG qw =
        conv.nLongs >= 2 ? va_arg(rest.args, ULONGLONG) : va_arg(rest.args, unsigned int);
    PutNumber(sink, conv, qw, false);
}

template<typename C>
void PutPointer(CTextSink<C>& sink, Conversion conv, Arguments& rest)
{
    conv.chKind = 'X';
    conv.nPrecision = 16;
    conv.bAlternate = false;
    PutNumber(sink, conv, reinterpret_cast<uintptr_t>(va_arg(rest.args, void*)), false);
}

template<typename C>
void PutCharacter(CTextSink<C>& sink, const Conversion& conv, Arguments& rest)
{
    const C text[2] = {static_cast<C>(va_arg(rest.args, int)), 0};
    if (!conv.bLeft)
        sink.Fill(C(' '), conv.nWidth - 1);
    sink.Put(text[0]);
    if (conv.bLeft)
        sink.Fill(C(' '), conv.nWidth - 1);
}

template<typename C>
void PutConversion(CTextSink<C>& sink, const Conversion& conv, Arguments& rest)
{
    switch (conv.chKind) {
    case '%':
        sink.Put(C('%'));
        return;
    case 'c':
        PutCharacter(sink, conv, rest);
        return;
    case 'p':
        PutPointer(sink, conv, rest);
        return;
    case 's':
    case 'S':
        if (TakesWide<C>(conv)) {
            PutWide(sink, conv, va_arg(rest.args, const WCHAR*));
        } else {
            const char* psz = va_arg(rest.args, const char*);
            PutText(sink, conv, psz != nullptr ? psz : "(null)");
        }
        return;
    default:
        PutInteger(sink, conv, rest);
    }
}

// NOLINTEND(clang-analyzer-valist.Uninitialized)

template<typename C>
std::size_t Format(C* pOut, std::size_t nRoom, const C* pszFormat, Arguments& rest)
{
    CTextSink<C> sink(pOut, nRoom);
    for (const C* p = pszFormat; *p != 0;) {
        if (*p != C('%')) {
            sink.Put(*p++);
            continue;
        }
        const C* pBehind = p + 1;
        const Conversion conv = ReadConversion(pBehind);
        if (conv.chKind != 0)
            PutConversion(sink, conv, rest);
        else
            for (const C* pCopy = p; pCopy != pBehind; ++pCopy)
                sink.Put(*pCopy);
        p = pBehind;
    }
    return sink.Finish();
}
} // namespace

std::size_t FormatText(char* pOut, std::size_t nRoom, const char* pszFormat, va_list args)
{
    Arguments rest;
    va_copy(rest.args, args);
    const std::size_t n = Format(pOut, nRoom, pszFormat, rest);
    va_end(rest.args);
    return n;
}

std::size_t FormatText(WCHAR* pOut, std::size_t nRoom, const WCHAR* pszFormat, va_list args)
{
    Arguments rest;
    va_copy(rest.args, args);
    const std::size_t n = Format(pOut, nRoom, pszFormat, rest);
    va_end(rest.args);
    return n;
}
