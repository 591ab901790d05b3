#include "tool/PdBench.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

class Pd : public PdBench
{
protected:
    Pd() : PdBench(kThroughTheHub) {}
};

} // namespace

TEST_F(Pd, AnUpdateLeavesHubAndNeighbourAlone)
{
    m_bench.Expect(0, "pd list");
    const nlohmann::json hub = m_bench.StateOf();
    const nlohmann::json next = m_bench.StateOf("next", "pdControllers");
    nlohmann::json document = Expect(0, "update @0x0222.bin").Json();
    EXPECT_TRUE(Runs(m_strImage));
    EXPECT_EQ(m_bench.StateOf(), hub);
    EXPECT_EQ(m_bench.StateOf("next", "pdControllers"), next);
    EXPECT_EQ(document["address"], 0x42);
    EXPECT_EQ(document["address7"], 0x21);
}

TEST_F(Pd, ListShowsWhoAnswersInBothFormsOfTheAddress)
{
    const nlohmann::json rows = m_bench.Type("--json pd list").Json()["pd"];
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["address"], 0x42);
    EXPECT_EQ(rows[0]["address7"], 0x21);
    EXPECT_EQ(rows[0]["version"], "0x0111");
    EXPECT_EQ(rows[1]["address"], 0x66);
    EXPECT_THAT(m_bench.Type("bench check").strOut, HasSubstr("0x0111   0"))
        << "asking must not be misuse";
}

TEST_F(Pd, RefusesAddressesThatAreNoneOrDoNotAnswerAndHubsItsImages)
{
    for (const std::string strAddress : {"0x43", "0x142", "0x0E", "0xF0"})
        m_bench.Expect(2, "pd update @0x0222.bin --addr " + strAddress);
    m_bench.Expect(5, "update @0x0222.bin", "the image is for chip 0x7310, the hub is 0x6560");
    m_bench.Expect(3, "pd version --addr 0x50",
                   HasSubstr("no PD controller answers at 0x50 (7-bit 0x28): "),
                   kTool + "pd list" + kOnItsHub + "  (shows the addresses that answer)");
    m_bench.Expect(3, "pd update @0x0222.bin --addr 0x50");
}

TEST_F(Pd, AStatusThatCannotBeReadDoesNotCostBothBanks)
{
    // The library would reset it to ROM code and erase everything.
    UseBenchWithFault("'request': 'status', 'nth': 3, 'times': 2, 'kind': 'fail'");
    EXPECT_NE(m_bench.Type("pd update @0x0222.bin --addr 0x42").nExit, 0);
    EXPECT_EQ(State()["runsFlash"], true);
    Expect(0, "update @0x0222.bin");
}

TEST_F(Pd, AStuckBusIsAskedOnceAndReportedWithWhatAnsweredBefore)
{
    UseBench(", 'faults': [{'pd': 'next', 'request': 'status', 'kind': 'timeout'}]");
    nlohmann::json document = m_bench.Expect(1, "--json pd list").Json();
    ASSERT_EQ(document["pd"].size(), 1u);
    EXPECT_EQ(document["pd"][0]["address"], 0x42);
    EXPECT_EQ(document["error"]["what"],
              "the hub's bus is stuck: the transfer to 0x66 (7-bit 0x33) ran into its time-out");
    EXPECT_EQ(m_bench.AsTyped(document["error"]["next"]),
              kTool + "reset" + kOnItsHub + "  (restarts the hub, which frees its bus)");
    m_bench.Expect(0, "reset");
    EXPECT_EQ(m_bench.Type("--json pd list").Json()["pd"].size(), 2u);
}

TEST_F(Pd, AControllerThatVanishedIsPluggedAsTheMessageSays)
{
    UseBenchWithFault("'request': 'write-2', 'nth': 9, 'kind': 'vanish'");
    Expect(8, "update @0x0222.bin", HasSubstr("the flash could not be written (C"),
           kTool + "bench plug pd, then: " + kTool + "pd update @0x0222.bin --addr 0x42" +
               kOnItsHub);
}

TEST_F(Pd, WhoeverWorksOnTheHubOrBehindItHasItForHimself)
{
    (void)m_bench.Image("0x0300");
    const std::tuple<std::string, const char*, std::vector<const char*>> kPairs[] = {
        {"pd update @0x0222.bin --addr 0x42",
         "\"write\"",
         {"update @0x0300.bin", "reset", "erase --yes", "reset --rom"}},
        {"update @0x0300.bin",
         "reset to ROM code",
         {"pd update @0x0222.bin --addr 0x42", "pd list"}}};
    for (const auto& [strFirst, pszUntil, refused] : kPairs) {
        CToolProcess first(m_bench.Arguments(
            m_bench.Typed("--json --bench-pace 0.1 " + strFirst))); // ended with its object
        ASSERT_TRUE(first.WaitForError(pszUntil));
        for (const char* const pszLine : refused)
            m_bench.Expect(4, pszLine, kHubIsTaken);
    }
}
