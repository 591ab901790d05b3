#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

#include <sstream>

using testing::HasSubstr;
using testing::Not;

namespace
{

class Output : public testing::Test
{
protected:
    Output() { m_bench.UseHub(R"(, "i2cMemory": 256)"); }

    CBenchFolder m_bench;
};

/// Every line has to be a JSON object; returns the last one.
nlohmann::json ExpectJsonLines(const std::string& strText)
{
    nlohmann::json last;
    std::istringstream lines(strText);
    for (std::string strLine; std::getline(lines, strLine);) {
        last = nlohmann::json::parse(strLine, nullptr, false);
        EXPECT_TRUE(last.is_object()) << "no JSON line: " << strLine;
        EXPECT_EQ(last["schema"], 1);
    }
    return last;
}

} // namespace

TEST_F(Output, IsOneJsonDocumentForEveryCommand)
{
    const std::string strImage = m_bench.Image("0x0200");
    const std::vector<std::vector<std::string>> kCommands = {
        {"list"},
        {"status"},
        {"ports"},
        {"version"},
        {"info", strImage},
        {"update", strImage},
        {"verify", strImage},
        {"dump", m_bench.Path("dump.bin"), "--size", "65536"},
        {"reset"},
        {"i2c", "write", "--address", "0x10", "--data", "01 02", "--yes"},
        {"i2c", "read", "--address", "0x10", "--length", "2"},
        {"bench", "check"},
        {"erase", "--yes"},
        {"version"}, // fails: there is none any more
    };
    for (const std::vector<std::string>& command : kCommands) {
        SCOPED_TRACE(command.front());
        std::vector<std::string> arguments = {"--json"};
        arguments.insert(arguments.end(), command.begin(), command.end());
        const ToolResult result = m_bench.Run(arguments);
        const nlohmann::json document = result.Json();
        EXPECT_EQ(document["schema"], 1);
        EXPECT_EQ(document["command"], command.front());
        EXPECT_EQ(document["exit"], result.nExit);
        EXPECT_EQ(document.contains("error"), result.nExit != 0);
        (void)ExpectJsonLines(result.strErr);
    }
}

TEST_F(Output, OfAWatchIsJsonLinesWithTheDocumentLast)
{
    m_bench.UseHub("", "", R"(, "events": [{"atMs": 500, "unplug": "hub"},
                                           {"atMs": 900, "plug": "hub"}])");
    const ToolResult result = m_bench.Run({"--json", "watch"});
    EXPECT_EQ(result.nExit, 0);
    const nlohmann::json last = ExpectJsonLines(result.strOut);
    EXPECT_EQ(last["command"], "watch");
    std::string strEvents;
    std::istringstream lines(result.strOut);
    for (std::string strLine; std::getline(lines, strLine);)
        strEvents += nlohmann::json::parse(strLine).value("event", "") + " ";
    EXPECT_EQ(strEvents, "present removed arrived  ");
}

TEST_F(Output, MarksForeignHubsInTheList)
{
    m_bench.UseExample("troubled.json");
    const nlohmann::json hubs = m_bench.Run({"--json", "list", "--details"}).Json()["hubs"];
    ASSERT_EQ(hubs.size(), 6u);
    EXPECT_EQ(hubs[0]["kind"], "own");
    EXPECT_EQ(hubs[4]["code"], "rom");
    EXPECT_EQ(hubs[5]["kind"], "unknown");
    EXPECT_EQ(hubs[5]["reason"], "you may not open it");
    EXPECT_THAT(hubs[5]["cure"].get<std::string>(), HasSubstr(kRightToOpenHint));
    m_bench.UseExample("desk.json");
    EXPECT_EQ(m_bench.Run({"--json", "list"}).Json()["hubs"][2]["kind"], "foreign");
}

TEST_F(Output, KeepsMessagesAwayFromData)
{
    const std::string strImage = m_bench.Image("0x0200");
    const ToolResult quiet = m_bench.Run({"--quiet", "update", strImage});
    EXPECT_EQ(quiet.strErr, "");
    EXPECT_THAT(quiet.strOut, HasSubstr("updated"));
    const ToolResult verbose = m_bench.Run({"--verbose", "version"});
    EXPECT_THAT(verbose.strErr, HasSubstr("CUSBDev::Arrive, current state is UnknownState"));
    EXPECT_THAT(verbose.strOut, Not(HasSubstr("CUSBDev")));
}

