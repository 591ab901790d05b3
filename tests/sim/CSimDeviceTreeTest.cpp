#include "sim/CSimMachine.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
class DeviceTree : public testing::Test
{
protected:
    std::vector<DWORD> Elements(HANDLE hSet)
    {
        std::vector<DWORD> elements;
        DEVINFO_DATA dev = {};
        dev.cbSize = sizeof dev;
        for (DWORD i = 0; m_sets.EnumDeviceInfo(hSet, i, &dev); ++i)
            elements.push_back(dev.DevInst);
        return elements;
    }
    std::vector<DWORD> Hubs()
    {
        const HANDLE hSet =
            m_sets.GetClassDevs(&kGuidUsbHub, nullptr, kSetPresent | kSetDeviceInterface);
        std::vector<DWORD> elements = Elements(hSet);
        m_sets.DestroySet(hSet);
        return elements;
    }
    DWORD LastError() { return m_machine.Process().LastError(); }

    CSimMachine m_machine;
    CSimDeviceTree& m_tree = m_machine.Tree();
    CSimDeviceSets& m_sets = m_machine.DeviceTree();
    CSimNode& m_root = m_machine.RootHub();
};

HubNodeOptions Numbered(DWORD devInst)
{
    HubNodeOptions options;
    options.devInst = devInst;
    return options;
}

TEST_F(DeviceTree, ComposesTheTextsThatTheSystemWouldShow)
{
    CSimNode& outer = m_tree.AddHub(m_root, 2, {});
    const SimNodeSpec& spec = m_tree.AddHub(outer, 13, {}).Spec();

    EXPECT_THAT(spec.hardwareIds, ElementsAre(WTEXT("USB\\VID_1234&PID_5678&REV_0100"),
                                              WTEXT("USB\\VID_1234&PID_5678")));
    EXPECT_THAT(spec.locationPaths,
                ElementsAre(WTEXT("PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(2)#USB(13)")));
    EXPECT_EQ(spec.strLocationInformation, WTEXT("Port_#0013.Hub_#0002"));
    EXPECT_EQ(spec.strInstanceId.find(WTEXT("USB\\VID_1234&PID_5678\\")), 0u);
    EXPECT_NE(m_root.Spec().strInstanceId.find(WTEXT("ROOT_HUB")), WString::npos);
    EXPECT_EQ(m_root.Parent(), &m_machine.HostController());
}

TEST_F(DeviceTree, DerivesTheSameNumberForTheSamePlace)
{
    CSimMachine other;
    EXPECT_EQ(m_tree.AddHub(m_root, 4, {}).DevInst(),
              other.Tree().AddHub(other.RootHub(), 4, {}).DevInst());
}

TEST_F(DeviceTree, GivesEachOfManyNodesItsOwnNumber)
{
    for (unsigned nPort = 1; nPort <= 2000; ++nPort)
        m_tree.AddHub(m_root, nPort, {});
    std::vector<DWORD> hubs = Hubs();
    std::sort(hubs.begin(), hubs.end());
    EXPECT_EQ(std::unique(hubs.begin(), hubs.end()), hubs.end());
    EXPECT_EQ(hubs.size(), 2001u);
}

TEST_F(DeviceTree, KeepsASetAsItWasWhenItWasMade)
{
    CSimNode& hub = m_tree.AddHub(m_root, 1, Numbered(7));
    const HANDLE hSet =
        m_sets.GetClassDevs(&kGuidUsbHub, nullptr, kSetPresent | kSetDeviceInterface);
    hub.Plug(false);
    m_tree.AddHub(m_root, 2, Numbered(8));

    EXPECT_THAT(Elements(hSet), ElementsAre(m_root.DevInst(), 7u));
    EXPECT_EQ(LastError(), kErrNoMoreItems);
    EXPECT_THAT(Hubs(), ElementsAre(m_root.DevInst(), 8u));
    EXPECT_TRUE(m_sets.DestroySet(hSet));
    EXPECT_FALSE(m_sets.DestroySet(hSet));
    EXPECT_EQ(m_machine.Handles().Misuses().size(), 1u);
}

TEST_F(DeviceTree, ReturnsADeviceAsOrderedByItsModel)
{
    CSimNode& half = m_tree.AddHubPair(m_root, 1, m_root, 11, Numbered(7));
    const DWORD superInst = half.Twin()->DevInst();
    half.DeviceLeft();
    EXPECT_FALSE(half.Twin()->IsPresent());

    half.DeviceReturned(false);
    EXPECT_EQ(half.DevInst(), 7u);

    half.DeviceLeft();
    half.SetNextDevInst(70);
    half.DeviceReturned(true);
    half.Twin()->DeviceReturned(true); // a model may name both halves
    EXPECT_EQ(half.DevInst(), 70u);
    EXPECT_EQ(m_tree.Find(7), nullptr);
    EXPECT_NE(half.Twin()->DevInst(), superInst);
    EXPECT_TRUE(half.Twin()->IsPresent());
}

