#include <gtest/gtest.h>

#include "dev/CState.h"
#include "messages/CMessageHost.h"
#include "sim/CSimImage.h"
#include "wire/HubRequests.h"

/// Reaches the operations that nothing in the update path calls.
class CUSBDevTestAccess
{
public:
    static bool IsSame(CUSBDev& dev, DWORD devInst) { return dev.IsSameLoacation(devInst); }
    static void Fill(CUSBDev& dev, DWORD devInst) { dev.FillLoacation(devInst); }
};

namespace
{
struct StateStory
{
    const char* pszName;
    DEVSTATE eState;
};

class StateMessages : public testing::TestWithParam<StateStory>
{};

TEST_P(StateMessages, OfEveryOperation)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    host.dev.SetDevState(host.dev.GetCertainDevState(GetParam().eState));
    host.dev.SetFwBuf({1, 2, 3});
    CMessageRecorder recorder;
    USHORT wVersion = 0;

    // No hub is open: every request of the device fails, so nothing moves the state.
    host.dev.Reset2Rom();
    host.dev.Reset2Flash();
    host.dev.WriteFlash();
    host.dev.CheckFlash();
    host.dev.DevReadVersion(wVersion);
    host.dev.DevErase();
    EXPECT_EQ(host.dev.IsPresent(), GetParam().eState != OFFLINE_STATE);
    EXPECT_EQ(host.dev.IsAbsent(), GetParam().eState == OFFLINE_STATE);

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(, StateMessages,
                         testing::Values(StateStory{"state_offline", OFFLINE_STATE},
                                         StateStory{"state_unknown", UNKNOWN_STATE},
                                         StateStory{"state_rom", ROM_STATE},
                                         StateStory{"state_flash", FLASH_STATE},
                                         StateStory{"state_wait", WAIT_STATE}),
                         [](const auto& story) { return std::string(story.param.pszName); });

TEST(HubDeviceMessages, TellWhatTheHubIs)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    CMessageBench bench(settings);
    CMessageHost<> host(bench);
    host.Open();
    CMessageRecorder recorder;

    EXPECT_TRUE(host.dev.IsDualBank());
    EXPECT_TRUE(host.dev.IsRomCode());
    bench.hub.LoadImage(CSimImage().Build());
    EXPECT_FALSE(host.dev.IsRomCode());
    bench.hub.Unplug();
    EXPECT_FALSE(host.dev.IsRomCode());

    ExpectTranscript("hub_what_it_is", recorder);
}

TEST(HubDeviceMessages, OfComingGoingAndResets)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    host.Open();
    bench.hub.LoadImage(CSimImage().Build());
    CMessageRecorder recorder;

    EXPECT_FALSE(host.dev.IsDualBank());
    host.dev.Arrive(bench.HubInst());
    host.dev.JudgeCodeMode(&host.dev);
    EXPECT_TRUE(host.dev.Reset2Flash());
    host.dev.Remove();
    host.dev.Arrive(bench.HubInst(), 0xFFFFFFFF);
    host.dev.Remove();

    ExpectTranscript("hub_coming_and_going", recorder);
}

TEST(HubDeviceMessages, OfReadingBack)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    const std::vector<BYTE> image = CSimImage().Build();
    bench.hub.LoadImage(image);
    host.Open();
    host.dev.SetFwBuf(image);
    CMessageRecorder recorder;

    EXPECT_TRUE(host.dev.CheckFlashWithCmp());
    bench.hub.Unplug();
    EXPECT_FALSE(host.dev.CheckFlashWithCmp());

    ExpectTranscript("hub_reading_back", recorder);
}

TEST(HubDeviceMessages, OfItsLocation)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    CMessageRecorder recorder;

    CUSBDevTestAccess::Fill(host.dev, bench.HubInst());
    EXPECT_TRUE(CUSBDevTestAccess::IsSame(host.dev, bench.HubInst()));
    EXPECT_FALSE(CUSBDevTestAccess::IsSame(host.dev, bench.machine.RootHub().DevInst()));

    ExpectTranscript("hub_location", recorder);
}

TEST(CommandMessages, NameTheirRequests)
{
    CMessageBench bench;
    CPropertyEx transport;
    CRequestCMD& command = *CRequestCMD::GetRequestObj();
    CMessageRecorder recorder;
    BYTE data[2] = {0xFF, 0xFF};

    command.XH_InitProxyDriver(&transport);
    command.XH_OpenDevice(bench.HubInst());
    command.KyHub_VdCmdEnable(VDCMD_ENABLE_WRITE);
    command.KyHub_WriteFlash2(0x00012345, data, sizeof data);
    command.KyHub_ReadFlash2(0x00012345, data, sizeof data);
    command.KyHub_SetDLSlaveAddr(1, 0x42);
    command.KyHub_SetDLSlaveAddrSub(2, 0x43);
    command.KyHub_FWReset(7, 9);
    command.KyHub_FWReset(0);
    command.XH_CloseDevice();
    command.XH_UnInitProxyDriver();

    ExpectTranscript("commands", recorder);
}
} // namespace