TEST_F(Output, WritesItsOwnLog)
{
    ASSERT_EQ(m_bench.Run({"--log", m_bench.Path("log"), "version"}).nExit, 0);
    EXPECT_THAT(m_bench.ReadText("log"), HasSubstr("In CUSBDev::Arrive, current state is"));
    EXPECT_EQ(m_bench.Run({"--log", "/nowhere/log", "version"}).nExit, 1);
}

TEST_F(Output, DumpsExactlyTheFlashAndReplacesAFileOnlyWhenTold)
{
    const std::vector<std::string> arguments = {"dump", m_bench.Path("dump.bin"), "--size", "5000"};
    ASSERT_EQ(m_bench.Run(arguments).nExit, 0);
    (void)m_bench.Image("0x0100");
    std::vector<BYTE> image = m_bench.ReadBytes("0x0100.bin");
    image.resize(5000);
    EXPECT_EQ(m_bench.ReadBytes("dump.bin"), image);
    EXPECT_EQ(m_bench.Run(arguments).nExit, 1);
    std::vector<std::string> again = arguments;
    again.emplace_back("--overwrite");
    EXPECT_EQ(m_bench.Run(again).nExit, 0);
}

namespace
{

struct BadLine
{
    const char* pszCase;
    std::vector<std::string> arguments;
};

const BadLine kBadLines[] = {
    {"Nothing", {}},
    {"UnknownCommand", {"flash"}},
    {"UnknownOption", {"list", "--all"}},
    {"NoImage", {"update"}},
    {"TwoImages", {"update", "a", "b"}},
    {"SizeThatIsNoNumber", {"dump", "f", "--size", "many"}},
    {"SizeZero", {"dump", "f", "--size", "0"}},
    {"NegativeTimeout", {"--timeout", "-1", "list"}},
    {"TimeoutThatIsNoNumber", {"--timeout", "soon", "list"}},
    {"TimeoutBeyondATimersReach", {"--timeout", "1e10", "list"}},
    {"TimeoutNotComparable", {"--timeout", "nan", "list"}},
    {"EraseWithoutYes", {"erase"}},
    {"I2cWithoutDirection", {"i2c"}},
    {"I2cWriteWithoutYes", {"i2c", "write", "--address", "0", "--data", "00"}},
    {"I2cDataThatIsNoHex", {"i2c", "write", "--address", "0", "--data", "0x", "--yes"}},
    {"BadVersion", {"bench", "image", "f", "--version", "new"}},
    {"UnknownFault", {"bench", "fault", "hub", "--kind", "magic"}},
    {"PlugWithoutABench", {"bench", "plug", "hub"}},
};

class UsageError : public testing::TestWithParam<BadLine>
{};

} // namespace

TEST_P(UsageError, ExitsWith2AndSaysSoInJsonToo)
{
    const ToolResult text = RunTool(GetParam().arguments);
    EXPECT_EQ(text.nExit, 2) << text.strErr;
    EXPECT_EQ(text.strErr.rfind("error: ", 0), 0u) << text.strErr;
    EXPECT_EQ(text.strOut, "");
    std::vector<std::string> arguments = GetParam().arguments;
    arguments.insert(arguments.begin(), "--json");
    const ToolResult json = RunTool(arguments);
    EXPECT_EQ(json.nExit, 2);
    EXPECT_EQ(json.Json()["exit"], 2);
}

INSTANTIATE_TEST_SUITE_P(Of, UsageError, testing::ValuesIn(kBadLines),
                         [](const auto& test) { return test.param.pszCase; });

TEST(Help, GoesToStandardOutputAndDocumentsExitStatus)
{
    const ToolResult help = RunTool({"--help"});
    EXPECT_EQ(help.nExit, 0);
    EXPECT_THAT(help.strOut, HasSubstr("7 verify mismatch"));
    EXPECT_EQ(help.strErr, "");
    EXPECT_THAT(RunTool({"update", "--help"}).strOut, HasSubstr("--allow-downgrade"));
}
