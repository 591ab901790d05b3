#include <gtest/gtest.h>

#include <cerrno>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"
#include "platform/linux/Utf8.h"

namespace
{
struct Conversion
{
    const char* pszCase;
    WString strWide;
    std::string strNarrow;
};

class Utf8Text : public testing::TestWithParam<Conversion>
{};

TEST_P(Utf8Text, PassesBothWays)
{
    const Conversion& conv = GetParam();
    EXPECT_EQ(Utf8FromWide(conv.strWide.data(), conv.strWide.size()), conv.strNarrow);
    EXPECT_EQ(WideFromUtf8(conv.strNarrow), conv.strWide);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Utf8Text,
    testing::Values(Conversion{"Empty", {}, {}}, Conversion{"Ascii", WTEXT("USB"), "USB"},
                    Conversion{"TwoBytes", {0x00E4}, "\xc3\xa4"},
                    Conversion{"ThreeBytes", {0x20AC}, "\xe2\x82\xac"},
                    Conversion{"SurrogatePair", {0xD83D, 0xDD0C}, "\xf0\x9f\x94\x8c"},
                    Conversion{"LastPoint", {0xDBFF, 0xDFFF}, "\xf4\x8f\xbf\xbf"}),
    [](const auto& given) { return std::string(given.param.pszCase); });

TEST(Utf8, WhatIsNoTextBecomesQuestionMarks)
{
    const WCHAR lone[] = {0xDC00, 0xD800};
    EXPECT_EQ(Utf8FromWide(lone, 2), "??");
    EXPECT_EQ(WideFromUtf8("a\xff"
                           "b"),
              WTEXT("a?b"));
    EXPECT_EQ(WideFromUtf8("\xe2\x82"), WTEXT("??"));      // cut short
    EXPECT_EQ(WideFromUtf8("\xc0\x80"), WTEXT("??"));      // overlong
    EXPECT_EQ(WideFromUtf8("\xed\xa0\x80"), WTEXT("???")); // a surrogate
    EXPECT_EQ(WideFromUtf8("\xf4\x90\x80\x80"), WTEXT("????"));
}

struct ErrnoCase
{
    int nErrno;
    DWORD dwError;
};

TEST(LinuxErrors, BecomeTheNumbersThatPeopleKnow)
{
    const ErrnoCase cases[] = {{ENOENT, 2},      {ENOTDIR, 3}, {EACCES, 5},    {EPERM, 5},
                               {EISDIR, 5},      {EBADF, 6},   {EPIPE, 31},    {ETXTBSY, 32},
                               {EEXIST, 80},     {EINVAL, 87}, {ENOSPC, 112},  {ENOSYS, 120},
                               {ETIMEDOUT, 121}, {EBUSY, 170}, {ENODEV, 1167}, {EIO, 31}};
    for (const ErrnoCase& c : cases)
        EXPECT_EQ(ErrorFromErrno(c.nErrno), c.dwError) << c.nErrno;
}
} // namespace
