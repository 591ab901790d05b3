#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{
constexpr const char* kClosedHub =
    R"(, "foreignHubs": [{"id": "closed", "parent": "xhci", "port": 6, "openError": 5}])";

class HubsToAsk : public testing::Test
{
protected:
    CBenchFolder m_bench;
};
using UdevRule = HubsToAsk;
} // namespace

TEST_F(UdevRule, NamesTheMakersHubsByTheirIdsAndNobodyElse)
{
    m_bench.UseExample("desk.json");
    const ToolResult result = m_bench.Run({"udev-rule"});
    EXPECT_EQ(result.nExit, 0);
    EXPECT_EQ(result.strErr, "");
    std::istringstream lines(result.strOut);
    unsigned nRules = 0;
    for (std::string strLine; std::getline(lines, strLine);) {
        if (strLine[0] == '#')
            continue;
        ++nRules;
        EXPECT_THAT(strLine, AllOf(HasSubstr(R"(SUBSYSTEM=="usb")"), HasSubstr("ATTR{idVendor}=="),
                                   HasSubstr("ATTR{idProduct}=="), HasSubstr(R"(TAG+="uaccess")"),
                                   Not(HasSubstr("GROUP")), Not(HasSubstr("MODE"))));
    }
    EXPECT_EQ(nRules, 2u); // of four nodes, each hub's halves have the same IDs
    EXPECT_THAT(result.strOut, HasSubstr(R"(ATTR{idVendor}=="5678", ATTR{idProduct}=="4321")"));
    EXPECT_THAT(result.strOut, Not(HasSubstr("0409")));
    EXPECT_EQ(m_bench.Run({"--json", "udev-rule"}).Json()["rules"], result.strOut);
}

TEST_F(UdevRule, WritesIdsAsTheSystemDoes)
{
    m_bench.UseHub(R"(, "vid": "0xABCD", "pid": "0x00EF")");
    EXPECT_THAT(m_bench.Run({"udev-rule"}).strOut,
                HasSubstr(R"(ATTR{idVendor}=="abcd", ATTR{idProduct}=="00ef")"));
}

TEST_F(UdevRule, SaysWhatToDoWhereThereIsNoHubToName)
{
    m_bench.UseBench(R"({"schema": 1, "controllers": [{"id": "xhci"}]})");
    const ToolResult none = m_bench.Run({"udev-rule"});
    EXPECT_EQ(none.nExit, 3);
    EXPECT_EQ(none.strOut, "");
    EXPECT_THAT(none.strErr, HasSubstr("Plug it in"));

    m_bench.UseBench(R"({"schema": 1, "controllers": [{"id": "xhci"}])" + std::string(kClosedHub) +
                     "}");
    const ToolResult closed = m_bench.Run({"udev-rule"});
    EXPECT_EQ(closed.nExit, 4);
    EXPECT_EQ(closed.strOut, "");
    EXPECT_THAT(closed.strErr, HasSubstr("sudo zelhub udev-rule"));
}

TEST_F(HubsToAsk, AreToldApartFromThoseThatMayNotBeOpened)
{
    m_bench.UseHub("", "", kClosedHub);
    const ToolResult result = m_bench.Run({"list"});
    EXPECT_EQ(result.nExit, 0);
    EXPECT_THAT(result.strOut, HasSubstr("cannot be known: you may not open it"));
    EXPECT_THAT(result.strErr, HasSubstr(kRightToOpenHint));
    m_bench.UseExample("desk.json");
    EXPECT_EQ(m_bench.Run({"list"}).strErr, "");
}

TEST_F(HubsToAsk, GetTwoRequestsFromAListAndNoMore)
{
    // The third request would throw the hub off the bus; details take one.
    m_bench.UseHub();
    ASSERT_EQ(m_bench.Run({"bench", "fault", "hub", "--nth", "2", "--kind", "vanish"}).nExit, 0);
    EXPECT_EQ(m_bench.Run({"list"}).nExit, 0);
    EXPECT_EQ(m_bench.HubState()["onBus"], true);

    m_bench.UseHub();
    ASSERT_EQ(m_bench.Run({"bench", "fault", "hub", "--nth", "2", "--kind", "vanish"}).nExit, 0);
    EXPECT_EQ(m_bench.Run({"list", "--details"}).nExit, 0);
    EXPECT_EQ(m_bench.HubState()["onBus"], false);
}

TEST_F(HubsToAsk, ThatNeverAnswerStayUnknown)
{
    m_bench.UseHub();
    ASSERT_EQ(m_bench.Run({"bench", "fault", "hub", "--nth", "1", "--kind", "timeout"}).nExit, 0);
    const nlohmann::json hub = m_bench.Run({"--json", "list"}).Json()["hubs"][0];
    EXPECT_EQ(hub["kind"], "unknown");
    EXPECT_EQ(hub["reason"], "it does not answer");
    EXPECT_EQ(hub["cure"], nullptr);
    // Late within the time that a hub has is no matter.
    for (const auto& [pszLateMs, pszKind] : {std::pair("4000", "own"), {"6000", "unknown"}}) {
        ASSERT_EQ(m_bench
                      .Run({"bench", "fault", "hub", "--nth", "1", "--kind", "slow", "--late-ms",
                            pszLateMs})
                      .nExit,
                  0);
        EXPECT_EQ(m_bench.Run({"--json", "list"}).Json()["hubs"][0]["kind"], pszKind) << pszLateMs;
    }
    ASSERT_EQ(m_bench.Run({"bench", "fault", "hub", "--nth", "1", "--kind", "timeout"}).nExit, 0);
    const ToolResult rule = m_bench.Run({"udev-rule"});
    EXPECT_EQ(rule.nExit, 4);
    EXPECT_THAT(rule.strErr, HasSubstr("it does not answer"));
}
