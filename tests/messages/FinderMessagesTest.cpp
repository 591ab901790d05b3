#include <gtest/gtest.h>

#include "find/CRootHubFilter.h"
#include "messages/CMessageHost.h"
#include "wire/HubRequests.h"

namespace
{
struct FinderStory
{
    const char* pszName;
    void (*pfnPrepare)(CMessageBench& bench);
    void (*pfnAct)(CMessageBench& bench, CMessageHost<>& host);
};

void Nothing(CMessageBench&) {}

/// A hub on port 2 whose halves the hub's model plays, or nobody.
void WithHalves(CMessageBench& bench, CSimHub* pHub)
{
    CSimNode& superRoot = bench.machine.Tree().AddRootHub(bench.machine.HostController());
    bench.machine.Tree().AddHubPair(bench.machine.RootHub(), 2, superRoot, 2, {}, pHub);
}

void WithOtherNodes(CMessageBench& bench)
{
    WithHalves(bench, nullptr);
    bench.machine.Tree().AddDevice(bench.node, 3, DeviceNodeOptions{});
}

void FailSets(CMessageBench& bench)
{
    bench.machine.Faults().FailAlways("IDeviceTree::GetClassDevs", kErrAccessDenied);
}

void List(CMessageBench&, CMessageHost<>& host)
{
    _Hub_Info* pList = nullptr;
    DWORD dwCount = 0;
    host.finder.ListDevice(pList, dwCount);
    delete[] pList;
}

void ListPorts(CMessageBench&, CMessageHost<>& host)
{
    _Hub_Info* pList = nullptr;
    DWORD dwCount = 0;
    host.finder.ListAllDevPortInfo(&pList, &dwCount);
    delete[] pList;
}

/// The first probes of an opened hub fail.
void FailProbes(CMessageBench& bench, unsigned nProbes)
{
    auto pLeft = std::make_shared<unsigned>(nProbes);
    bench.machine.Driver().SetInterceptor(
        [pLeft](const SETUP_PACKET& setup, unsigned) -> std::optional<SimTransferResult> {
            if (setup.bRequest != REQ_VDCMD_ENABLE || *pLeft == 0)
                return std::nullopt;
            --*pLeft;
            return SimTransferResult{kErrGenFailure, 0, 0};
        });
}

const FinderStory kStories[] = {
    {"find_connect", WithOtherNodes,
     [](CMessageBench&, CMessageHost<>& h) { EXPECT_TRUE(h.finder.WaitDevConnect(&h.dev, 10)); }},
    {"find_connect_timeout", [](CMessageBench& b) { b.hub.Unplug(); },
     [](CMessageBench&, CMessageHost<>& h) { EXPECT_FALSE(h.finder.WaitDevConnect(&h.dev, 1)); }},
    {"find_connect_no_set", FailSets,
     [](CMessageBench&, CMessageHost<>& h) { EXPECT_FALSE(h.finder.WaitDevConnect(&h.dev, 1)); }},
    {"find_unconnect", Nothing,
     [](CMessageBench&, CMessageHost<>& h) {
         // Nothing drives an absent device's state before the first cycle.
         h.dev.SetTopo(9, 9);
         EXPECT_TRUE(h.finder.WaitDevUnconnect(&h.dev, 1));
     }},
    {"find_connect_ex", Nothing,
     [](CMessageBench&, CMessageHost<>& h) { EXPECT_TRUE(h.finder.WaitDevConnectEx(&h.dev, 2)); }},
    {"find_connect_ex_late", [](CMessageBench& b) { FailProbes(b, 9); },
     [](CMessageBench&, CMessageHost<>& h) { EXPECT_TRUE(h.finder.WaitDevConnectEx(&h.dev, 2)); }},
    {"find_connect_ex_timeout", [](CMessageBench& b) { b.hub.Unplug(); },
     [](CMessageBench&, CMessageHost<>& h) { EXPECT_FALSE(h.finder.WaitDevConnectEx(&h.dev, 1)); }},
    {"find_hid", Nothing,
     [](CMessageBench&, CMessageHost<>& h) {
         EXPECT_FALSE(h.finder.WaitHidDevConnect(&h.dev, 1));
     }},
    {"find_by_location", WithOtherNodes,
     [](CMessageBench& b, CMessageHost<>& h) {
         WString strPath = b.node.Traits().locationPaths.at(0);
         h.dev.SetTopo(strPath.data());
         EXPECT_TRUE(h.finder.WaitDevConnect(&h.dev, 1));
         EXPECT_FALSE(h.dev.MatchDev(b.machine.RootHub().DevInst()));
     }},
    {"find_by_port", WithOtherNodes,
     [](CMessageBench& b, CMessageHost<>& h) {
         h.dev.SetTopo(1, 1);
         EXPECT_TRUE(h.dev.MatchDev(b.HubInst()));
         h.dev.SetTopo(2, 1);
         EXPECT_FALSE(h.dev.MatchDev(b.HubInst()));
     }},
    {"find_by_id", Nothing,
     [](CMessageBench& b, CMessageHost<>& h) {
         h.dev.AddDevID(0x1234, 0x5678);
         EXPECT_TRUE(h.dev.MatchDev(b.HubInst()));
         EXPECT_FALSE(h.dev.MatchDev(b.machine.RootHub().DevInst()));
     }},
    {"find_forget", Nothing,
     [](CMessageBench&, CMessageHost<>& h) {
         EXPECT_TRUE(h.finder.DummyRemove(&h.dev));
         EXPECT_TRUE(h.finder.ForceRemove(&h.dev));
     }},
    {"list", WithOtherNodes, List},
    {"list_halves", [](CMessageBench& b) { WithHalves(b, &b.hub); }, List},
    {"list_no_set", FailSets, List},
    {"list_ports", WithOtherNodes, ListPorts},
    {"list_ports_none", Nothing, ListPorts},
    {"list_ports_no_set", FailSets, ListPorts},
    {"list_ports_walk_fails",
     [](CMessageBench& b) {
         WithOtherNodes(b);
         b.machine.Faults().FailAlways("IDeviceTree::EnumDeviceInfo", kErrAccessDenied);
     },
     ListPorts},
    {"no_host_controllers", FailSets,
     [](CMessageBench&, CMessageHost<>&) { CRootHubFilter().EnumHostController(); }},
};

TEST(FinderMessages, AreThese)
{
    for (const FinderStory& story : kStories) {
        CMessageBench bench;
        CMessageHost<> host(bench);
        story.pfnPrepare(bench);
        const CMessageLog log;
        story.pfnAct(bench, host);
        ExpectTranscript(story.pszName, log);
    }
}

TEST(FinderMessages, TellsThatADeviceDidNotLeave)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    ASSERT_TRUE(host.finder.WaitDevConnect(&host.dev, 1));
    const CMessageLog log;

    EXPECT_FALSE(host.finder.WaitDevUnconnect(&host.dev, 1));

    ExpectTranscript("find_unconnect_timeout", log);
}

TEST(FinderMessages, TellsThatAHidDeviceCame)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    const CMessageLog log;
    // The HID cycle opens the hub's node as a HID collection once it has that interface.
    bench.node.Traits().interfaces.push_back({kGuidHid, {}});

    EXPECT_TRUE(host.finder.WaitHidDevConnect(&host.dev, 1));

    ExpectTranscript("find_hid_came", log);
}
} // namespace
