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

    /// What is said on a terminal.
    std::string SaidTo(const std::string& strLine, const char* pszNoColour)
    {
        CToolProcess::Setting setting;
        setting.bTerminal = true;
        setting.environment = {"TERM=xterm", pszNoColour};
        return CToolProcess(m_bench.Arguments(m_bench.Typed(strLine)), setting).Finish().strErr;
    }

    CBenchFolder m_bench;
    std::string m_strOld = m_bench.Image("0x0100");
    std::string m_strImage = m_bench.Image("0x0200");
};

using OddFile = Terminal;

} // namespace

TEST_F(Terminal, DrawsABarOnATerminalAndLinesElsewhere)
{
    EXPECT_THAT(
        SaidTo("update @0x0200.bin", "NO_COLOR="),
        AllOf(HasSubstr("\r[############............]  50 % write, "), HasSubstr(" KiB/s")));
    EXPECT_THAT(m_bench.Type("update @0x0200.bin --force").strErr,
                AllOf(HasSubstr(" 50 % write\n"), Not(HasSubstr("\r"))));
}

TEST_F(Terminal, ColoursErrorsOnATerminalUnlessTold)
{
    EXPECT_THAT(SaidTo("status --hub #7", "NO_COLOR="), HasSubstr("\033[31m"));
    EXPECT_THAT(SaidTo("status --hub #7", "NO_COLOR=1"), Not(HasSubstr("\033[31m")));
}

TEST_F(OddFile, FailsWhenTheDiskIsFull)
{
    m_bench.Expect(1, "dump /dev/full --size 65536",
                   "/dev/full cannot be written: No space left on device");
    CToolProcess::Setting full;
    full.strOutFile = "/dev/full";
    EXPECT_EQ(CToolProcess(m_bench.Arguments({"list"}), full).Finish().nExit, 1);
}

TEST_F(OddFile, StopsBeforeFlashIsTouchedWhenTheBackupCannotBeWritten)
{
    m_bench.Expect(1, "update @0x0200.bin --backup /dev/full");
    EXPECT_TRUE(m_bench.Runs(m_strOld));
}

TEST_F(OddFile, IsNoImage)
{
    m_bench.Expect(5, "update /dev/null", "image /dev/null: is not a regular file");
}
