#include "tool/PdBench.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

/// A hub with two PD controllers, at 0x42 and 0x66.
class Pd : public PdBench
{
protected:
    Pd() : PdBench("pd", "pdControllers", "pd") { Pd::UseBench({}); }

    void UseBench(const std::string& strMore) override
    {
        m_bench.UseHub("", "",
                       R"(, "pdControllers": [{"id": "pd", "hub": "hub", "address": "0x42",
                 "image": {"version": "0x0111", "chip": "0x7310", "size": 32768}},
                {"id": "next", "hub": "hub", "address": "0x66",
                 "image": {"version": "0x0111", "chip": "0x7310", "size": 32768, "seed": 9}}])" +
                           strMore);
    }

    std::vector<std::string> Selector() const override { return {"--addr", m_strAddress}; }

    ToolResult RunAt(const char* pszAddress, const std::vector<std::string>& arguments)
    {
        m_strAddress = pszAddress;
        const ToolResult result = RunPd(arguments);
        m_strAddress = "0x42";
        return result;
    }

    std::string m_strAddress = "0x42";
    std::string m_strName = PdImage("0x0222");
    std::string m_strImage = m_bench.Path(m_strName);
};

} // namespace

TEST_F(Pd, UpdatesTheOtherBankAndLeavesHubAndNeighbourAlone)
{
    ASSERT_EQ(m_bench.Run({"pd", "list"}).nExit, 0);
    const nlohmann::json hub = m_bench.HubState();
    const nlohmann::json next = State("next");
    const ToolResult result = RunPd({"update", m_strImage});
    ASSERT_EQ(result.nExit, 0) << result.strErr;
    EXPECT_TRUE(Runs(m_strName));
    EXPECT_EQ(State()["activeBank"], 1);
    EXPECT_EQ(m_bench.HubState(), hub);
    EXPECT_EQ(State("next"), next);
    const nlohmann::json document = result.Json();
    EXPECT_EQ(document["before"], "0x0111");
    EXPECT_EQ(document["after"], "0x0222");
    EXPECT_EQ(document["result"], "updated");
    EXPECT_EQ(document["address"], 0x42);
    EXPECT_EQ(document["address7"], 0x21);
    EXPECT_EQ(RunPd({"verify", m_strImage}).nExit, 0);
}

TEST_F(Pd, ListShowsWhoAnswersInBothFormsOfTheAddress)
{
    const ToolResult result = m_bench.Run({"--json", "pd", "list"});
    const nlohmann::json rows = result.Json()["pd"];
    ASSERT_EQ(rows.size(), 2u) << result.strOut;
    EXPECT_EQ(rows[0]["address"], 0x42);
    EXPECT_EQ(rows[0]["address7"], 0x21);
    EXPECT_EQ(rows[0]["version"], "0x0111");
    EXPECT_EQ(rows[1]["address"], 0x66);
    EXPECT_THAT(m_bench.Run({"bench", "check"}).strOut, HasSubstr("0x0111   0"))
        << "asking must not be misuse";
}

TEST_F(Pd, RefusesAddressesThatAreNoneOrDoNotAnswer)
{
    const std::pair<const char*, int> kAddresses[] = {
        {"0x43", 2}, {"0x142", 2}, {"0x0E", 2}, {"0xF0", 2}, {"0x50", 3}};
    for (const auto& [pszAddress, nExit] : kAddresses)
        EXPECT_EQ(RunAt(pszAddress, {"update", m_strImage}).nExit, nExit) << pszAddress;
    EXPECT_THAT(ErrorOf(RunAt("0x50", {"version"})),
                HasSubstr("no PD controller answers at 0x50 (7-bit 0x28)"));
}

