#include "PlatformContract.h"

#include <atomic>
#include <fstream>
#include <thread>

#include "platform/IClock.h"

namespace
{
class ProcessContract : public PlatformContract
{
protected:
    IProcess& Process() { return m_pPlatform->Process(); }
};

TEST_P(ProcessContract, EveryThreadHasItsOwnLastError)
{
    // Each sets its own before either reads: starting and joining a thread may change it.
    std::atomic<int> nStep{0};
    DWORD dwOthers = 0;
    std::thread other([&] {
        SetLastError(87);
        nStep = 1;
        while (nStep != 2)
            std::this_thread::yield();
        dwOthers = LastError();
    });
    while (nStep != 1)
        std::this_thread::yield();
    SetLastError(5);
    const DWORD dwOwn = LastError();
    nStep = 2;
    other.join();
    EXPECT_EQ(dwOwn, 5u);
    EXPECT_EQ(dwOthers, 87u);
}

TEST_P(ProcessContract, ModulePathNamesAFileThatIsThere)
{
    char szPath[1024] = {};
    const auto* pCode = reinterpret_cast<const void*>(&MakeRealPlatform);
    const DWORD cb = Process().ModulePath(pCode, szPath, sizeof szPath);
    ASSERT_EQ(cb, std::string(szPath).size());
    EXPECT_TRUE(std::ifstream(szPath).good()) << szPath;
    EXPECT_NE(std::string(szPath).find(m_pPlatform->HostFiles().Separator()), std::string::npos);
    EXPECT_EQ(Process().ModulePath(pCode, szPath, 4), 0u);
    EXPECT_EQ(LastError(), kErrInsufficientBuffer);
}

TEST_P(ProcessContract, NarrowTextAsksForTheSizeFirst)
{
    const WCHAR* pszText = WTEXT("USB Hub");
    EXPECT_EQ(Process().NarrowText(pszText, -1, nullptr, 0), 8);
    EXPECT_EQ(Process().NarrowText(pszText, 3, nullptr, 0), 3);
    char szText[8] = {'x'};
    EXPECT_EQ(Process().NarrowText(pszText, -1, szText, 7), 0);
    EXPECT_EQ(LastError(), kErrInsufficientBuffer);
    EXPECT_EQ(Process().NarrowText(pszText, -1, szText, sizeof szText), 8);
    EXPECT_STREQ(szText, "USB Hub");
    const WCHAR half[] = {'a', 0xD83D, 'b', 0};
    EXPECT_EQ(Process().NarrowText(half, -1, szText, sizeof szText), 4);
    EXPECT_STREQ(szText, "a?b");
}

TEST_P(ProcessContract, ProcessIsElevatedOnAKnownSystem)
{
    DWORD dwMajor = 0;
    DWORD dwMinor = 0;
    EXPECT_TRUE(Process().SystemVersion(&dwMajor, &dwMinor));
    EXPECT_GE(dwMajor, 6u);
    HANDLE hToken = nullptr;
    ASSERT_TRUE(Process().OpenToken(kTokenQuery, &hToken));
    DWORD dwElevated = 0;
    DWORD cb = 0;
    EXPECT_TRUE(Process().TokenElevation(hToken, &dwElevated, &cb));
    EXPECT_EQ(cb, 4u);
    EXPECT_NE(dwElevated, 0u);
    EXPECT_TRUE(Process().CloseToken(hToken));
}

TEST_P(ProcessContract, CounterNeverRunsBackwards)
{
    IClock& clock = m_pPlatform->Clock();
    ASSERT_GT(clock.Frequency(), 0);
    LONGLONG llLast = clock.Counter();
    for (int i = 0; i < 100; ++i) {
        const LONGLONG ll = clock.Counter();
        ASSERT_GE(ll, llLast);
        llLast = ll;
    }
}

TEST_P(ProcessContract, LocalTimeIsADate)
{
    CALENDAR_TIME now = {};
    m_pPlatform->Clock().LocalTime(&now);
    EXPECT_GE(now.nYear, 2024);
    EXPECT_TRUE(now.nMonth >= 0 && now.nMonth <= 11) << now.nMonth;
    EXPECT_TRUE(now.nDay >= 1 && now.nDay <= 31) << now.nDay;
    EXPECT_TRUE(now.nHour >= 0 && now.nHour <= 23) << now.nHour;
    EXPECT_TRUE(now.nMinute >= 0 && now.nMinute <= 59) << now.nMinute;
    EXPECT_TRUE(now.nSecond >= 0 && now.nSecond <= 60) << now.nSecond;
}

INSTANTIATE_TEST_SUITE_P(Platforms, ProcessContract, testing::ValuesIn(kPlatforms), PlatformName);
} // namespace
