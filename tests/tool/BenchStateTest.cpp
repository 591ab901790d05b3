#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::EndsWith;
using testing::HasSubstr;

namespace
{

class KeptBench : public testing::Test
{
protected:
    KeptBench() { m_bench.UseHub(); }

    size_t Listed() const { return m_bench.Run({"--json", "list"}).Json()["hubs"].size(); }

    CBenchFolder m_bench;
};

} // namespace

TEST_F(KeptBench, RemembersWhatIsPlugged)
{
    EXPECT_EQ(Listed(), 1u);
    EXPECT_EQ(m_bench.Run({"bench", "unplug", "hub"}).nExit, 0);
    EXPECT_EQ(Listed(), 0u);
    EXPECT_EQ(m_bench.Run({"version"}).nExit, 3);
    EXPECT_EQ(m_bench.Run({"bench", "plug", "hub"}).nExit, 0);
    EXPECT_EQ(Listed(), 1u);
}

TEST_F(KeptBench, LosesPowerInTheMiddleOfAnUpdateAndRecoversAsTold)
{
    const std::string strImage = m_bench.Image("0x0200");
    ASSERT_EQ(m_bench.Run({"bench", "power-cut", "hub", "--at", "12"}).nExit, 0);
    const ToolResult first = m_bench.Run({"--json", "update", strImage});
    EXPECT_EQ(first.nExit, 8);
    const nlohmann::json error = first.Json()["error"];
    EXPECT_EQ(error["phase"], "write");
    EXPECT_EQ(error["state"], "the hub is not on the bus; its flash is incomplete; its ROM code "
                              "keeps it updatable");
    EXPECT_THAT(error["next"].get<std::string>(), HasSubstr(" bench plug hub, then: zelhub"));
    EXPECT_THAT(error["next"].get<std::string>(), EndsWith(" --force"));
    EXPECT_EQ(Listed(), 0u);
    ASSERT_EQ(m_bench.Run({"bench", "plug", "hub"}).nExit, 0);
    EXPECT_EQ(m_bench.Run({"update", strImage, "--force"}).nExit, 0);
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(KeptBench, KeepsAFaultUntilItHasHappenedSoOften)
{
    // A list with details reads each hub's status once.
    ASSERT_EQ(m_bench
                  .Run({"bench", "fault", "hub", "--request", "status", "--nth", "1", "--times",
                        "2", "--kind", "stall"})
                  .nExit,
              0);
    const auto code = [&] {
        return m_bench.Run({"--json", "list", "--details"}).Json()["hubs"][0]["code"];
    };
    EXPECT_EQ(code(), "flash") << "the first is carried";
    EXPECT_EQ(code(), nullptr);
    EXPECT_EQ(code(), nullptr);
    EXPECT_EQ(code(), "flash") << "it is used up";
}

TEST_F(KeptBench, RefusesWhatIsNotOnTheBench)
{
    EXPECT_EQ(m_bench.Run({"bench", "unplug", "nobody"}).nExit, 3);
    m_bench.UseExample("desk.json");
    const ToolResult result = m_bench.Run({"bench", "fault", "keyboard", "--kind", "stall"});
    EXPECT_EQ(result.nExit, 3);
    EXPECT_THAT(result.strErr,
                HasSubstr("keyboard has no model in which something could go wrong"));
}

TEST_F(KeptBench, SaysWhenItCannotBeKept)
{
    const std::string strFile = m_bench.Write("file", std::string());
    std::vector<std::string> arguments = m_bench.Arguments({"list"});
    arguments[3] = strFile + "/state";
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
        EXPECT_EQ(m_bench.Run({"list"}).nExit, 2) << pszFlash;
    }
    state["hubs"][0]["flash"] = "*65532 AAECAw==";
    (void)m_bench.Write("state", state.dump());
    EXPECT_EQ(m_bench.Run({"list"}).nExit, 0);
    std::vector<BYTE> flash(65532, 0xFF);
    flash.insert(flash.end(), {0, 1, 2, 3});
    EXPECT_EQ(FlashOf(m_bench.HubState()), flash) << "as it was, also after another saving";
}