TEST_F(Pd, RefusesImagesThatAreNotForIt)
{
    const std::string strHubImage = m_bench.Image("0x0300");
    EXPECT_EQ(RunPd({"update", strHubImage}).nExit, 5);
    EXPECT_EQ(m_bench.Run({"update", m_strImage}).nExit, 5) << "and the other way round";
    EXPECT_EQ(RunPd({"update", m_bench.Path(PdImage("0x0001"))}).nExit, 5) << "older";
    const std::string strLarge = m_bench.Image("0x0400", {"--chip", "0x7310", "--size", "131073"});
    EXPECT_THAT(ErrorOf(RunPd({"update", strLarge})), HasSubstr("is too large"));
    const ToolResult current = RunPd({"update", m_bench.Path(PdImage("0x0111"))});
    EXPECT_EQ(current.nExit, 0);
    EXPECT_EQ(current.Json()["result"], "current");
    EXPECT_EQ(State()["activeBank"], 0);
}

TEST_F(Pd, ErasesOnRequestOnlyAndSaysWhenAnImageCannotBeCompared)
{
    EXPECT_EQ(RunPd({"erase"}).nExit, 2);
    EXPECT_EQ(RunPd({"erase", "--yes"}).nExit, 0);
    EXPECT_EQ(FlashOf(State()), Bytes(2 * kBankSize, 0xFF));
    EXPECT_EQ(ErrorOf(RunPd({"version"})),
              "the PD controller runs its ROM code, which has no version");
    const ToolResult result = RunPd({"update", m_strImage});
    EXPECT_EQ(result.nExit, 5);
    EXPECT_THAT(ErrorOf(result), HasSubstr("it cannot be told whether this image is for it"));
    EXPECT_EQ(RunPd({"update", m_strImage, "--force"}).nExit, 0);
    EXPECT_TRUE(Runs(m_strName));
}

TEST_F(Pd, FindsAWrongByteBeforeTheOldBankIsMarked)
{
    UseBench(UsePdFault(R"("request": "write-2", "nth": 10, "kind": "corrupt", "offset": 3)"));
    const ToolResult result = RunPd({"update", m_strImage});
    EXPECT_EQ(result.nExit, 7);
    EXPECT_THAT(ErrorOf(result), HasSubstr("differs from the image at offset 0x0001"));
    EXPECT_THAT(result.Json()["error"]["state"].get<std::string>(),
                HasSubstr("the old firmware is still in the bank that runs"));
    EXPECT_EQ(BankOf(State(), 0)[kMarkAt], 0xFF) << "the mark gives the old bank up";
    EXPECT_EQ(State()["runsFlash"], true);
}

TEST_F(Pd, AStatusThatCannotBeReadDoesNotCostBothBanks)
{
    // The library would reset it to ROM code and erase everything.
    UseBench(UsePdFault(R"("request": "status", "nth": 3, "times": 2, "kind": "fail")"));
    const ToolResult result = RunPd({"update", m_strImage});
    EXPECT_NE(result.nExit, 0);
    EXPECT_EQ(State()["runsFlash"], true);
    EXPECT_EQ(RunPd({"update", m_strImage}).nExit, 0);
}

TEST_F(Pd, ADumpIsTheBankThatRuns)
{
    ASSERT_EQ(RunPd({"dump", m_bench.Path("dump.bin")}).nExit, 0);
    EXPECT_EQ(m_bench.ReadBytes("dump.bin"), BankOf(State(), 0));
    EXPECT_EQ(RunPd({"dump", m_bench.Path("dump.bin")}).nExit, 1) << "it exists";
}

TEST_F(Pd, BrokenUpdatesAreReportedAsDoneExactlyWhenTheModelRunsTheImage)
{
    std::vector<std::string> faults = {
        R"("request": "reset-to-flash", "kind": "fail")",
        R"("request": "reset-to-flash", "kind": "lie")",
        R"("request": "status", "nth": 4, "kind": "lie")",
        R"("request": "write-0", "kind": "lie")", // the mark
    };
    for (const char* const pszRequest : {"enable", "status", "write-2", "read-2", "crc"})
        for (const char* const pszKind : {"fail", "lie", "vanish"})
            faults.push_back(std::string(R"("request": ")") + pszRequest +
                             R"(", "nth": 0, "kind": ")" + pszKind + "\"");
    for (const char* const pszAt : {"0", "40", "700"})
        faults.push_back(std::string(R"("powerCut": )") + pszAt);
    BreakUpdates(faults);
}

