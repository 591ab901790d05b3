#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

#include <sstream>

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace
{

class Output : public testing::Test
{
protected:
    Output() { m_bench.UseHub(", 'i2cMemory': 256"); }

    CBenchFolder m_bench;
};

/// Every line has to be a JSON object; returns them.
std::vector<nlohmann::json> ExpectJsonLines(const std::string& strText)
{
    std::vector<nlohmann::json> all;
    std::istringstream lines(strText);
    for (std::string strLine; std::getline(lines, strLine);) {
        all.push_back(nlohmann::json::parse(strLine, nullptr, false));
        EXPECT_TRUE(all.back().is_object()) << "no JSON line: " << strLine;
        EXPECT_EQ(all.back()["schema"], 1);
    }
    return all;
}

} // namespace

TEST_F(Output, IsOneJsonDocumentForEveryCommand)
{
    (void)m_bench.Image("0x0200");
    for (const std::string strLine :
         {"list", "status", "ports", "version", "info @0x0200.bin", "update @0x0200.bin",
          "verify @0x0200.bin", "dump @dump.bin --size 65536", "reset",
          "i2c write --address 0x10 --data '01 02' --yes", "i2c read --address 0x10 --length 2",
          "bench check", "erase --yes", "version"}) { // the last fails: there is none any more
        SCOPED_TRACE(strLine);
        const ToolResult result = m_bench.Type("--json " + strLine);
        nlohmann::json document = result.Json();
        EXPECT_EQ(document["schema"], 1);
        EXPECT_EQ(document["command"], strLine.substr(0, strLine.find(' ')));
        EXPECT_EQ(document["exit"], result.nExit);
        EXPECT_EQ(document.contains("error"), result.nExit != 0);
        (void)ExpectJsonLines(result.strErr);
    }
}

TEST_F(Output, OfAWatchIsJsonLinesWithTheDocumentLast)
{
    m_bench.UseHub("", "",
                   ", 'events': [{'atMs': 500, 'unplug': 'hub'}, {'atMs': 900, 'plug': 'hub'}]");
    const auto lines = ExpectJsonLines(m_bench.Expect(0, "--json watch").strOut);
    std::string strEvents;
    for (const nlohmann::json& line : lines)
        strEvents += line.value("event", "") + " ";
    EXPECT_EQ(strEvents, "present removed arrived  ");
    EXPECT_EQ(lines.back()["command"], "watch");
}

TEST_F(Output, MarksForeignHubsInTheList)
{
    m_bench.UseExample("troubled.json");
    nlohmann::json hubs = m_bench.Type("--json list --details").Json()["hubs"];
    ASSERT_EQ(hubs.size(), 6u);
    EXPECT_EQ(hubs[0]["kind"], "own");
    EXPECT_EQ(hubs[4]["code"], "rom");
    EXPECT_EQ(hubs[5]["kind"], "unknown");
    EXPECT_EQ(hubs[5]["reason"], "you may not open it");
    EXPECT_THAT(hubs[5]["cure"].get<std::string>(), HasSubstr(kRightToOpenHint));
    m_bench.UseExample("desk.json");
    EXPECT_EQ(m_bench.Type("--json list").Json()["hubs"][2]["kind"], "foreign");
}

TEST_F(Output, KeepsMessagesAwayFromData)
{
    (void)m_bench.Image("0x0200");
    const ToolResult quiet = m_bench.Type("--quiet update @0x0200.bin");
    EXPECT_EQ(quiet.strErr, "");
    EXPECT_THAT(quiet.strOut, HasSubstr("updated"));
    const ToolResult verbose = m_bench.Type("--verbose version");
    EXPECT_THAT(verbose.strErr, HasSubstr("CUSBDev::Arrive, current state is UnknownState"));
    EXPECT_THAT(verbose.strOut, Not(HasSubstr("CUSBDev")));
}

TEST_F(Output, WritesItsOwnLog)
{
    m_bench.Expect(0, "--log @log version");
    EXPECT_THAT(m_bench.ReadText("log"), HasSubstr("In CUSBDev::Arrive, current state is"));
    m_bench.Expect(1, "--log /nowhere/log version");
}

TEST_F(Output, DumpsExactlyTheFlashAndReplacesAFileOnlyWhenTold)
{
    m_bench.Expect(0, "dump @dump.bin --size 5000");
    (void)m_bench.Image("0x0100");
    std::vector<BYTE> image = m_bench.ReadBytes("0x0100.bin");
    image.resize(5000);
    EXPECT_EQ(m_bench.ReadBytes("dump.bin"), image);
    m_bench.Expect(1, "dump @dump.bin --size 5000");
    m_bench.Expect(0, "dump @dump.bin --size 5000 --overwrite");
}

TEST_F(Output, OfAFailureSaysTheSameInBothForms)
{
    (void)m_bench.Image("0x0200");
    std::vector<std::tuple<int, const char*, const char*>> failures = {
        {1, "version",
         ", 'faults': [{'hub': 'hub', 'request': 'status', 'kind': 'lie', 'times': 9}]"},
        {3, "version --hub #9", ""},
        {4, "list", ", 'machine': {'serviceManagerError': 5}"},
        {5, "update @missing.bin", ""},
        {6, "erase --yes", ", 'faults': [{'hub': 'hub', 'request': 'erase', 'kind': 'lie'}]"},
        {7, "verify @0x0200.bin", ""},
        {8, "update @0x0200.bin", ", 'faults': [{'hub': 'hub', 'powerCut': 8}]"}};
    for (const char* const pszUsage :
         {"", "flash", "list --all", "update", "update a b", "dump f --size many",
          "dump f --size 0", "--timeout -1 list", "--timeout soon list", "--timeout 1e10 list",
          "--timeout nan list", "erase", "i2c", "i2c write --address 0 --data 00",
          "i2c write --address 0 --data 0x --yes", "bench image f --version new",
          "bench fault hub --kind magic", "bench plug hub"})
        failures.emplace_back(2, pszUsage, "");
    for (const auto& [nExit, pszLine, pszMembers] : failures) {
        SCOPED_TRACE(pszLine);
        ToolResult results[2];
        for (ToolResult& result : results) {
            m_bench.UseHub("", "", pszMembers);
            std::vector<std::string> words = m_bench.Typed(pszLine);
            if (&result != results)
                words.insert(words.begin(), "--json");
            result = RunTool(nExit == 2 ? words : m_bench.Arguments(words));
            EXPECT_EQ(result.nExit, nExit) << result.strErr;
        }
        const nlohmann::json error = results[1].Json()["error"];
        EXPECT_THAT(results[0].strErr, HasSubstr("error: " + error.value("what", "") + "\n"));
        EXPECT_THAT(results[0].strErr, EndsWith("\nnext:  " + error.value("next", "") + "\n"));
    }
}

TEST(Help, GoesToStandardOutputAndDocumentsExitStatus)
{
    const ToolResult help = RunTool({"--help"});
    EXPECT_EQ(help.nExit, 0);
    EXPECT_THAT(help.strOut, HasSubstr("7 verify mismatch"));
    EXPECT_EQ(help.strErr, "");
    EXPECT_THAT(RunTool({"update", "--help"}).strOut, HasSubstr("--allow-downgrade"));
}
