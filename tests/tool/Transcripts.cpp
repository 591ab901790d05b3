#include "tool/Transcripts.h"

#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace
{

struct Transcript
{
    const char* pszFile;
    std::vector<std::string> arguments;
};

std::string Whole(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

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
    const Transcript transcripts[] = {
        {"list", {"list", "--details"}},
        {"list-json", {"--json", "list"}},
        {"update", {"update", bench.Image("0x0200")}},
        {"pd-list", {"pd", "list"}},
    };
    CToolProcess::Setting setting;
    setting.strProgram = strProgram;
    for (const Transcript& transcript : transcripts) {
        SCOPED_TRACE(transcript.pszFile);
        std::vector<std::string> arguments = bench.Arguments(transcript.arguments);
        arguments.insert(arguments.begin(), road.begin(), road.end());
        const ToolResult result = CToolProcess(arguments, setting).Finish();
        const std::string strSaid =
            WithoutFolder(result.strOut + "--\n" + result.strErr, bench.Path(""));
        EXPECT_EQ(result.nExit, 0);
        EXPECT_EQ(strSaid, Whole(std::string(ZELHUB_SOURCE_DIR) + "/tests/tool/transcripts/" +
                                 transcript.pszFile + ".txt"));
    }
}
