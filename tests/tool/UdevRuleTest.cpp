#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{
constexpr const char* kClosedHub =
    ", 'foreignHubs': [{'id': 'closed', 'parent': 'xhci', 'port': 6, 'openError': 5}]";

class HubsToAsk : public testing::Test
{
protected:
    HubsToAsk() { m_bench.UseHub(); }

    CBenchFolder m_bench;
};
using UdevRule = HubsToAsk;
} // namespace

TEST_F(UdevRule, NamesTheMakersHubsByTheirIdsAndNobodyElse)
{
    m_bench.UseExample("desk.json");
    const ToolResult result = m_bench.Expect(0, "udev-rule");
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
    EXPECT_EQ(m_bench.Type("--json udev-rule").Json()["rules"], result.strOut);
}

TEST_F(UdevRule, WritesIdsAsTheSystemDoes)
{
    m_bench.UseHub(", 'vid': '0xABCD', 'pid': '0x00EF'");
    EXPECT_THAT(m_bench.Type("udev-rule").strOut,
                HasSubstr(R"(ATTR{idVendor}=="abcd", ATTR{idProduct}=="00ef")"));
}

TEST_F(UdevRule, SaysWhatToDoWhereThereIsNoHubToName)
{
    const std::tuple<std::string, int, const char*> kBenches[] = {
        {"", 3, "Plug it in"}, {kClosedHub, 4, "sudo zelhub udev-rule"}};
    for (const auto& [strMore, nExit, pszSays] : kBenches) {
        m_bench.UseBench("{'schema': 1, 'controllers': [{'id': 'xhci'}]" + strMore + "}");
        const ToolResult result = m_bench.Expect(nExit, "udev-rule");
        EXPECT_EQ(result.strOut, "");
        EXPECT_THAT(result.strErr, HasSubstr(pszSays));
    }
}

TEST_F(HubsToAsk, AreToldApartFromThoseThatMayNotBeOpened)
{
    m_bench.UseHub("", "", kClosedHub);
    const ToolResult result = m_bench.Expect(0, "list");
    EXPECT_THAT(result.strOut, HasSubstr("cannot be known: you may not open it"));
    EXPECT_THAT(result.strErr, HasSubstr(kRightToOpenHint));
    m_bench.UseExample("desk.json");
    EXPECT_EQ(m_bench.Type("list").strErr, "");
}

TEST_F(HubsToAsk, GetTwoRequestsFromAListAndNoMore)
{
    // The third request would throw the hub off the bus; details take one.
    for (const char* const pszLine : {"list", "list --details"}) {
        m_bench.UseHub();
        m_bench.Expect(0, "bench fault hub --nth 2 --kind vanish");
        m_bench.Expect(0, pszLine);
        EXPECT_EQ(m_bench.StateOf()["onBus"], std::string(pszLine) == "list");
    }
}

TEST_F(HubsToAsk, ThatNeverAnswerStayUnknown)
{
    m_bench.Expect(0, "bench fault hub --nth 1 --kind timeout");
    nlohmann::json hub = m_bench.Type("--json list").Json()["hubs"][0];
    EXPECT_EQ(hub["kind"], "unknown");
    EXPECT_EQ(hub["reason"], "it does not answer");
    EXPECT_EQ(hub["cure"], nullptr);
    // Late within the time that a hub has is no matter.
    for (const auto& [strLateMs, pszKind] :
         {std::pair<std::string, const char*>("4000", "own"), {"6000", "unknown"}}) {
        m_bench.Expect(0, "bench fault hub --nth 1 --kind slow --late-ms " + strLateMs);
        EXPECT_EQ(m_bench.Type("--json list").Json()["hubs"][0]["kind"], pszKind) << strLateMs;
    }
    m_bench.Expect(0, "bench fault hub --nth 1 --kind timeout");
    EXPECT_THAT(m_bench.Expect(4, "udev-rule").strErr, HasSubstr("it does not answer"));
}
