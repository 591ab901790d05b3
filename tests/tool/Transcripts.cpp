#include "tool/Transcripts.h"

#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

namespace
{

/// The folder differs from run to run.
std::string WithoutFolder(std::string strText, const std::string& strFolder)
{
    for (size_t n = strText.find(strFolder); n != std::string::npos; n = strText.find(strFolder, n))
        strText.erase(n, strFolder.size());
    return strText;
}

} // namespace

void ExpectTheTranscripts(const std::string& strProgram, const std::vector<std::string>& road)
{
    CBenchFolder bench;
    bench.UseExample("dock.json");
    (void)bench.Image("0x0200");
    const std::pair<const char*, const char*> transcripts[] = {{"list", "list --details"},
                                                               {"list-json", "--json list"},
                                                               {"update", "update @0x0200.bin"},
                                                               {"pd-list", "pd list"}};
    CToolProcess::Setting setting;
    setting.strProgram = strProgram;
    for (const auto& [pszFile, pszLine] : transcripts) {
        SCOPED_TRACE(pszFile);
        std::vector<std::string> arguments = bench.Arguments(bench.Typed(pszLine));
        arguments.insert(arguments.begin(), road.begin(), road.end());
        const ToolResult result = CToolProcess(arguments, setting).Finish();
        const std::string strSaid =
            WithoutFolder(result.strOut + "--\n" + result.strErr, bench.Path(""));
        EXPECT_EQ(result.nExit, 0);
        EXPECT_EQ(strSaid, CBenchFolder::ReadFile(std::string(ZELHUB_SOURCE_DIR) +
                                                  "/tests/tool/transcripts/" + pszFile + ".txt"));
    }
}
