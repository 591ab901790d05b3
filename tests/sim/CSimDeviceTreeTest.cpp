#include "sim/machine/CSimMachine.h"

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

} // namespace
