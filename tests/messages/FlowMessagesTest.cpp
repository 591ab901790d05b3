#include <gtest/gtest.h>

#include "messages/CMessageHost.h"
#include "sim/CSimImage.h"
#include "wire/HubRequests.h"

namespace
{
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

const FlowStory kStories[] = {
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
    for (const FlowStory& story : kStories) {
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
