#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

#include <csignal>

using testing::HasSubstr;

namespace
{

/// Runs at a pace at which one can press a key, and waits for what the program says, never for
/// a time.
class Interrupted : public testing::Test
{
protected:
    Interrupted() { m_bench.UseHub(R"(, "timing": {"returnMs": 800})"); }

    /// A hub whose update begins with writing: it needs no reset to ROM code.
    void UseDualBank() { m_bench.UseHub(R"(, "timing": {"returnMs": 100})", R"(, "banks": 2)"); }

    std::vector<std::string> UpdateAt(const char* pszPace)
    {
        return m_bench.Arguments(
            {"--json", "--bench-pace", pszPace, "update", m_bench.Image("0x0200")});
    }

    CBenchFolder m_bench;
};

nlohmann::json Last(const std::string& strOut)
{
    return nlohmann::json::parse(strOut, nullptr, false);
}

} // namespace

TEST_F(Interrupted, StopsAtTheNextStepBeforeFlashIsTouchedAndRestartsTheOldFirmware)
{
    CToolProcess process(UpdateAt("2"));
    ASSERT_TRUE(process.WaitForError("reset to ROM code"));
    process.Signal(SIGINT);
    const ToolResult result = process.Finish();
    EXPECT_EQ(result.nExit, 1);
    EXPECT_THAT(result.strErr, HasSubstr("stopping before the flash is touched"));
    EXPECT_EQ(result.Json()["error"]["what"], "interrupted before the flash was touched");
    EXPECT_TRUE(m_bench.Runs(m_bench.Image("0x0100"))) << "the old firmware runs again";
}

TEST_F(Interrupted, GoesOnToItsEndOnceFlashIsTouched)
{
    UseDualBank();
    CToolProcess process(UpdateAt("1"));
    ASSERT_TRUE(process.WaitForError("\"write\",\"percent\":40"));
    process.Signal(SIGINT);
    const ToolResult result = process.Finish();
    EXPECT_EQ(result.nExit, 0) << result.strErr;
    EXPECT_THAT(result.strErr, HasSubstr("press Ctrl-C again to leave at once"));
    EXPECT_TRUE(m_bench.Runs(m_bench.Path("0x0200.bin")));
}

TEST_F(Interrupted, TwiceLeavesAtOnceWithTheStateAndHowToRecover)
{
    UseDualBank();
    CToolProcess process(UpdateAt("0.1"));
    ASSERT_TRUE(process.WaitForError("\"write\",\"percent\":40"));
    process.Signal(SIGINT);
    ASSERT_TRUE(process.WaitForError("press Ctrl-C again"));
    process.Signal(SIGINT);
    const ToolResult result = process.Finish();
    EXPECT_EQ(result.nExit, 6);
    EXPECT_THAT(result.strErr, HasSubstr("left at once"));
    EXPECT_THAT(result.strErr, HasSubstr("its other bank is incomplete"));
    const nlohmann::json error = result.Json()["error"];
    EXPECT_EQ(error["phase"], "write");
    EXPECT_THAT(error["next"].get<std::string>(), HasSubstr("0x0200.bin --hub 'path:PCIROOT(0)"));
    // What it says to type does it.
    EXPECT_EQ(m_bench.Run({"update", m_bench.Path("0x0200.bin")}).nExit, 0);
    EXPECT_TRUE(m_bench.Runs(m_bench.Path("0x0200.bin")));
}

TEST_F(Interrupted, ByTheTimeLimitLeavesWithTheStateAsWell)
{
    m_bench.UseHub(R"(, "timing": {"returnMs": 9000})");
    CToolProcess process(m_bench.Arguments(
        {"--json", "--timeout", "1", "--bench-pace", "real", "update", m_bench.Image("0x0200")}));
    const ToolResult result = process.Finish();
    EXPECT_EQ(result.nExit, 8);
    EXPECT_THAT(result.strErr, HasSubstr("the time of --timeout is over"));
    EXPECT_THAT(result.Json()["error"]["state"].get<std::string>(),
                HasSubstr("its flash was not touched"));
}

TEST_F(Interrupted, EndsAWatchWell)
{
    CToolProcess process(m_bench.Arguments({"--verbose", "--bench-pace", "real", "watch"}));
    ASSERT_TRUE(process.WaitForError("CRootHubFilter::Filter"));
    process.Signal(SIGINT);
    const ToolResult result = process.Finish();
    EXPECT_EQ(result.nExit, 0);
    EXPECT_THAT(result.strOut, HasSubstr("present"));
}

TEST_F(Interrupted, StopsReadingWithoutAFile)
{
    CToolProcess process(m_bench.Arguments(
        {"--bench-pace", "0.05", "dump", m_bench.Path("dump.bin"), "--size", "65536"}));
    ASSERT_TRUE(process.WaitForError("read"));
    process.Signal(SIGTERM);
    const ToolResult result = process.Finish();
    EXPECT_EQ(result.nExit, 1);
    EXPECT_EQ(m_bench.ReadText("dump.bin"), "");
}

TEST_F(Interrupted, ASecondUpdateOfTheSameHubIsRefusedAndTheFirstGoesOn)
{
    UseDualBank();
    CToolProcess first(UpdateAt("0.3"));
    ASSERT_TRUE(first.WaitForError("\"write\""));
    const ToolResult second = m_bench.Run({"--json", "update", m_bench.Path("0x0200.bin")});
    EXPECT_EQ(second.nExit, 4);
    EXPECT_THAT(Last(second.strOut)["error"]["what"].get<std::string>(),
                HasSubstr("another zelhub is working on the hub at PCIROOT(0)"));
    EXPECT_EQ(first.Finish().nExit, 0);
}

TEST_F(Interrupted, TheLockEndsWithItsProcessHoweverThatEnds)
{
    {
        CToolProcess first(UpdateAt("1"));
        ASSERT_TRUE(first.WaitForError("reset to ROM code"));
        first.Signal(SIGKILL);
        EXPECT_EQ(first.Finish().nExit, -SIGKILL);
    }
    EXPECT_EQ(m_bench.Run({"update", m_bench.Path("0x0200.bin")}).nExit, 0);
}