TEST_F(DeviceTree, RefusesSetsThatTheSystemWouldRefuse)
{
    EXPECT_EQ(m_sets.GetClassDevs(nullptr, nullptr, kSetPresent), InvalidHandle());
    EXPECT_EQ(LastError(), kErrInvalidParameter);
    EXPECT_EQ(m_sets.GetClassDevs(nullptr, WTEXT("USB\\NOBODY"), kSetAllClasses), InvalidHandle());
    EXPECT_EQ(LastError(), kErrNoSuchDevInst);
    EXPECT_EQ(m_sets.GetClassDevs(nullptr, WTEXT(""), kSetAllClasses), InvalidHandle());
    EXPECT_EQ(LastError(), kErrNoSuchDevInst);
}

TEST_F(DeviceTree, HandsOutAnInterfacePathInTwoCalls)
{
    CSimNode& hub = m_tree.AddHub(m_root, 1, {});
    const HANDLE hSet = m_sets.GetClassDevs(nullptr, hub.Spec().strInstanceId.c_str(),
                                            kSetPresent | kSetAllClasses | kSetDeviceInterface);
    DEVINFO_DATA dev = {};
    dev.cbSize = sizeof dev;
    DEVINTERFACE_DATA entry = {};
    entry.cbSize = sizeof entry;
    ASSERT_TRUE(m_sets.EnumDeviceInfo(hSet, 0, &dev));
    EXPECT_FALSE(m_sets.EnumDeviceInterfaces(hSet, &dev, &kGuidHid, 0, &entry));
    EXPECT_EQ(LastError(), kErrNoMoreItems);
    ASSERT_TRUE(m_sets.EnumDeviceInterfaces(hSet, &dev, &kGuidUsbHub, 0, &entry));

    DWORD cb = 0;
    EXPECT_FALSE(m_sets.GetInterfaceDetail(hSet, &entry, nullptr, 0, &cb));
    EXPECT_EQ(LastError(), kErrInsufficientBuffer);
    std::vector<BYTE> buffer(cb);
    auto* const pDetail = reinterpret_cast<DEVINTERFACE_DETAIL*>(buffer.data());
    pDetail->cbSize = 6;
    EXPECT_FALSE(m_sets.GetInterfaceDetail(hSet, &entry, pDetail, cb, &cb));
    EXPECT_EQ(LastError(), 1784u);
    pDetail->cbSize = kDetailHeadSize;
    ASSERT_TRUE(m_sets.GetInterfaceDetail(hSet, &entry, pDetail, cb, &cb));
    const WString strPath = pDetail->DevicePath;
    EXPECT_EQ(strPath.find(WTEXT("\\\\?\\usb#vid_1234&pid_5678#")), 0u);
    EXPECT_NE(strPath.find(WTEXT("#{f18a0e88-c30c-11d0-8815-00a0c906bed8}")), WString::npos);
    EXPECT_EQ(m_tree.FindByPath(strPath), &hub);
    m_sets.DestroySet(hSet);
}

TEST_F(DeviceTree, CountsPropertySizesInBytes)
{
    CSimNode& hub = m_tree.AddHub(m_root, 1, {});
    hub.Spec().hardwareIds = {WTEXT("AB"), WTEXT("C")}; // 3 + 2 + 1 characters
    DWORD dwType = 0;
    BYTE buffer[12] = {0x77};
    DWORD cb = 11;
    EXPECT_EQ(m_sets.GetNodeProperty(hub.DevInst(), &kKeyHardwareIds, &dwType, buffer, &cb),
              kCrBufferSmall);
    EXPECT_EQ(cb, 12u);
    EXPECT_EQ(buffer[0], 0x77);
    EXPECT_EQ(m_sets.GetNodeProperty(hub.DevInst(), &kKeyHardwareIds, &dwType, buffer, &cb),
              kCrSuccess);
    EXPECT_THAT(buffer, ElementsAre('A', 0, 'B', 0, 0, 0, 'C', 0, 0, 0, 0, 0));
    EXPECT_EQ(dwType, kDevPropStringList);

    hub.Spec().hardwareIds.clear();
    EXPECT_EQ(m_sets.GetNodeProperty(hub.DevInst(), &kKeyHardwareIds, &dwType, buffer, &cb),
              kCrNoSuchValue);
    EXPECT_EQ(cb, 0u);

    hub.Spec().rawProperties[kKeyHardwareIds.pid] = {1, 2, 3};
    cb = sizeof buffer;
    EXPECT_EQ(m_sets.GetNodeProperty(hub.DevInst(), &kKeyHardwareIds, &dwType, buffer, &cb),
              kCrSuccess);
    EXPECT_EQ(cb, 3u);
}

} // namespace
