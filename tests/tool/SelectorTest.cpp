#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

struct Selection
{
    const char* pszCase;
    const char* pszHub; ///< null: none given
    int nExit;
    const char* pszSays; ///< on success the hub's place
};

/// The desk: #1 port 1 and #2 port 1.3 are the maker's, #3 port 4 is somebody else's, #4 and #5
/// are SuperSpeed halves.
const Selection kSelections[] = {
    {"ByIndex", "#2", 0, "#USB(1)#USB(3)"},
    {"ByInstance", "inst:13", 0, "#USB(1)#USB(3)"},
    {"ByInstanceInHex", "inst:0xd", 0, "#USB(1)#USB(3)"},
    {"ByPorts", "port:1.3", 0, "#USB(1)#USB(3)"},
    {"ByPath", "path:PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(1)#USB(3)", 0, "#USB(1)#USB(3)"},
    {"NoneAmongSeveral", nullptr, 2, "2 hubs are here and none was chosen"},
    {"IndexBehindTheEnd", "#9", 3, "there is no hub #9"},
    {"IndexZero", "#0", 2, "is no selector"},
    {"UnknownInstance", "inst:99", 3, "there is no hub inst:99"},
    {"UnknownPath", "path:nowhere", 3, "there is no hub path:nowhere"},
    {"PartOfAPath", "path:PCIROOT(0)", 3, "there is no hub"},
    {"UnknownPorts", "port:1.3.1", 3, "there is no hub port:1.3.1"},
    {"NoNumber", "inst:eleven", 2, "is no selector"},
    {"NumberTooLarge", "inst:99999999999999999999", 2, "is no selector"},
    {"NoKind", "monitor", 2, "is no selector"},
    {"EmptyPath", "path:", 2, "is no selector"},
    {"ForeignHub", "#3", 3, "is not one of the maker's"},
    {"SuperSpeedHalf", "#4", 3, "this is the SuperSpeed half of a hub"},
};

class Selector : public testing::TestWithParam<Selection>
{
protected:
    CBenchFolder m_bench;
};

} // namespace

TEST_P(Selector, ChoosesOneHubOrSaysWhyNot)
{
    m_bench.UseExample("desk.json");
    std::vector<std::string> arguments = {"--json", "version"};
    if (GetParam().pszHub != nullptr)
        arguments.insert(arguments.end(), {"--hub", GetParam().pszHub});
    const ToolResult result = m_bench.Run(arguments);
    EXPECT_EQ(result.nExit, GetParam().nExit) << result.strErr;
    const nlohmann::json document = result.Json();
    const std::string strSays = result.nExit == 0 ? document["hub"].get<std::string>()
                                                  : document["error"]["what"].get<std::string>();
    EXPECT_THAT(strSays, HasSubstr(GetParam().pszSays));
}

INSTANTIATE_TEST_SUITE_P(Of, Selector, testing::ValuesIn(kSelections),
                         [](const auto& test) { return test.param.pszCase; });

TEST(SelectorWithoutChoice, ShowsTheHubsWhereThereAreSeveral)
{
    CBenchFolder bench;
    bench.UseExample("desk.json");
    const ToolResult result = bench.Run({"status"});
    EXPECT_EQ(result.nExit, 2);
    EXPECT_THAT(result.strOut, HasSubstr("#2  13        1.3   5678:4321  hub"));
}

TEST(SelectorOfPorts, IsAmbiguousAcrossControllers)
{
    CBenchFolder bench;
    bench.UseBench(R"({"schema": 1, "controllers": [{"id": "a"}, {"id": "b"}], "hubs": [
        {"id": "left", "parent": "a", "port": 1}, {"id": "right", "parent": "b", "port": 1}]})");
    const ToolResult result = bench.Run({"status", "--hub", "port:1"});
    EXPECT_EQ(result.nExit, 2);
    EXPECT_THAT(result.strErr, HasSubstr("--hub port:1 names 2 hubs"));
}

TEST(SelectorOfAnUnknownHub, RefusesWhatCannotBeAskedWhoMadeIt)
{
    CBenchFolder bench;
    bench.UseExample("troubled.json");
    const ToolResult result = bench.Run({"status", "--hub", "#6"});
    EXPECT_EQ(result.nExit, 4);
    EXPECT_THAT(result.strErr, HasSubstr("cannot be asked who made it: you may not open it"));
    EXPECT_THAT(result.strErr, HasSubstr(kRightToOpenHint));
}

TEST(SelectorOnAnEmptyMachine, FindsNoDeviceWhileListIsContent)
{
    CBenchFolder bench;
    bench.UseBench(R"({"schema": 1, "controllers": [{"id": "xhci"}]})");
    EXPECT_EQ(bench.Run({"version"}).nExit, 3);
    const ToolResult list = bench.Run({"--json", "list"});
    EXPECT_EQ(list.nExit, 0);
    EXPECT_EQ(list.Json()["hubs"], nlohmann::json::array());
}