TEST_F(Pd, AStuckBusIsAskedOnceAndReportedWithWhatAnsweredBefore)
{
    UseBench(R"(, "faults": [{"pd": "next", "request": "status", "kind": "timeout"}])");
    const ToolResult result = m_bench.Run({"--json", "pd", "list"});
    EXPECT_EQ(result.nExit, 1);
    const nlohmann::json document = result.Json();
    ASSERT_EQ(document["pd"].size(), 1u);
    EXPECT_EQ(document["pd"][0]["address"], 0x42);
    EXPECT_THAT(ErrorOf(result), HasSubstr("stuck: the transfer to 0x66 (7-bit 0x33)"));
    EXPECT_THAT(document["error"]["next"].get<std::string>(), HasSubstr(" reset --hub 'path:"));
    EXPECT_EQ(m_bench.Run({"reset"}).nExit, 0);
    EXPECT_EQ(m_bench.Run({"--json", "pd", "list"}).Json()["pd"].size(), 2u);
}

TEST_F(Pd, AControllerThatVanishedIsPluggedAsTheMessageSays)
{
    UseBench(UsePdFault(R"("request": "write-2", "nth": 9, "kind": "vanish")"));
    const ToolResult result = RunPd({"update", m_strImage});
    EXPECT_EQ(result.nExit, 8);
    EXPECT_THAT(result.Json()["error"]["next"].get<std::string>(),
                HasSubstr(" bench plug pd, then: zelhub "));
    EXPECT_THAT(result.Json()["error"]["next"].get<std::string>(), HasSubstr("--addr 0x42 --hub "));
}

TEST_F(Pd, WhoeverWorksOnTheHubOrBehindItHasItForHimself)
{
    const std::string strHubImage = m_bench.Image("0x0300");
    const std::vector<std::string> pdUpdate = {"pd", "update", m_strImage, "--addr", "0x42"};
    const std::vector<std::string> hubUpdate = {"update", strHubImage};
    struct Pair
    {
        std::vector<std::string> first;
        const char* pszUntil;
        std::vector<std::vector<std::string>> refused;
    };
    const Pair kPairs[] = {
        {pdUpdate, "\"write\"", {hubUpdate, {"reset"}, {"erase", "--yes"}, {"reset", "--rom"}}},
        {hubUpdate, "reset to ROM code", {pdUpdate, {"pd", "list"}}}};
    for (const Pair& pair : kPairs) {
        std::vector<std::string> slow = {"--json", "--bench-pace", "0.1"};
        slow.insert(slow.end(), pair.first.begin(), pair.first.end());
        CToolProcess first(m_bench.Arguments(slow)); // ended with its object
        ASSERT_TRUE(first.WaitForError(pair.pszUntil));
        for (const std::vector<std::string>& arguments : pair.refused) {
            const ToolResult result = m_bench.Run(arguments);
            EXPECT_EQ(result.nExit, 4) << arguments[0];
            EXPECT_THAT(result.strErr,
                        HasSubstr("another zelhub is working on the hub at PCIROOT"));
        }
    }
}

TEST_F(Pd, BenchFilesWithImpossibleControllersAreRefused)
{
    const std::pair<const char*, const char*> kBad[] = {
        {R"({"id": "pd", "hub": "hub", "address": "0x43"})", "has to be even"},
        {R"({"id": "pd", "hub": "none", "address": "0x42"})", "names no hub"},
        {R"({"id": "hub", "hub": "hub", "address": "0x42"})", "used twice"},
        {R"({"id": "a", "hub": "hub", "address": 66}, {"id": "b", "hub": "hub", "address": 66})",
         "used twice"}};
    for (const auto& [pszPds, pszWhy] : kBad) {
        m_bench.UseHub("", "", std::string(R"(, "pdControllers": [)") + pszPds + "]");
        const ToolResult result = m_bench.Run({"pd", "list"});
        EXPECT_EQ(result.nExit, 2) << pszPds;
        EXPECT_THAT(result.strErr, HasSubstr(pszWhy));
    }
}
