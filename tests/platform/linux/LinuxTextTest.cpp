#include <gtest/gtest.h>

#include <cerrno>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"
#include "platform/linux/Utf8.h"

namespace
{
TEST(Utf8, PassesBothWays)
{
    const std::pair<WString, std::string> texts[] = {
        {{}, {}},
        {WTEXT("USB"), "USB"},
        {{0x00E4}, "\xc3\xa4"},
        {{0x20AC}, "\xe2\x82\xac"},
        {{0xD83D, 0xDD0C}, "\xf0\x9f\x94\x8c"}, // a surrogate pair
        {{0xDBFF, 0xDFFF}, "\xf4\x8f\xbf\xbf"}, // the last point
    };
    for (const auto& [strWide, strNarrow] : texts) {
        EXPECT_EQ(Utf8FromWide(strWide.data(), strWide.size()), strNarrow);
        EXPECT_EQ(WideFromUtf8(strNarrow), strWide);
    }
}

TEST(Utf8, WhatIsNoTextBecomesQuestionMarks)
{
    const WCHAR lone[] = {0xDC00, 0xD800};
    EXPECT_EQ(Utf8FromWide(lone, 2), "??");
    EXPECT_EQ(WideFromUtf8("a\xffz"), WTEXT("a?z"));
    EXPECT_EQ(WideFromUtf8("\xe2\x82"), WTEXT("??"));      // cut short
    EXPECT_EQ(WideFromUtf8("\xc0\x80"), WTEXT("??"));      // overlong
    EXPECT_EQ(WideFromUtf8("\xed\xa0\x80"), WTEXT("???")); // a surrogate
    EXPECT_EQ(WideFromUtf8("\xf4\x90\x80\x80"), WTEXT("????"));
}

TEST(LinuxErrors, BecomeTheNumbersThatPeopleKnow)
{
    const std::pair<int, DWORD> cases[] = {
        {ENOENT, 2},      {ENOTDIR, 3},  {EACCES, 5},    {EPERM, 5},   {EISDIR, 5},   {EBADF, 6},
        {EPIPE, 31},      {ETXTBSY, 32}, {EEXIST, 80},   {EINVAL, 87}, {ENOSPC, 112}, {ENOSYS, 120},
        {ETIMEDOUT, 121}, {EBUSY, 170},  {ENODEV, 1167}, {EIO, 1117},  {ENOTTY, 31}};
    for (const auto& [nErrno, dwError] : cases)
        EXPECT_EQ(ErrorFromErrno(nErrno), dwError) << nErrno;
}
} // namespace
