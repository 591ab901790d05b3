#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

class KeptBench : public testing::Test
{
protected:
    KeptBench() { m_bench.UseHub(); }

    size_t Listed() const { return m_bench.Type("--json list").Json()["hubs"].size(); }

    CBenchFolder m_bench;
};

} // namespace

TEST_F(KeptBench, RemembersWhatIsPlugged)
{
    EXPECT_EQ(Listed(), 1u);
    m_bench.Expect(0, "bench unplug hub");
    EXPECT_EQ(Listed(), 0u);
    m_bench.Expect(3, "version");
    m_bench.Expect(0, "bench plug hub");
    EXPECT_EQ(Listed(), 1u);
}

TEST_F(KeptBench, LosesPowerInTheMiddleOfAnUpdateAndRecoversAsTold)
{
    const std::string strImage = m_bench.Image("0x0200");
    m_bench.Expect(0, "bench power-cut hub --at 12");
    nlohmann::json error = m_bench.Expect(8, "--json update @0x0200.bin").Json()["error"];
    EXPECT_EQ(error["phase"], "write");
    EXPECT_EQ(error["state"], "the hub is not on the bus; its flash is incomplete; its ROM code "
                              "keeps it updatable");
    EXPECT_EQ(m_bench.AsTyped(error["next"]), kTool + "bench plug hub, then: " + kTool +
                                                  "update @0x0200.bin" + kOnItsHub + " --force");
    EXPECT_EQ(Listed(), 0u);
    m_bench.Expect(0, "bench plug hub");
    m_bench.Expect(0, "update @0x0200.bin --force");
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(KeptBench, KeepsAFaultUntilItHasHappenedSoOften)
{
    // A list with details reads each hub's status once.
    m_bench.Expect(0, "bench fault hub --request status --nth 1 --times 2 --kind stall");
    for (const char* const pszCode : {"\"flash\"", "null", "null", "\"flash\""})
        EXPECT_EQ(m_bench.Type("--json list --details").Json()["hubs"][0]["code"].dump(), pszCode);
}

TEST_F(KeptBench, RefusesWhatIsNotOnTheBench)
{
    m_bench.Expect(3, "bench unplug nobody");
    m_bench.UseExample("desk.json");
    m_bench.Expect(3, "bench fault keyboard --kind stall",
                   "keyboard has no model in which something could go wrong");
}

TEST_F(KeptBench, SaysWhenItCannotBeKept)
{
    std::vector<std::string> arguments = m_bench.Arguments({"list"});
    arguments[3] = m_bench.Write("file", std::string()) + "/state";
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.nExit, 1);
    EXPECT_THAT(result.strErr, HasSubstr("cannot be written"));
}

TEST_F(KeptBench, RefusesAStateWhoseFlashIsNone)
{
    ASSERT_EQ(Listed(), 1u);
    nlohmann::json state = nlohmann::json::parse(m_bench.ReadText("state"));
    for (const char* const pszFlash :
         {"", "*65535", "*65537", "*99999999999999999999", "*-1", "*", "*65536 AA==", "*65532 AA=A",
          "*65535 ====", "*65533 AA%A"}) {
        state["hubs"][0]["flash"] = pszFlash;
        (void)m_bench.Write("state", state.dump());
        EXPECT_EQ(m_bench.Type("list").nExit, 2) << pszFlash;
    }
    state["hubs"][0]["flash"] = "*65532 AAECAw==";
    (void)m_bench.Write("state", state.dump());
    m_bench.Expect(0, "list");
    std::vector<BYTE> flash(65532, 0xFF);
    flash.insert(flash.end(), {0, 1, 2, 3});
    EXPECT_EQ(FlashOf(m_bench.StateOf()), flash) << "as it was, also after another saving";
}
