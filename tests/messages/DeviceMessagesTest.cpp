#include <gtest/gtest.h>

#include "dev/CState.h"
#include "messages/CMessageHost.h"
#include "sim/models/CSimImage.h"
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

/// A hub that can be told not to let go.
class CClingingHub : public CHubDev
{
public:
    bool UnInitDev(BYTE) override { return m_bLetsGo; }
    bool m_bLetsGo = true;
};

using Host = CMessageHost<CClingingHub>;

/// An update or erase in which one vendor request always fails.
struct FlowStory
{
    const char* pszName;
    bool bDualBank;
    int nFailingRequest; ///< -1: none
    void (*pfnAct)(Host& host);
};

void Update(Host& host)
{
    host.Offer(CSimImage(0x9000).Version(0x0203).Build());
    host.flow.DevUpdate();
}

void Erase(Host& host)
{
    host.flow.DevErase();
}

const FlowStory kFlows[] = {
    {"update", false, -1, Update},
    {"update_dual_bank", true, -1, Update},
    {"update_no_reset", false, REQ_FW_RESET, Update},
    {"update_no_erase", false, REQ_ERASE_FLASH, Update},
    {"update_no_write", false, REQ_WRITE_FLASH, Update},
    {"update_no_check", false, REQ_READ_FLASH, Update},
    {"update_no_check_in_flash", true, REQ_ISP_VALIDATION, Update},
    {"update_no_restart", false, REQ_RESET_CODE, Update},
    {"update_not_released", false, -1,
     [](Host& host) {
         host.dev.m_bLetsGo = false;
         Update(host);
     }},
    {"erase", false, -1, Erase},
    {"erase_no_reset", false, REQ_FW_RESET, Erase},
    {"erase_no_erase", false, REQ_ERASE_FLASH, Erase},
};

TEST(FlowMessages, AreThese)
{
    for (const FlowStory& story : kFlows) {
        SimHubSettings settings;
        settings.bDualBank = story.bDualBank;
        CMessageBench bench(settings);
        bench.hub.LoadImage(CSimImage(0x9000).Version(0x0100).Seed(7).Build());
        Host host(bench);
        bench.machine.Driver().SetInterceptor(
            [&story](const SETUP_PACKET& setup, unsigned) -> std::optional<SimTransferResult> {
                if (setup.bRequest != story.nFailingRequest || (setup.bmRequestType & 0x40) == 0)
                    return std::nullopt;
                return SimTransferResult{kErrGenFailure, 0, 0};
            });
        const CMessageLog log;
        story.pfnAct(host);
        ExpectTranscript(story.pszName, log);
    }
}

TEST(FlowMessages, NamesAnImageThatCannotBeLoaded)
{
    CMessageBench bench;
    Host host(bench);
    const CMessageLog log;

    EXPECT_FALSE(host.flow.InitFwFinder("nowhere.bin"));

    ExpectTranscript("image_missing", log);
}
} // namespace
