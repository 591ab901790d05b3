#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

/// The desk: #1 port 1 and #2 port 1.3 are the maker's, #3 port 4 is somebody else's, #4 and #5
/// are SuperSpeed halves.
/// What follows "version", its exit status, and what is said; on success the hub's place.
const std::tuple<const char*, int, const char*> kSelections[] = {
    {"--hub #2", 0, "#USB(1)#USB(3)"},
    {"--hub inst:13", 0, "#USB(1)#USB(3)"},
    {"--hub inst:0xd", 0, "#USB(1)#USB(3)"},
    {"--hub port:1.3", 0, "#USB(1)#USB(3)"},
    {"--hub path:PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(1)#USB(3)", 0, "#USB(1)#USB(3)"},
    {"", 2, "2 hubs are here and none was chosen"},
    {"--hub #9", 3, "there is no hub #9"},
    {"--hub #0", 2, "--hub \"#0\" is no selector"},
    {"--hub inst:99", 3, "there is no hub inst:99"},
    {"--hub path:nowhere", 3, "there is no hub path:nowhere"},
    {"--hub path:PCIROOT(0)", 3, "there is no hub path:PCIROOT(0)"},
    {"--hub port:1.3.1", 3, "there is no hub port:1.3.1"},
    {"--hub inst:eleven", 2, "--hub \"inst:eleven\" is no selector"},
    {"--hub inst:99999999999999999999", 2, "--hub \"inst:99999999999999999999\" is no selector"},
    {"--hub monitor", 2, "--hub \"monitor\" is no selector"},
    {"--hub path:", 2, "--hub \"path:\" is no selector"},
    {"--hub #3", 3, "the hub at PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(4) is not one of the maker's"},
    {"--hub #4", 3,
     "this is the SuperSpeed half of a hub at PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(9)"},
};

class Selector : public testing::Test
{
protected:
    Selector() { m_bench.UseExample("desk.json"); }

    CBenchFolder m_bench;
};

} // namespace

TEST_F(Selector, ChoosesOneHubOrSaysWhyNot)
{
    for (const auto& [pszHub, nExit, pszSays] : kSelections) {
        const std::string strLine = std::string("version ") + pszHub;
        if (nExit == 0)
            EXPECT_THAT(m_bench.Expect(0, "--json " + strLine).Json()["hub"].get<std::string>(),
                        HasSubstr(pszSays));
        else
            m_bench.Expect(nExit, strLine, pszSays);
    }
}

TEST_F(Selector, ShowsTheHubsWhereThereAreSeveralAndNoneIsChosen)
{
    EXPECT_THAT(m_bench.Expect(2, "status").strOut,
                HasSubstr("#2  13        1.3   5678:4321  hub"));
}

TEST_F(Selector, OfPortsIsAmbiguousAcrossControllers)
{
    m_bench.UseBench("{'schema': 1, 'controllers': [{'id': 'a'}, {'id': 'b'}], 'hubs': ["
                     "{'id': 'left', 'parent': 'a', 'port': 1}, "
                     "{'id': 'right', 'parent': 'b', 'port': 1}]}");
    m_bench.Expect(2, "status --hub port:1", "--hub port:1 names 2 hubs",
                   "Choose one with --hub '#N' (or inst:, path:, port:) from the list.");
}

TEST_F(Selector, RefusesAHubThatCannotBeAskedWhoMadeIt)
{
    m_bench.UseExample("troubled.json");
    m_bench.Expect(4, "status --hub #6",
                   "the hub at PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(6) cannot be asked who made it: "
                   "you may not open it",
                   HasSubstr(kRightToOpenHint));
}

TEST_F(Selector, FindsNoDeviceOnAnEmptyMachineWhileListIsContent)
{
    m_bench.UseBench("{'schema': 1, 'controllers': [{'id': 'xhci'}]}");
    m_bench.Expect(3, "version");
    EXPECT_EQ(m_bench.Expect(0, "--json list").Json()["hubs"], nlohmann::json::array());
}
