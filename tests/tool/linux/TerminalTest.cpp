#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::Not;

namespace
{

/// What needs a terminal, or files that only this system has.
class Terminal : public testing::Test
{
protected:
    Terminal() { m_bench.UseHub(); }

    CBenchFolder m_bench;
};

class OddFile : public Terminal
{};

} // namespace

TEST_F(Terminal, DrawsABarOnATerminalAndLinesElsewhere)
{
    const std::string strImage = m_bench.Image("0x0200");
    CToolProcess::Setting terminal;
    terminal.bTerminal = true;
    terminal.environment = {"TERM=xterm", "NO_COLOR="};
    const ToolResult bar = CToolProcess(m_bench.Arguments({"update", strImage}), terminal).Finish();
    EXPECT_THAT(bar.strErr, HasSubstr("\r[############............]  50 % write, "));
    EXPECT_THAT(bar.strErr, HasSubstr(" KiB/s"));
    const ToolResult lines = m_bench.Run({"update", strImage, "--force"});
    EXPECT_THAT(lines.strErr, HasSubstr(" 50 % write\n"));
    EXPECT_THAT(lines.strErr, Not(HasSubstr("\r")));
}

TEST_F(Terminal, ColoursErrorsOnATerminalUnlessTold)
{
    const std::vector<std::string> arguments = m_bench.Arguments({"status", "--hub", "#7"});
    CToolProcess::Setting setting;
    setting.bTerminal = true;
    setting.environment = {"TERM=xterm", "NO_COLOR="};
    EXPECT_THAT(CToolProcess(arguments, setting).Finish().strErr, HasSubstr("\033[31m"));
    setting.environment = {"TERM=xterm", "NO_COLOR=1"};
    EXPECT_THAT(CToolProcess(arguments, setting).Finish().strErr, Not(HasSubstr("\033[31m")));
}

TEST_F(OddFile, FailsWhenTheDiskIsFull)
{
    const ToolResult dump = m_bench.Run({"dump", "/dev/full", "--size", "65536"});
    EXPECT_EQ(dump.nExit, 1);
    EXPECT_THAT(dump.strErr, HasSubstr("/dev/full cannot be written: No space left on device"));
    CToolProcess::Setting full;
    full.strOutFile = "/dev/full";
    EXPECT_EQ(CToolProcess(m_bench.Arguments({"list"}), full).Finish().nExit, 1);
}

TEST_F(OddFile, StopsBeforeFlashIsTouchedWhenTheBackupCannotBeWritten)
{
    const std::string strImage = m_bench.Image("0x0200");
    EXPECT_EQ(m_bench.Run({"update", strImage, "--backup", "/dev/full"}).nExit, 1);
    EXPECT_TRUE(m_bench.Runs(m_bench.Image("0x0100")));
}

TEST_F(OddFile, IsNoImage)
{
    const ToolResult result = m_bench.Run({"update", "/dev/null"});
    EXPECT_EQ(result.nExit, 5);
    EXPECT_THAT(result.strErr, HasSubstr("is not a regular file"));
}
