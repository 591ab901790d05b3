#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace
{

struct Place
{
    const char* pszRequest;
    unsigned nNth; ///< counted from the process's start: listing and connecting come first
};

const Place kPlaces[] = {{"status", 4},      {"enable", 2},        {"reset-to-rom", 0},
                         {"erase", 0},       {"write-flash", 9},   {"write-flash", 31},
                         {"read-flash", 16}, {"reset-to-flash", 0}};
const char* const kKinds[] = {"fail", "timeout", "urb-status", "lie", "vanish"};

struct Hub
{
    const char* pszCase;
    const char* pszFlash;
};

class Broken : public testing::TestWithParam<Hub>
{
protected:
    /// One update with the fault on the bench, judged by the model, and a second one.
    void UpdateTwice(const std::string& strWhat)
    {
        SCOPED_TRACE(strWhat);
        ++m_nRuns;
        const ToolResult first = m_bench.Run({"--json", "update", m_strImage});
        EXPECT_GE(first.nExit, 0) << "it crashed";
        EXPECT_EQ(first.nExit == 0, m_bench.Runs(m_strImage)) << first.strOut << first.strErr;
        if (first.nExit == 0)
            return;
        EXPECT_FALSE(first.Json()["error"]["next"].get<std::string>().empty());
        if (first.nExit == 8) {
            ASSERT_EQ(m_bench.Run({"bench", "unplug", "hub"}).nExit, 0);
            ASSERT_EQ(m_bench.Run({"bench", "plug", "hub"}).nExit, 0);
        }
        const ToolResult second = m_bench.Run({"update", m_strImage, "--force"});
        EXPECT_EQ(second.nExit, 0) << second.strErr;
        EXPECT_TRUE(m_bench.Runs(m_strImage));
    }

    CBenchFolder m_bench;
    std::string m_strImage = m_bench.Image("0x0200");
    unsigned m_nRuns = 0;
};

} // namespace

TEST_P(Broken, UpdateIsReportedAsDoneExactlyWhenTheModelRunsTheImage)
{
    for (const Place& place : kPlaces)
        for (const char* const pszKind : kKinds) {
            m_bench.UseHub("", GetParam().pszFlash,
                           std::string(R"(, "faults": [{"hub": "hub", "request": ")") +
                               place.pszRequest + R"(", "nth": )" + std::to_string(place.nNth) +
                               R"(, "kind": ")" + pszKind + "\"}]");
            UpdateTwice(std::string(pszKind) + " at " + place.pszRequest);
        }
    for (const unsigned n : {0u, 1u, 8u, 16u, 31u}) {
        m_bench.UseHub("", GetParam().pszFlash,
                       R"(, "faults": [{"hub": "hub", "powerCut": )" + std::to_string(n) + "}]");
        UpdateTwice("power cut at flash operation " + std::to_string(n));
    }
    std::printf("%u broken updates\n", m_nRuns);
}

INSTANTIATE_TEST_SUITE_P(Of, Broken,
                         testing::Values(Hub{"OneBank", ""}, Hub{"TwoBanks", R"(, "banks": 2)"}),
                         [](const auto& test) { return test.param.pszCase; });
