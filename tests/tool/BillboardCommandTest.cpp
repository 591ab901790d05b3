#include "tool/PdBench.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

/// A billboard device behind a hub, among others that are not quite; no hub driver.
class Billboard : public PdBench
{
protected:
    Billboard() : PdBench("billboard", "billboards", "billboard") { Billboard::UseBench({}); }

    void UseBench(const std::string& strMore) override
    {
        m_bench.UseHub("", "",
                       R"(, "machine": {"serviceManagerError": 5}, "billboards": [
            {"id": "pd", "parent": "hub", "port": 4, "instance": 41, "pid": "0xBBCD",
             "image": {"version": "0x0111", "chip": "0x7310", "size": 32768}},
            {"id": "renamed", "parent": "xhci", "port": 2, "instance": 42,
             "description": "Billboard Device 2"},
            {"id": "closed", "parent": "xhci", "port": 3, "winUsb": false,
             "description": "BILLBOARD device"}],
            "devices": [{"id": "keyboard", "parent": "xhci", "port": 7}])" +
                           strMore);
    }

    std::vector<std::string> Selector() const override { return {"--device", "inst:41"}; }

    std::string m_strName = PdImage("0x0222");
    std::string m_strImage = m_bench.Path(m_strName);
};

} // namespace

TEST_F(Billboard, ListShowsWhichAreTheMakersAndWhatIsWrongWithTheOthers)
{
    const ToolResult result = m_bench.Run({"--json", "billboard", "list"});
    ASSERT_EQ(result.nExit, 0) << result.strErr;
    const nlohmann::json rows = result.Json()["billboards"];
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0]["kind"], "billboard");
    EXPECT_EQ(rows[0]["ids"], "5678:BBCD");
    EXPECT_EQ(rows[0]["port"], "1.4");
    EXPECT_EQ(rows[0]["version"], "0x0111");
    EXPECT_EQ(rows[1]["kind"], "renamed");
    EXPECT_EQ(rows[1]["description"], "Billboard Device 2");
    EXPECT_EQ(rows[2]["kind"], "closed");
    m_bench.UseHub();
    const ToolResult none = m_bench.Run({"billboard", "list"});
    EXPECT_EQ(none.nExit, 0);
    EXPECT_THAT(none.strErr + none.strOut, HasSubstr("no billboard devices found"));
}

TEST_F(Billboard, IsChosenOrTheRefusalSaysWhy)
{
    struct Selection
    {
        const char* pszDevice; ///< null: none given
        int nExit;
        const char* pszSays;
    };
    const Selection kSelections[] = {
        {nullptr, 0, ""},
        {"#1", 0, ""},
        {"port:1.4", 0, ""},
        {"#2", 3, "is described as \"Billboard Device 2\""},
        {"#3", 4, "cannot be opened"},
        {"inst:31", 3, "there is no billboard device inst:31"},
        {"0x42", 2, "--device \"0x42\" is no selector"},
    };
    for (const Selection& selection : kSelections) {
        std::vector<std::string> arguments = {"billboard", "version"};
        if (selection.pszDevice != nullptr)
            arguments.insert(arguments.end(), {"--device", selection.pszDevice});
        const ToolResult result = m_bench.Run(arguments);
        EXPECT_EQ(result.nExit, selection.nExit) << arguments.back();
        EXPECT_THAT(result.strErr, HasSubstr(selection.pszSays));
    }
    EXPECT_EQ(m_bench.Run({"--hub", "#1", "billboard", "version"}).nExit, 2);
    UseBench(UsePdFault(R"("request": "status", "kind": "stall", "times": 2)"));
    const nlohmann::json rows = m_bench.Run({"--json", "billboard", "list"}).Json()["billboards"];
    EXPECT_EQ(rows[0]["kind"], "silent");
    EXPECT_EQ(RunPd({"version"}).nExit, 3) << "it does not answer like one of the maker's";
    ASSERT_EQ(m_bench.Run({"bench", "unplug", "hub"}).nExit, 0);
    EXPECT_EQ(m_bench.Run({"billboard", "version"}).nExit, 4) << "the one that is left is closed";
}

TEST_F(Billboard, UpdatesTheOtherBankReadsItBackAndRunsIt)
{
    EXPECT_EQ(RunPd({"update", m_strImage, "--dry-run"}).Json()["result"], "dry-run");
    const ToolResult result = RunPd({"update", m_strImage, "--backup", m_bench.Path("old")});
    ASSERT_EQ(result.nExit, 0) << result.strErr;
    EXPECT_TRUE(Runs(m_strName));
    EXPECT_EQ(State()["activeBank"], 1);
    EXPECT_EQ(result.Json()["after"], "0x0222");
    EXPECT_EQ(m_bench.ReadBytes("old").size(), kBankSize);
    EXPECT_EQ(RunPd({"verify", m_strImage}).nExit, 0);
    EXPECT_EQ(RunPd({"dump", m_bench.Path("dump")}).nExit, 0);
    EXPECT_EQ(m_bench.ReadBytes("dump"), BankOf(State(), 1));
    const ToolResult other = RunPd({"verify", m_bench.Path(PdImage("0x0333"))});
    EXPECT_EQ(other.nExit, 7);
    EXPECT_THAT(other.Json()["error"]["next"].get<std::string>(), HasSubstr("billboard update"));
    EXPECT_EQ(RunPd({"update", m_strImage}).Json()["result"], "current");
    EXPECT_EQ(RunPd({"info"}).Json()["bank1Version"], "0x0222");
}

