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
const std::pair<const char*, DEVSTATE> kStates[] = {{"state_offline", OFFLINE_STATE},
                                                    {"state_unknown", UNKNOWN_STATE},
                                                    {"state_rom", ROM_STATE},
                                                    {"state_flash", FLASH_STATE},
                                                    {"state_wait", WAIT_STATE}};

TEST(StateMessages, OfEveryOperation)
{
    for (const auto& [pszName, eState] : kStates) {
        CMessageBench bench;
        CMessageHost<> host(bench);
        host.dev.SetDevState(host.dev.GetCertainDevState(eState));
        host.dev.SetFwBuf({1, 2, 3});
        const CMessageLog log;
        USHORT wVersion = 0;

        // No hub is open: every request of the device fails, so nothing moves the state.
        host.dev.Reset2Rom();
        host.dev.Reset2Flash();
        host.dev.WriteFlash();
        host.dev.CheckFlash();
        host.dev.DevReadVersion(wVersion);
        host.dev.DevErase();
        EXPECT_EQ(host.dev.IsPresent(), eState != OFFLINE_STATE);
        EXPECT_EQ(host.dev.IsAbsent(), eState == OFFLINE_STATE);

        ExpectTranscript(pszName, log);
    }
}

TEST(HubDeviceMessages, TellWhatTheHubIs)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    CMessageBench bench(settings);
    CMessageHost<> host(bench);
    host.Open();
    const CMessageLog log;

    EXPECT_TRUE(host.dev.IsDualBank());
    EXPECT_TRUE(host.dev.IsRomCode());
    bench.hub.LoadImage(CSimImage().Build());
    EXPECT_FALSE(host.dev.IsRomCode());
    bench.hub.Unplug();
    EXPECT_FALSE(host.dev.IsRomCode());

    ExpectTranscript("hub_what_it_is", log);
}

TEST(HubDeviceMessages, OfComingGoingAndResets)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    host.Open();
    bench.hub.LoadImage(CSimImage().Build());
    const CMessageLog log;

    EXPECT_FALSE(host.dev.IsDualBank());
    host.dev.Arrive(bench.HubInst());
    host.dev.JudgeCodeMode(&host.dev);
    EXPECT_TRUE(host.dev.Reset2Flash());
    host.dev.Remove();
    host.dev.Arrive(bench.HubInst(), 0xFFFFFFFF);
    host.dev.Remove();

    ExpectTranscript("hub_coming_and_going", log);
}

TEST(HubDeviceMessages, OfReadingBack)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    const std::vector<BYTE> image = CSimImage().Build();
    bench.hub.LoadImage(image);
    host.Open();
    host.dev.SetFwBuf(image);
    const CMessageLog log;

    EXPECT_TRUE(host.dev.CheckFlashWithCmp());
    bench.hub.Unplug();
    EXPECT_FALSE(host.dev.CheckFlashWithCmp());

    ExpectTranscript("hub_reading_back", log);
}

TEST(HubDeviceMessages, OfItsLocation)
{
    CMessageBench bench;
    CMessageHost<> host(bench);
    const CMessageLog log;

    CUSBDevTestAccess::Fill(host.dev, bench.HubInst());
    EXPECT_TRUE(CUSBDevTestAccess::IsSame(host.dev, bench.HubInst()));
    EXPECT_FALSE(CUSBDevTestAccess::IsSame(host.dev, bench.machine.RootHub().DevInst()));
    EXPECT_EQ(host.dev.GetLocationPath(), WString()) << "the path to match is another one";

    ExpectTranscript("hub_location", log);
}

TEST(CommandMessages, NameTheirRequests)
{
    CMessageBench bench;
    CPropertyEx transport;
    CRequestCMD& command = *CRequestCMD::GetRequestObj();
    const CMessageLog log;
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

    ExpectTranscript("commands", log);
}
} // namespace
