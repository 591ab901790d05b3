#include "msg/Formatter.h"

#include "platform/IProcess.h"
#include "platform/Platform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "msg/NarrowText.h"

namespace
{
std::string Narrow(const char* pszFormat, ...)
{
    char szOut[256];
    va_list args;
    va_start(args, pszFormat);
    const std::size_t n = FormatText(szOut, sizeof szOut, pszFormat, args);
    va_end(args);
    EXPECT_EQ(n, std::strlen(szOut)) << pszFormat;
    return szOut;
}

std::string Wide(const WCHAR* pszFormat, ...)
{
    WCHAR szOut[256];
    va_list args;
    va_start(args, pszFormat);
    FormatText(szOut, 256, pszFormat, args);
    va_end(args);
    return ToNarrow(szOut);
}

TEST(Formatter, PrintsNumbersOfThirtyTwoBits)
{
    const std::tuple<const char*, int, const char*> kNumbers[] = {
        {"%d", 0, "0"},
        {"%d", -2147483647 - 1, "-2147483648"},
        {"%ld", -5, "-5"},
        {"%u", -1, "4294967295"},
        {"%x", 0xBEEF, "beef"},
        {"%X", 0xBEEF, "BEEF"},
        {"0x%08x \n", static_cast<int>(0x80041003), "0x80041003 \n"},
        {"%02x", 0xA, "0a"},
        {"%02x", 0x123, "123"},
        {"%#x", 0x10, "0x10"},
        {"%#x", 0, "0"},
        {"%5d|", 42, "   42|"},
        {"%-5d|", 42, "42   |"},
        {"%05d", -42, "-0042"},
        {"%.3d", 7, "007"},
        {"%+d", 7, "+7"},
        {"%c", 'Z', "Z"},
        {"%3c|", 'Z', "  Z|"},
    };
    for (const auto& [pszFormat, nValue, pszOut] : kNumbers)
        EXPECT_EQ(Narrow(pszFormat, nValue), pszOut) << pszFormat;
}

TEST(Formatter, SixtyFourBitsNeedTwoLs)
{
    EXPECT_EQ(Narrow("%#llx", 0xFEDCBA9876543210ULL), "0xfedcba9876543210");
    EXPECT_EQ(Narrow("%lld", -9223372036854775807LL), "-9223372036854775807");
    EXPECT_EQ(Narrow("%llx %d", 1ULL, 2), "1 2");
}

TEST(Formatter, PointersAreSixteenUpperCaseDigits)
{
    EXPECT_EQ(Narrow("%p", static_cast<void*>(nullptr)), "0000000000000000");
    const void* pStatus = nullptr;
    const uintptr_t nStatus = 0x00000000C000000DU;
    std::memcpy(&pStatus, &nStatus, sizeof pStatus);
    EXPECT_EQ(Narrow("%p!", pStatus), "00000000C000000D!");
}

TEST(Formatter, TextsOfBothWidthsGoIntoBothFormats)
{
    EXPECT_EQ(Narrow("%s-%S-%ws", "narrow", WTEXT("wide"), WTEXT("wide")), "narrow-wide-wide");
    EXPECT_EQ(Wide(WTEXT("%s-%ws-%S"), WTEXT("wide"), WTEXT("wide"), "narrow"), "wide-wide-narrow");
    // Wide text becomes what the system's narrow code page makes of it.
    const WCHAR* const pszWide = WTEXT("gr\u00f6\u00dfe \U0001F50C");
    char szExpected[32] = {};
    ASSERT_GT(RealPlatform().Process().NarrowText(pszWide, -1, szExpected, sizeof szExpected), 0);
    EXPECT_EQ(Narrow("%S", pszWide), szExpected);
}

TEST(Formatter, NullTextSaysSo)
{
    EXPECT_EQ(Narrow("%s %S", static_cast<char*>(nullptr), static_cast<WCHAR*>(nullptr)),
              "(null) (null)");
    EXPECT_EQ(Wide(WTEXT("%s %S"), static_cast<WCHAR*>(nullptr), static_cast<char*>(nullptr)),
              "(null) (null)");
}

TEST(Formatter, PrecisionAndWidthHoldForTexts)
{
    EXPECT_EQ(Narrow("%.2s|%5s|%-5s|", "abc", "de", "fg"), "ab|   de|fg   |");
    EXPECT_EQ(Narrow("%.2S|%5S|%-5S|", WTEXT("abc"), WTEXT("de"), WTEXT("fg")), "ab|   de|fg   |");
}

// Deliberate: elsewhere "%LE" reads a long double and every argument behind it goes wrong.
TEST(Formatter, UnknownConversionsAreCopiedAndTakeNoArgument)
{
    EXPECT_EQ(Narrow("dwlen%LEN_RW_UNIT %d", 61), "dwlen%LEN_RW_UNIT 61");
    EXPECT_EQ(Narrow("%f %5.2lf %n %d", 3), "%f %5.2lf %n 3");
    EXPECT_EQ(Narrow("100%% \xa3\xba %"), "100% \xa3\xba %");
    EXPECT_EQ(Wide(WTEXT("%LE %d"), 4), "%LE 4");
}

TEST(Formatter, NeverWritesPastItsRoom)
{
    for (std::size_t nRoom = 0; nRoom < 12; ++nRoom) {
        char szOut[16];
        std::memset(szOut, '#', sizeof szOut);
        const auto format = [&](const char* pszFormat, ...) {
            va_list args;
            va_start(args, pszFormat);
            FormatText(szOut, nRoom, pszFormat, args);
            va_end(args);
        };
        format("%d:%S:%s", 12, WTEXT("ab"), "cdefgh");
        if (nRoom > 0) {
            EXPECT_EQ(std::string(szOut), std::string("12:ab:cdefgh").substr(0, nRoom - 1));
        }
        EXPECT_EQ(std::string(szOut + nRoom, sizeof szOut - nRoom),
                  std::string(sizeof szOut - nRoom, '#'));
    }
}
} // namespace
