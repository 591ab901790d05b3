#include "stories/StoryHost.h"

using testing::HasSubstr;
using testing::Not;

namespace
{
/// Hosts that know nothing but the plain functions.
class PlainHost : public StoryTest
{
protected:
    std::vector<_Hub_Info> List()
    {
        _Hub_Info* pList = nullptr;
        DWORD dwCount = 0;
        const bool bListed = XH_ListAllDevice(&pList, &dwCount);
        EXPECT_EQ(bListed, dwCount != 0);
        std::vector<_Hub_Info> list(pList, pList + dwCount);
        XH_FreeAllDevice(pList);
        return list;
    }
};

TEST_F(PlainHost, ListsOpensTalksAndCloses)
{
    const StoryHub hub = AddHub(2);
    auto pMemory = std::make_shared<CSimI2cMemory>(0x100);
    hub.pChip->AttachI2cMemory(pMemory);
    ASSERT_TRUE(XH_InitDevice(false));

    const std::vector<_Hub_Info> list = List();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].DevInst, hub.DevInst());
    EXPECT_EQ(WString(list[0].VID), WTEXT("1234"));
    EXPECT_EQ(WString(list[0].PID), WTEXT("5678"));
    EXPECT_EQ(WString(list[0].LocationPath), hub.Path());
    EXPECT_EQ(list[0].Port, 2u);
    EXPECT_EQ(list[0].IsU3Hub, 0);

    ASSERT_TRUE(XH_OpenDeviceEx2(list[0].DevInst));
    BYTE status[20] = {};
    EXPECT_TRUE(XH_DetectHubStatusForTest(status));
    EXPECT_EQ(status[10] << 8 | status[11], 0x0111);

    BYTE sent[4] = {1, 2, 3, 4};
    BYTE back[4] = {};
    EXPECT_EQ(XH_I2CConfigImpl(1, 2, 3), 1u);
    EXPECT_EQ(XH_I2CWriteImpl(0x40, sent, 4), 1u);
    EXPECT_EQ(XH_I2CReadImpl(0x40, back, 4), 1u);
    EXPECT_THAT(back, testing::ElementsAreArray(sent));

    EXPECT_TRUE(XH_CloseDevice());
    EXPECT_FALSE(XH_DetectHubStatusForTest(status));
    XH_ReleaseDevice();
    EXPECT_EQ(m_machine.Handles().Describe(), "");
    EXPECT_EQ(hub.pChip->Misuse().Text(), "");
    EXPECT_TRUE(hub.pNode->PowerSaving()); // as it was before
}

TEST_F(PlainHost, SeesOnlyTheMakersHubsButBothHalvesOfThem)
{
    CSimNode& super = m_machine.Tree().AddRootHub(m_machine.HostController());
    CSimHub chip(m_machine.Time());
    chip.LoadImage(m_old);
    CSimNode& half = m_machine.Tree().AddHubPair(m_machine.RootHub(), 1, super, 5, {}, &chip);
    chip.AddPort(&half);
    (void)m_machine.Tree().AddHub(m_machine.RootHub(), 3, {}); // somebody else's
    ASSERT_TRUE(XH_InitDevice(false));

    const std::vector<_Hub_Info> list = List();

    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].IsU3Hub + list[1].IsU3Hub, 1);
    const DWORD usb2 = list[0].IsU3Hub == 0 ? list[0].DevInst : list[1].DevInst;
    EXPECT_EQ(usb2, half.DevInst());
    EXPECT_TRUE(XH_OpenDeviceEx2(usb2));
}

TEST_F(PlainHost, OpensOneHubAfterTheOther)
{
    const StoryHub first = AddHub(1);
    const StoryHub second = AddHub(2);
    second.pChip->LoadImage(m_new);
    ASSERT_TRUE(XH_InitDevice(false));
    BYTE status[20] = {};

    for (const auto& [pHub, wVersion] :
         {std::pair(&first, 0x0111), std::pair(&second, 0x0222), std::pair(&first, 0x0111)}) {
        ASSERT_TRUE(XH_OpenDeviceEx2(pHub->DevInst()));
        EXPECT_TRUE(XH_DetectHubStatusForTest(status));
        EXPECT_EQ(status[10] << 8 | status[11], wVersion);
    }
    XH_ReleaseDevice();
    EXPECT_EQ(m_machine.Handles().Describe(), "");
}

