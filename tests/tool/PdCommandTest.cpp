#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>

using testing::HasSubstr;

namespace
{

using Bytes = std::vector<BYTE>;

constexpr size_t kBankSize = 0x20000;
constexpr size_t kMarkAt = 0x7EF0;
const std::vector<std::string> kPdChip = {"--chip", "0x7310", "--size", "32768"};

std::string ErrorOf(const ToolResult& result)
{
    return result.Json()["error"]["what"];
}

/// A hub with two PD controllers, at 0x42 and 0x66.
class Pd : public testing::Test
{
protected:
    Pd() { UseBench(); }

    void UseBench(const std::string& strFile = {}, const std::string& strPd = {})
    {
        m_bench.UseHub("", "",
                       R"(, "pdControllers": [{"id": "pd", "hub": "hub", "address": "0x42")" +
                           strPd +
                           R"(, "image": {"version": "0x0111", "chip": "0x7310", "size": 32768}},
                {"id": "next", "hub": "hub", "address": "0x66",
                 "image": {"version": "0x0111", "chip": "0x7310", "size": 32768, "seed": 9}}])" +
                           strFile);
    }

    nlohmann::json State(const std::string& strId = "pd") const
    {
        const nlohmann::json state = nlohmann::json::parse(m_bench.ReadText("state"));
        for (const nlohmann::json& pd : state["pdControllers"])
            if (pd["id"] == strId)
                return pd;
        ADD_FAILURE() << "no state of " << strId;
        return {};
    }

    static Bytes BankOf(const nlohmann::json& pd, unsigned nBank)
    {
        const Bytes flash = FlashOf(pd);
        const auto it = flash.begin() + static_cast<std::ptrdiff_t>(nBank * kBankSize);
        return {it, it + kBankSize};
    }

    /// The model is the judge: it answers, runs flash code, and its bank begins with the image.
    bool Runs(const std::string& strImage) const { return Runs(State(), strImage); }

    bool Runs(const nlohmann::json& pd, const std::string& strImage) const
    {
        const Bytes image = m_bench.ReadBytes(strImage);
        const Bytes bank = BankOf(pd, pd["activeBank"]);
        return pd["onBus"] == true && pd["runsFlash"] == true && !image.empty() &&
               std::equal(image.begin(), image.end(), bank.begin());
    }

    ToolResult RunPd(std::vector<std::string> arguments, const char* pszAddress = "0x42") const
    {
        arguments.insert(arguments.begin(), {"--json", "pd"});
        arguments.insert(arguments.end(), {"--addr", pszAddress});
        return m_bench.Run(arguments);
    }

    CBenchFolder m_bench;
    std::string m_strImage = m_bench.Image("0x0222", kPdChip);
    std::string m_strName = "0x0222.bin";
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
        EXPECT_EQ(RunPd({"update", m_strImage}, pszAddress).nExit, nExit) << pszAddress;
    EXPECT_THAT(ErrorOf(RunPd({"version"}, "0x50")),
                HasSubstr("no PD controller answers at 0x50 (7-bit 0x28)"));
}

TEST_F(Pd, RefusesImagesThatAreNotForIt)
{
    const std::string strHubImage = m_bench.Image("0x0300");
    EXPECT_EQ(RunPd({"update", strHubImage}).nExit, 5);
    EXPECT_EQ(m_bench.Run({"update", m_strImage}).nExit, 5) << "and the other way round";
    EXPECT_EQ(RunPd({"update", m_bench.Image("0x0001", kPdChip)}).nExit, 5) << "older";
    const std::string strLarge = m_bench.Image("0x0400", {"--chip", "0x7310", "--size", "131073"});
    EXPECT_THAT(ErrorOf(RunPd({"update", strLarge})), HasSubstr("is too large"));
    const ToolResult current = RunPd({"update", m_bench.Image("0x0111", kPdChip)});
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
    UseBench(R"(, "faults": [{"pd": "pd", "request": "write-2", "nth": 10, "kind": "corrupt",
                              "offset": 3}])");
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
    UseBench(R"(, "faults": [{"pd": "pd", "request": "status", "nth": 3, "times": 2,
                              "kind": "fail"}])");
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
    (void)m_bench.Run({"pd", "list"});
    const Bytes old = BankOf(State(), 0);
    for (const std::string& strFault : faults) {
        SCOPED_TRACE(strFault);
        UseBench(R"(, "faults": [{"pd": "pd", )" + strFault + "}]");
        const ToolResult first = RunPd({"update", m_strImage});
        ASSERT_GE(first.nExit, 0) << "it crashed";
        const nlohmann::json state = State();
        EXPECT_EQ(first.nExit == 0, Runs(state, m_strName)) << first.strOut << first.strErr;
        Bytes bank = BankOf(state, 0);
        std::copy_n(old.begin() + kMarkAt, 2, bank.begin() + kMarkAt);
        EXPECT_TRUE(bank == old) << "the bank that ran is damaged";
        if (first.nExit == 0)
            continue;
        EXPECT_FALSE(first.Json()["error"]["next"].get<std::string>().empty());
        if (state["onBus"] == false)
            (void)m_bench.Run({"bench", "plug", "pd"});
        EXPECT_EQ(RunPd({"update", m_strImage, "--force"}).nExit, 0);
        EXPECT_TRUE(Runs(m_strName));
    }
    std::printf("%zu broken updates\n", faults.size());
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
