#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace
{

/// Requests, counted from the process's start: listing and connecting come first.
const char* const kPlaces[] = {"'status', 'nth': 4",       "'enable', 'nth': 2",
                               "'reset-to-rom', 'nth': 0", "'erase', 'nth': 0",
                               "'write-flash', 'nth': 9",  "'write-flash', 'nth': 31",
                               "'read-flash', 'nth': 16",  "'reset-to-flash', 'nth': 0"};

/// With one bank and with two.
class Broken : public testing::TestWithParam<const char*>
{
protected:
    /// One update with the fault on the bench, judged by the model, and a second one.
    void UpdateTwice(const std::string& strFault)
    {
        SCOPED_TRACE(strFault);
        ++m_nRuns;
        m_bench.UseHub("", GetParam(), ", 'faults': [{'hub': 'hub', " + strFault + "}]");
        const ToolResult first = m_bench.Type("--json update @0x0200.bin");
        EXPECT_GE(first.nExit, 0) << "it crashed";
        EXPECT_EQ(first.nExit == 0, m_bench.Runs(m_strImage)) << first.strOut << first.strErr;
        if (first.nExit == 0)
            return;
        EXPECT_FALSE(first.Json()["error"]["next"].get<std::string>().empty());
        if (first.nExit == 8) {
            m_bench.Expect(0, "bench unplug hub");
            m_bench.Expect(0, "bench plug hub");
        }
        m_bench.Expect(0, "update @0x0200.bin --force");
        EXPECT_TRUE(m_bench.Runs(m_strImage));
    }

    CBenchFolder m_bench;
    std::string m_strImage = m_bench.Image("0x0200");
    unsigned m_nRuns = 0;
};

} // namespace

TEST_P(Broken, UpdateIsReportedAsDoneExactlyWhenTheModelRunsTheImage)
{
    for (const std::string strPlace : kPlaces)
        for (const std::string strKind : {"fail", "timeout", "urb-status", "lie", "vanish"})
            UpdateTwice(std::string("'request': ")
                            .append(strPlace)
                            .append(", 'kind': '")
                            .append(strKind + "'"));
    for (const std::string strAt : {"0", "1", "8", "16", "31"})
        UpdateTwice("'powerCut': " + strAt);
    std::printf("%u broken updates\n", m_nRuns);
}

INSTANTIATE_TEST_SUITE_P(Of, Broken, testing::Values("", ", 'banks': 2"));