TEST_F(PlainHost, AnUnpluggedHubDoesNotAnswerAlthoughItOpens)
{
    const StoryHub hub = AddHub(1);
    ASSERT_TRUE(XH_InitDevice(false));
    ASSERT_TRUE(XH_OpenDeviceEx2(hub.DevInst()));
    hub.pChip->Unplug();
    BYTE status[20] = {};
    EXPECT_FALSE(XH_DetectHubStatusForTest(status));

    // Deliberate: a device that went without a reset keeps its state, and counts as present.
    EXPECT_TRUE(XH_OpenDeviceEx2(hub.DevInst()));
    EXPECT_FALSE(XH_DetectHubStatusForTest(status));
    EXPECT_TRUE(List().empty());

    hub.pChip->PowerUp();
    EXPECT_TRUE(XH_OpenDeviceEx2(hub.DevInst()));
    EXPECT_TRUE(XH_DetectHubStatusForTest(status));
}

TEST_F(PlainHost, AHubThatNeverCameIsWaitedForTenSeconds)
{
    const StoryHub hub = AddHub(1);
    hub.pChip->Unplug();
    ASSERT_TRUE(XH_InitDevice(false));
    const CSimClock::Micros before = m_machine.Time().Now();
    EXPECT_FALSE(XH_OpenDeviceEx2(hub.DevInst()));
    EXPECT_GE(m_machine.Time().Now() - before, 80u * 128'000);
    EXPECT_LT(m_machine.Time().Now() - before, 12'000'000u);
}

TEST_F(PlainHost, AStartWithoutADriverListsNothing)
{
    const StoryHub hub = AddHub(1);
    m_machine.Faults().FailAlways("IServiceManager::Start", kErrAccessDenied);

    // Deliberate: a start says true whatever the driver did; opening a hub then fails.
    EXPECT_TRUE(XH_InitDevice(false));
    EXPECT_TRUE(List().empty());
    EXPECT_FALSE(XH_OpenDeviceEx2(hub.DevInst()));
}

TEST_F(PlainHost, WritesTheLogBesideTheLibraryOnlyWhenAsked)
{
    const StoryHub hub = AddHub(1);
    ASSERT_TRUE(XH_InitDevice(true));
    (void)List();
    ASSERT_TRUE(XH_OpenDeviceEx2(hub.DevInst()));
    (void)XH_CloseDevice();
    XH_ReleaseDevice();

    const std::string strLog = Log();
    EXPECT_EQ(
        strLog.rfind("[2024-2-1, 8:0:0]  In XH_InitDevice, In XH_InitDevice,Init Dev Object\n", 0),
        0u)
        << strLog.substr(0, 200);
    EXPECT_THAT(strLog, HasSubstr("In XH_ListAllDevice, List Device Success,Hub Count is 1\n"));
    EXPECT_THAT(strLog, HasSubstr("In XH_OpenDeviceEx2, In XH_OpenDeviceEx2,Open Hub Success"));
    EXPECT_THAT(strLog,
                HasSubstr("In IDevFinder::WaitDevConnect, wait dev connect return true.\n"));
    EXPECT_THAT(strLog, HasSubstr("In XH_UnInitDevice, Free Memory\n"));

    ASSERT_TRUE(XH_InitDevice(false));
    (void)List();
    EXPECT_EQ(Log(), strLog);

    ASSERT_TRUE(XH_InitDevice(true)); // the old one is deleted
    EXPECT_LT(Log().size(), strLog.size());
    EXPECT_THAT(Log(), Not(HasSubstr("XH_ListAllDevice")));
}
} // namespace
