#include "find/CHubFind.h"

#include "find/FindFixture.h"
#include "support/CBoundRequestObj.h"
#include "support/CFakeTransport.h"

using testing::Each;
using testing::ElementsAre;

namespace
{
WString Text(const WCHAR* pszText)
{
    return pszText;
}

class HubFinder : public FindTest
{
protected:
    HubFinder()
    {
        m_transport.answer = [this](const std::string& strCall) {
            return m_maker.count(strCall) != 0 ? 1u : 0u;
        };
    }
    ~HubFinder() override { delete[] m_pList; }

    /// One of the maker's hubs.
    CSimNode& MakersHub(unsigned nPort, DWORD devInst)
    {
        m_maker.insert("isvohub " + std::to_string(devInst) + " 1");
        return Hub(nPort, devInst);
    }

    bool List()
    {
        delete[] m_pList;
        m_pList = nullptr;
        return m_finder.ListDevice(m_pList, m_dwCount);
    }

    std::set<std::string> m_maker;
    CFakeTransport m_transport;
    CBoundRequestObj m_bound{m_transport};
    CHubFind m_finder;
    _Hub_Info* m_pList = nullptr;
    DWORD m_dwCount = 77;
    CMessageLog m_log;
};

TEST_F(HubFinder, ListsItsHubsWithIdentityAndPlace)
{
    Hub(1, 5); // foreign
    HubNodeOptions options;
    options.wVid = 0xABCD;
    options.wPid = 0x0042;
    options.devInst = 20;
    m_maker.insert("isvohub 20 1");
    CSimNode& half = m_machine.Tree().AddHubPair(Root(), 3, Root(), 13, options);
    const DWORD superInst = half.Twin()->DevInst();
    m_maker.insert("isvohub " + std::to_string(superInst) + " 1");

    ASSERT_TRUE(List());
    ASSERT_EQ(m_dwCount, 2u);
    EXPECT_EQ(m_pList[0].DevInst, 20u);
    EXPECT_EQ(Text(m_pList[0].HwID), Text(WTEXT("USB\\VID_ABCD&PID_0042&REV_0100")));
    EXPECT_EQ(Text(m_pList[0].HwID + 31), Text(WTEXT("USB\\VID_ABCD&PID_0042")));
    EXPECT_EQ(Text(m_pList[0].LocationPath), Text(WTEXT("PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(3)")));
    EXPECT_EQ(Text(m_pList[0].VID), Text(WTEXT("ABCD")));
    EXPECT_EQ(Text(m_pList[0].PID), Text(WTEXT("0042")));
    EXPECT_EQ(m_pList[0].Level, 1u);
    EXPECT_EQ(m_pList[0].Port, 3u);
    EXPECT_EQ(m_pList[0].IsU3Hub, 0);
    EXPECT_THAT(m_pList[0].Padding, Each(0));
    EXPECT_EQ(m_pList[1].DevInst, superInst);
    EXPECT_EQ(m_pList[1].Port, 13u);
    EXPECT_EQ(m_pList[1].IsU3Hub, 1);
}

TEST_F(HubFinder, AFailedRequestKeepsTheHubsOfTheLastListing)
{
    CSimNode& hub = MakersHub(1, 5);
    EXPECT_TRUE(List());
    hub.Plug(false);
    m_machine.Faults().FailNext("IDeviceTree::GetClassDevs", 1450);
    EXPECT_TRUE(List());
    EXPECT_EQ(m_dwCount, 1u);
    EXPECT_FALSE(List()) << "an empty set empties the list";
    MakersHub(2, 6);
    EXPECT_TRUE(List());
    EXPECT_EQ(m_pList[0].DevInst, 6u);
}

TEST_F(HubFinder, ReadsTheIdsBehindTheirMarks)
{
    CSimNode& hub = MakersHub(1, 5);
    struct IDENTITY
    {
        const WCHAR* pszHwId;
        const WCHAR* pszVid;
        const WCHAR* pszPid;
    };
    const IDENTITY kIdentities[] = {
        {WTEXT("USB\\VID_12345&PID_6789A"), WTEXT("1234"), WTEXT("6789")},
        {WTEXT("USB\\PID_6789&VID_1234"), WTEXT("1234"), WTEXT("6789")},
        {WTEXT("USB\\PID_6789"), WTEXT(""), WTEXT("")}, // without a vendor no product
        {WTEXT("USB\\VID_1234"), WTEXT("1234"), WTEXT("")},
        {WTEXT("USB\\VID_1"), WTEXT("1"), WTEXT("")},
        {WTEXT("nothing"), WTEXT(""), WTEXT("")},
    };
    for (const IDENTITY& identity : kIdentities) {
        hub.Traits().hardwareIds = {identity.pszHwId, WTEXT("USB\\VID_9999&PID_9999")};
        ASSERT_TRUE(List());
        EXPECT_EQ(Text(m_pList[0].VID), Text(identity.pszVid));
        EXPECT_EQ(Text(m_pList[0].PID), Text(identity.pszPid));
    }
}

TEST_F(HubFinder, ReadsLevelAndPortFromTheFirstPath)
{
    CSimNode& hub = MakersHub(1, 5);
    struct PLACE
    {
        const WCHAR* pszPath;
        DWORD dwLevel;
        DWORD dwPort;
    };
    const PLACE kPlaces[] = {
        {WTEXT("PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(2)#USB(14)"), 2, 14},
        {WTEXT("USBROOT(7)"), 0, 0},                  // nothing is closed before the last opening
        {WTEXT("PCIROOT(0)#USBROOT(7)"), 0, 7},       // but here it is
        {WTEXT("USBROOT(0)#USB(-3)"), 1, 0xFFFFFFFD}, //
        {WTEXT("USBROOT(0)#USB(x)"), 1, 0},           //
        {WTEXT("USBROOT(0)#USB(99999999999)"), 1, 0x7FFFFFFF},
        {WTEXT("USBROOT#A"), 1, 0}, // no parentheses
        {WTEXT("PCIROOT(0)#USB(4)"), 0, 0},
    };
    for (const PLACE& place : kPlaces) {
        hub.Traits().locationPaths = {place.pszPath, WTEXT("USBROOT(0)#USB(9)#USB(9)")};
        ASSERT_TRUE(List());
        EXPECT_EQ(m_pList[0].Level, place.dwLevel) << testing::PrintToString(Text(place.pszPath));
        EXPECT_EQ(m_pList[0].Port, place.dwPort) << testing::PrintToString(Text(place.pszPath));
    }
}

TEST_F(HubFinder, WhatCannotBeReadStaysZero)
{
    CSimNode& hub = MakersHub(1, 5);
    hub.Traits().locationPaths = {};
    hub.Traits().hardwareIds = {WString(600, WTEXT('x'))}; // more than the 1,024 bytes
    ASSERT_TRUE(List());
    EXPECT_EQ(Text(m_pList[0].HwID), Text(WTEXT("")));
    EXPECT_EQ(Text(m_pList[0].LocationPath), Text(WTEXT("")));
    EXPECT_EQ(m_pList[0].Level, 0u);
}

TEST_F(HubFinder, ItsCyclesSeeNeitherRootHubsNorSuperSpeedHalves)
{
    HubNodeOptions options;
    options.devInst = 20;
    CSimNode& half = m_machine.Tree().AddHubPair(Root(), 3, Root(), 13, options);
    EXPECT_FALSE(m_finder.FilterDev(20));
    EXPECT_TRUE(m_finder.FilterDev(half.Twin()->DevInst()));
    m_machine.Faults().FailNext("IDeviceTree::GetParent", kCrFailure);
    EXPECT_FALSE(m_finder.FilterDev(20)) << "an unknown parent keeps the node";
    m_log.Clear();
    EXPECT_TRUE(m_finder.FilterDev(Root().DevInst()));
    EXPECT_THAT(m_log.Lines(),
                ElementsAre("0|CRootHubFilter::Filter|filter root hub return true.\n"))
        << "the first yes ends the walk";
}

class PortListing : public HubFinder
{
protected:
    CSimNode& Device(CSimNode& hub, unsigned nPort, USHORT wVid, USHORT wPid, DWORD devInst)
    {
        DeviceNodeOptions options;
        options.wVid = wVid;
        options.wPid = wPid;
        options.devInst = devInst;
        return m_machine.Tree().AddDevice(hub, nPort, options);
    }

