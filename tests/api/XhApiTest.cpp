#include "api/zelhub.h"

#include <gtest/gtest.h>

#include "api/zelhub_bench.h"
#include "sim/machine/CSimMachine.h"
#include "sim/models/CSimHub.h"
#include "support/CMessageLog.h"

namespace
{
/// Two of the maker's hubs on the ports of a root hub, and a library that was not started yet.
class Api : public testing::Test
{
protected:
    Api()
        : m_first(m_machine.Time()),
          m_second(m_machine.Time()),
          m_node(m_machine.Tree().AddHub(m_machine.RootHub(), 1, {}, &m_first)),
          m_otherNode(m_machine.Tree().AddHub(m_machine.RootHub(), 2, {}, &m_second))
    {
        m_first.AddPort(&m_node);
        m_second.AddPort(&m_otherNode);
        m_machine.Traits().modulePath = "/opt/host/libZelhublib64.so";
        m_machine.HostFiles().UseMemory();
        ZelSetPlatform(&m_machine);
    }
    ~Api() override
    {
        m_machine.Faults().Clear();
        XH_UnInitDevice();
        ZelSetPlatform(nullptr);
    }

    CSimMachine m_machine;
    CSimHub m_first;
    CSimHub m_second;
    CSimNode& m_node;
    CSimNode& m_otherNode;
};

// Deliberate: deleting and writing cut the module's path differently where it has no separator.
TEST_F(Api, LogOfAModuleWithoutFolderIsDeletedInTheWorkingFolder)
{
    m_machine.Traits().modulePath = "lib.so";
    m_machine.HostFiles().Put("info.txt", {'o', 'l', 'd'});
    EXPECT_TRUE(XH_InitDevice(true));
    EXPECT_EQ(m_machine.HostFiles().Data("info.txt"), nullptr);
    EXPECT_NE(m_machine.HostFiles().Text("lib.soinfo.txt"), "");
}

TEST_F(Api, AStartEndsWhatWentBeforeAndForgetsTheHostsResponders)
{
    const CMessageLog host;
    EXPECT_TRUE(XH_InitDevice(false));
    EXPECT_EQ(host.Lines(), std::vector<std::string>{"1|XH_UnInitDevice|Free Memory\n"});
}

// An empty one would match by level: some other hub. The long one does not fit the 1,024 bytes
// that the read offers.
const std::vector<WString> kBadLocations[] = {{}, {WString()}, {WString(600, WTEXT('x'))}};

TEST_F(Api, LocationThatCannotBeReadDropsTheBindingAndWaitsForNothing)
{
    EXPECT_TRUE(XH_InitDevice(false));
    for (const std::vector<WString>& paths : kBadLocations) {
        ASSERT_TRUE(XH_OpenDeviceEx2(m_node.DevInst()));
        m_otherNode.Traits().locationPaths = paths;
        const unsigned nSleeps = m_machine.Faults().Calls("IClock::Sleep");
        EXPECT_FALSE(XH_OpenDeviceEx2(m_otherNode.DevInst()));
        EXPECT_EQ(m_machine.Faults().Calls("IClock::Sleep"), nSleeps);
        BYTE status[20];
        EXPECT_FALSE(XH_DetectHubStatusForTest(status)) << "no hub is open";
    }
}

TEST(ApiPlatform, NullBringsTheRealSystemBack)
{
    CSimMachine machine;
    ZelSetPlatform(&machine);
    EXPECT_EQ(&CurrentPlatform(), &machine);
    ZelSetPlatform(nullptr);
    EXPECT_EQ(&CurrentPlatform(), &RealPlatform());
}

static_assert(noexcept(XH_InitDevice(true)) && noexcept(XH_UnInitDevice()));
static_assert(noexcept(XH_ReleaseDevice()) && noexcept(XH_ListAllDevice(nullptr, nullptr)));
static_assert(noexcept(XH_FreeAllDevice(nullptr)) && noexcept(XH_OpenDeviceEx2(0)));
static_assert(noexcept(XH_CloseDevice()) && noexcept(XH_DetectHubStatusForTest(nullptr)));
static_assert(noexcept(XH_I2CConfigImpl(0, 0, 0)) && noexcept(XH_I2CWriteImpl(0, nullptr, 0)));
static_assert(noexcept(XH_I2CReadImpl(0, nullptr, 0)) && noexcept(GetHubDev()));
static_assert(noexcept(GetUniversalFlow(nullptr, nullptr)));
} // namespace
