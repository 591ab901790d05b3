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
    Interrupted() { m_bench.UseHub(", 'timing': {'returnMs': 800}"); }

    /// A hub whose update begins with writing: it needs no reset to ROM code.
    void UseDualBank() { m_bench.UseHub(", 'timing': {'returnMs': 100}", ", 'banks': 2"); }

    /// Starts a command and sends it each signal once it has said the text before it.
    ToolResult Interrupt(const std::string& strLine,
                         const std::vector<std::pair<const char*, int>>& signals) const
    {
        CToolProcess process(m_bench.Arguments(m_bench.Typed(strLine)));
        for (const auto& [pszSaid, nSignal] : signals) {
            EXPECT_TRUE(process.WaitForError(pszSaid));
            process.Signal(nSignal);
        }
        return process.Finish();
    }

    CBenchFolder m_bench;
    std::string m_strOld = m_bench.Image("0x0100");
    std::string m_strImage = m_bench.Image("0x0200");
};

constexpr const char* kHalf = "\"write\",\"percent\":40";

} // namespace

TEST_F(Interrupted, StopsAtTheNextStepBeforeFlashIsTouchedAndRestartsTheOldFirmware)
{
    const ToolResult result =
        Interrupt("--json --bench-pace 2 update @0x0200.bin", {{"reset to ROM code", SIGINT}});
    EXPECT_EQ(result.nExit, 1);
    EXPECT_THAT(result.strErr, HasSubstr("stopping before the flash is touched"));
    EXPECT_EQ(result.Json()["error"]["what"], "interrupted before the flash was touched");
    EXPECT_TRUE(m_bench.Runs(m_strOld)) << "the old firmware runs again";
}

TEST_F(Interrupted, GoesOnToItsEndOnceFlashIsTouched)
{
    UseDualBank();
    const ToolResult result =
        Interrupt("--json --bench-pace 1 update @0x0200.bin", {{kHalf, SIGINT}});
    EXPECT_EQ(result.nExit, 0) << result.strErr;
    EXPECT_THAT(result.strErr, HasSubstr("press Ctrl-C again to leave at once"));
    EXPECT_TRUE(m_bench.Runs(m_strImage));
}

TEST_F(Interrupted, TwiceLeavesAtOnceWithTheStateAndHowToRecover)
{
    UseDualBank();
    const ToolResult result = Interrupt("--json --bench-pace 0.1 update @0x0200.bin",
                                        {{kHalf, SIGINT}, {"press Ctrl-C again", SIGINT}});
    EXPECT_EQ(result.nExit, 6);
    EXPECT_THAT(result.strErr, HasSubstr("left at once"));
    EXPECT_THAT(result.strErr, HasSubstr("its other bank is incomplete"));
    nlohmann::json error = result.Json()["error"];
    EXPECT_EQ(error["phase"], "write");
    EXPECT_THAT(error["next"].get<std::string>(), HasSubstr("0x0200.bin --hub 'path:PCIROOT(0)"));
    m_bench.Expect(0, "update @0x0200.bin"); // what it says to type does it
    EXPECT_TRUE(m_bench.Runs(m_strImage));
}

TEST_F(Interrupted, ByTheTimeLimitLeavesWithTheStateAsWell)
{
    m_bench.UseHub(", 'timing': {'returnMs': 9000}");
    const ToolResult result =
        m_bench.Expect(8, "--json --timeout 1 --bench-pace real update @0x0200.bin");
    EXPECT_THAT(result.strErr, HasSubstr("the time of --timeout is over"));
    EXPECT_THAT(result.Json()["error"]["state"].get<std::string>(),
                HasSubstr("its flash was not touched"));
}

TEST_F(Interrupted, EndsAWatchWell)
{
    const ToolResult result =
        Interrupt("--verbose --bench-pace real watch", {{"CRootHubFilter::Filter", SIGINT}});
    EXPECT_EQ(result.nExit, 0);
    EXPECT_THAT(result.strOut, HasSubstr("present"));
}

TEST_F(Interrupted, StopsReadingWithoutAFile)
{
    EXPECT_EQ(Interrupt("--bench-pace 0.05 dump @dump.bin --size 65536", {{"read", SIGTERM}}).nExit,
              1);
    EXPECT_EQ(m_bench.ReadText("dump.bin"), "");
}

TEST_F(Interrupted, ASecondUpdateOfTheSameHubIsRefusedAndTheFirstGoesOn)
{
    UseDualBank();
    CToolProcess first(
        m_bench.Arguments(m_bench.Typed("--json --bench-pace 0.3 update @0x0200.bin")));
    ASSERT_TRUE(first.WaitForError("\"write\""));
    m_bench.Expect(4, "update @0x0200.bin", kHubIsTaken,
                   "Wait until it has finished, then type this again.");
    EXPECT_EQ(first.Finish().nExit, 0);
}

TEST_F(Interrupted, TheLockEndsWithItsProcessHoweverThatEnds)
{
    EXPECT_EQ(
        Interrupt("--json --bench-pace 1 update @0x0200.bin", {{"reset to ROM code", SIGKILL}})
            .nExit,
        -SIGKILL);
    m_bench.Expect(0, "update @0x0200.bin");
}