    DWORD ListPorts() { return m_finder.ListAllDevPortInfo(&m_pList, &m_dwCount); }
};

constexpr DWORD kFailed = 0xFFFFFFFF;
TEST_F(PortListing, ListsTheChildrenOfEveryHubButTheRootHub)
{
    CSimNode& hub = Hub(1, 5); // whoever made it
    Device(hub, 1, 0x1111, 0x2222, 101);
    Device(hub, 4, 0xABCD, 0x0003, 102);
    CSimNode& below = HubBelow(hub, 2, 6);
    Device(below, 1, 0x0005, 0x0006, 103);

    EXPECT_EQ(ListPorts(), 0u);
    ASSERT_EQ(m_dwCount, 4u);
    const DWORD kOrder[] = {101, 102, 6, 103};
    for (DWORD i = 0; i < 4; ++i) {
        EXPECT_EQ(m_pList[i].DevInst, kOrder[i]);
        EXPECT_EQ(m_pList[i].HwID[0], 0);
        EXPECT_EQ(m_pList[i].LocationPath[0], 0);
        EXPECT_EQ(m_pList[i].Level + m_pList[i].Port + m_pList[i].IsU3Hub, 0u);
    }
    EXPECT_EQ(Text(m_pList[1].VID), Text(WTEXT("ABCD")));
    EXPECT_EQ(Text(m_pList[1].PID), Text(WTEXT("0003")));
}

TEST_F(PortListing, NullArgumentsAreRefusedAndAnEarlierArrayIsForgotten)
{
    EXPECT_EQ(m_finder.ListAllDevPortInfo(nullptr, &m_dwCount), 87u);
    EXPECT_EQ(m_finder.ListAllDevPortInfo(&m_pList, nullptr), 87u);
    EXPECT_EQ(m_dwCount, 77u);

    const std::unique_ptr<_Hub_Info[]> pEarlier(new _Hub_Info[1]); // not released
    m_pList = pEarlier.get();
    m_machine.Faults().FailNext("IDeviceTree::GetClassDevs", 1450);
    EXPECT_EQ(ListPorts(), 1450u);
    EXPECT_EQ(m_pList, nullptr);
}

TEST_F(PortListing, PrivilegesNotGrantedAreNoError)
{
    Device(Hub(1, 5), 1, 1, 2, 101);
    m_machine.Tree().SetLastErrorAfterSuccess(1300);
    EXPECT_EQ(ListPorts(), 0u);
    EXPECT_EQ(m_dwCount, 1u);
}

TEST_F(PortListing, ABrokenWalkOrNoPortAtAllIsAFailureButOnlyTheLatterACount)
{
    CSimNode& hub = Hub(1, 5);
    CSimNode& device = Device(hub, 1, 1, 2, 101);
    m_machine.Faults().FailNext("IDeviceTree::EnumDeviceInfo", 31);
    EXPECT_EQ(ListPorts(), kFailed);
    EXPECT_EQ(m_dwCount, 77u);
    device.Plug(false);
    EXPECT_EQ(ListPorts(), kFailed);
    EXPECT_EQ(m_dwCount, 0u);
    EXPECT_EQ(m_pList, nullptr);
}

TEST_F(PortListing, AHubWithAProblemOrWithoutStatusOrIdHasNoPorts)
{
    CSimNode& sick = Hub(1, 5);
    Device(sick, 1, 1, 2, 101);
    Device(Hub(2, 6), 1, 1, 2, 102);
    const auto expectOnly102 = [&] {
        EXPECT_EQ(ListPorts(), 0u);
        EXPECT_EQ(m_dwCount, 1u);
        EXPECT_EQ(m_pList[0].DevInst, 102u);
        delete[] m_pList;
        m_pList = nullptr;
    };
    sick.Traits().dwStatus |= kNodeHasProblem;
    expectOnly102();
    sick.Traits().dwStatus &= ~kNodeHasProblem;
    sick.Traits().strInstanceId = WString(200, WTEXT('x')); // one more than fits
    expectOnly102();
    m_machine.Faults().FailAlways("IDeviceTree::GetNodeStatus", kCrFailure);
    EXPECT_EQ(ListPorts(), kFailed);
}

TEST_F(PortListing, AChildWithoutAnIdIsListedByItsNumber)
{
    Device(Hub(1, 5), 1, 1, 2, 101).Traits().strInstanceId = WString(300, WTEXT('x'));
    EXPECT_EQ(ListPorts(), 0u);
    EXPECT_EQ(m_pList[0].DevInst, 101u);
    EXPECT_EQ(m_pList[0].VID[0], 0);
}

TEST_F(PortListing, TheSecondWalkWritesNoMoreThanTheFirstCounted)
{
    CSimNode& hub = Hub(1, 5);
    Device(hub, 1, 1, 2, 101);
    CSimNode& late = Device(hub, 2, 3, 4, 102);
    late.Plug(false);
    // The device comes while the first walk's total is reported.
    class CPlugs : public CMessageLog
    {
    public:
        explicit CPlugs(CSimNode& node) : m_node(node) {}
        void ShowMsg(const char* pszText, ERRORLEVEL /*eLevel*/) override
        {
            if (std::string(pszText).find("HUB Port Num") != std::string::npos)
                m_node.Plug(true);
        }

    private:
        CSimNode& m_node;
    } plugs(late);
    EXPECT_EQ(ListPorts(), 0u);
    EXPECT_EQ(m_dwCount, 1u);
    EXPECT_EQ(m_pList[0].DevInst, 101u);
}

TEST_F(PortListing, WhatLeftBetweenTheWalksStaysZero)
{
    CSimNode& hub = Hub(1, 5);
    Device(hub, 1, 1, 2, 101);
    Device(hub, 2, 3, 4, 102);
    // Two calls count both devices; the third, of the second walk, finds no further one.
    m_machine.Faults().ResetCounts();
    m_machine.Faults().FailCall("IDeviceTree::GetSibling", 3, kCrNoSuchDevNode);
    EXPECT_EQ(ListPorts(), 0u);
    EXPECT_EQ(m_dwCount, 2u);
    EXPECT_EQ(m_pList[0].DevInst, 101u);
    EXPECT_EQ(m_pList[1].DevInst, 0u);
}
} // namespace