TEST_F(Billboard, RefusesImagesThatAreNotForItAndErasesOnRequestOnly)
{
    EXPECT_EQ(RunPd({"update", m_bench.Image("0x0300")}).nExit, 5) << "of a hub";
    EXPECT_EQ(RunPd({"update", m_bench.Path(PdImage("0x0001"))}).nExit, 5) << "older";
    EXPECT_EQ(RunPd({"erase"}).nExit, 2);
    EXPECT_EQ(State()["activeBank"], 0);
    EXPECT_EQ(RunPd({"erase", "--yes"}).nExit, 0);
    EXPECT_EQ(FlashOf(State()), Bytes(2 * kBankSize, 0xFF));
    const ToolResult result = RunPd({"update", m_strImage});
    EXPECT_EQ(result.nExit, 5);
    EXPECT_THAT(ErrorOf(result), HasSubstr("it cannot be told whether this image is for it"));
    EXPECT_EQ(RunPd({"update", m_strImage, "--force"}).nExit, 0);
    EXPECT_TRUE(Runs(m_strName));
}

TEST_F(Billboard, FindsAWrongByteBeforeTheOldBankIsMarked)
{
    UseBench(UsePdFault(R"("request": "write-flash", "nth": 1, "kind": "corrupt", "offset": 3)"));
    const ToolResult result = RunPd({"update", m_strImage});
    EXPECT_EQ(result.nExit, 7);
    EXPECT_THAT(ErrorOf(result), HasSubstr("differs from the image at offset 0x001003"));
    EXPECT_EQ(BankOf(State(), 0)[kMarkAt], 0xFF) << "the mark gives the old bank up";
}

TEST_F(Billboard, AnEraseThatErasedNothingIsNoSuccess)
{
    UseBench(UsePdFault(R"("request": "erase", "kind": "lie", "times": 2)"));
    const ToolResult result = RunPd({"erase", "--yes"});
    EXPECT_EQ(result.nExit, 6);
    EXPECT_THAT(ErrorOf(result), HasSubstr("reported that it erased its flash, but offset"));
}

TEST_F(Billboard, BrokenUpdatesAreReportedAsDoneExactlyWhenTheModelRunsTheImage)
{
    std::vector<std::string> faults = {
        R"("request": "write-flash", "nth": 8, "kind": "lie")", // the mark
        R"("request": "enable", "nth": 2, "kind": "timeout")"};
    for (const char* const pszPlace :
         {R"("enable", "nth": 1)", R"("status", "nth": 3)", R"("erase", "nth": 0)",
          R"("write-flash", "nth": 5)", R"("read-flash", "nth": 2)", R"("crc", "nth": 0)",
          R"("reset-to-flash", "nth": 0)"})
        for (const char* const pszKind : {"fail", "lie", "timeout", "vanish"})
            faults.push_back(std::string(R"("request": )") + pszPlace + R"(, "kind": ")" + pszKind +
                             "\"");
    for (const char* const pszAt : {"0", "4", "8"})
        faults.push_back(std::string(R"("powerCut": )") + pszAt);
    BreakUpdates(faults);
}

TEST_F(Billboard, AControllerThatChecksItselfOtherwiseIsUpdatedAsWell)
{
    for (const char* const pszChecks :
         {R"("validates": true)", R"("checksCrc": false, "timing": {"newInstance": true})"}) {
        m_bench.UseBench(R"({"schema": 1, "controllers": [{"id": "xhci"}], "billboards": [
            {"id": "pd", "parent": "xhci", "port": 1, "instance": 41, )" +
                         std::string(pszChecks) + R"(, "image": {"version": "0x0111",
             "chip": "0x7310"}}]})");
        EXPECT_EQ(RunPd({"update", m_strImage}).nExit, 0) << pszChecks;
        EXPECT_TRUE(Runs(m_strName)) << pszChecks;
    }
}

TEST_F(Billboard, TheHubAboveItIsNotRestartedMeanwhile)
{
    m_bench.UseHub("", "", R"(, "billboards": [{"id": "pd", "parent": "hub", "port": 4,
        "instance": 41, "image": {"version": "0x0111", "chip": "0x7310"}}])");
    CToolProcess first(m_bench.Arguments({"--json", "--bench-pace", "0.02", "billboard", "update",
                                          m_strImage})); // ended with its object
    ASSERT_TRUE(first.WaitForError("\"write\""));
    const ToolResult reset = m_bench.Run({"reset"});
    EXPECT_EQ(reset.nExit, 4);
    EXPECT_THAT(reset.strErr, HasSubstr(", or on what hangs on it"));
    const ToolResult again = m_bench.Run({"billboard", "erase", "--yes"});
    EXPECT_EQ(again.nExit, 4);
    EXPECT_THAT(again.strErr, HasSubstr("another zelhub is working on the billboard device at"));
}
