#include "tool/BenchFolder.h"

#include "platform/IFileSystem.h"
#include "platform/Platform.h"
#include "tool/Transcripts.h"

#include <gmock/gmock.h>

#include <filesystem>

using testing::HasSubstr;

namespace
{

/// The program beside the library that carries the bench driver.
class BenchRoad : public testing::Test
{
protected:
    BenchRoad() { m_bench.UseHub(); }

    ToolResult OnDriver(const std::string& strLine) const
    {
        CToolProcess::Setting setting;
        setting.strProgram = ZELHUB_BENCH_TOOL;
        return CToolProcess(m_bench.Arguments(m_bench.Typed("--bench-road driver " + strLine)),
                            setting)
            .Finish();
    }

    CBenchFolder m_bench;
};

} // namespace

TEST_F(BenchRoad, OfTheDriverSaysTheSame)
{
    ExpectTheTranscripts(ZELHUB_BENCH_TOOL, {"--bench-road", "driver"});
}

TEST_F(BenchRoad, OfTheDriverKeepsTheSameState)
{
    (void)m_bench.Image("0x0200");
    m_bench.Expect(0, "update @0x0200.bin");
    const std::string strSimulated = m_bench.ReadText("state");
    m_bench.UseHub();
    const ToolResult result = OnDriver("update @0x0200.bin");
    EXPECT_EQ(result.nExit, 0) << result.strErr;
    EXPECT_EQ(m_bench.ReadText("state"), strSimulated);
}

TEST_F(BenchRoad, OfTheDriverHasTheFaultsOfTheBench)
{
    m_bench.UseHub("", "", ", 'faults': [{'hub': 'hub', 'powerCut': 8}]");
    const std::string strImage = m_bench.Image("0x0200");
    EXPECT_EQ(OnDriver("update @0x0200.bin").nExit, 8);
    m_bench.Expect(0, "bench plug hub");
    EXPECT_EQ(OnDriver("update @0x0200.bin --force").nExit, 0);
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(BenchRoad, OfTheDriverNeedsTheLibraryThatCarriesIt)
{
    // One that is installed would be used: a stand-in replaces none.
    WCHAR szFolder[260] = {};
    RealPlatform().FileSystem().SystemFolder(szFolder, 260);
    RealPlatform().FileSystem().Remove(
        (WString(szFolder) + WTEXT("\\drivers\\ZelUpx.sys")).c_str());
    const ToolResult result = m_bench.Expect(4, "--bench-road driver list");
    EXPECT_THAT(result.strErr, HasSubstr("the hub driver could not be started"));
    EXPECT_THAT(result.strErr, HasSubstr("carries a stand-in instead of a driver"));
}

TEST_F(BenchRoad, NamesItsDriver)
{
    EXPECT_THAT(OnDriver("--version").strOut, HasSubstr("carries the bench driver"));
}

// The library would end the process: its log's path has to fit 260 bytes.
TEST_F(BenchRoad, LongModulePathIsRefusedBeforeTheLibraryLogs)
{
    const std::filesystem::path tool = ZELHUB_TOOL;
    std::string strFolder = m_bench.Path(std::string(100, 'a'));
    std::filesystem::create_directory(strFolder);
    strFolder += "/" + std::string(240 - strFolder.size(), 'b');
    std::filesystem::create_directory(strFolder);
    for (const char* const pszFile : {"zelhub.exe", "Zelhublib64.dll"})
        std::filesystem::copy_file(tool.parent_path() / pszFile, strFolder + "/" + pszFile);
    CToolProcess::Setting setting;
    setting.strProgram = strFolder + "/zelhub.exe";
    EXPECT_EQ(CToolProcess(m_bench.Arguments({"list"}), setting).Finish().nExit, 0);
    const ToolResult logged =
        CToolProcess(m_bench.Arguments({"--library-log", "list"}), setting).Finish();
    EXPECT_EQ(logged.nExit, 1);
    EXPECT_THAT(logged.strErr, HasSubstr("a folder whose path is too long"));
}
