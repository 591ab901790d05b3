#include <gtest/gtest.h>

#include "api/zelhub.h"
#include "messages/CMessageBench.h"

namespace
{
/// Listens from the moment on at which the starting library first touches the host's files: it
/// has emptied the list of responders by then.
class CListeningMachine : public CSimMachine
{
public:
    using CSimMachine::CSimMachine;
    CSimHostFiles& HostFiles() override
    {
        if (!pLog)
            pLog = std::make_unique<CMessageLog>();
        return CSimMachine::HostFiles();
    }
    std::unique_ptr<CMessageLog> pLog;
};

TEST(ApiMessages, OfAStart)
{
    CMessageBench bench;
    CListeningMachine process(bench.machine.System());
    process.CSimMachine::HostFiles().UseMemory();
    process.Traits().modulePath = "/opt/host/libZelhublib64.so";
    SetCurrentPlatform(&process);

    EXPECT_TRUE(XH_InitDevice(true));
    ASSERT_TRUE(process.pLog);
    ExpectTranscript("api_start", *process.pLog);
    XH_UnInitDevice();
    SetCurrentPlatform(&bench.machine);
}

struct ApiStory
{
    const char* pszName;
    void (*pfnAct)(CMessageBench& bench);
};

const ApiStory kStories[] = {
    {"api_list",
     [](CMessageBench&) {
         _Hub_Info* pList = nullptr;
         DWORD dwCount = 0;
         EXPECT_TRUE(XH_ListAllDevice(&pList, &dwCount));
         XH_FreeAllDevice(pList);
     }},
    {"api_list_none",
     [](CMessageBench& bench) {
         bench.hub.Unplug();
         _Hub_Info* pList = nullptr;
         DWORD dwCount = 0;
         EXPECT_FALSE(XH_ListAllDevice(&pList, &dwCount));
         XH_FreeAllDevice(nullptr);
     }},
    {"api_open_close",
     [](CMessageBench& bench) {
         EXPECT_TRUE(XH_OpenDeviceEx2(bench.HubInst()));
         EXPECT_TRUE(XH_CloseDevice());
     }},
    {"api_open_no_location", [](CMessageBench&) { EXPECT_FALSE(XH_OpenDeviceEx2(0x7777)); }},
    {"api_open_gone",
     [](CMessageBench& bench) {
         bench.machine.Driver().SetInterceptor(
             [](const SETUP_PACKET&, unsigned) -> std::optional<SimTransferResult> {
                 return SimTransferResult{kErrGenFailure, 0, 0};
             });
         EXPECT_FALSE(XH_OpenDeviceEx2(bench.HubInst()));
     }},
    {"api_release", [](CMessageBench&) { XH_ReleaseDevice(); }},
};

TEST(ApiMessages, OfARunningLibrary)
{
    for (const ApiStory& story : kStories) {
        CMessageBench bench;
        ASSERT_TRUE(XH_InitDevice(false));
        const CMessageLog log;
        story.pfnAct(bench);
        ExpectTranscript(story.pszName, log);
    }
}
} // namespace
