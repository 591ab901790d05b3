#include <gtest/gtest.h>

#include "api/zelhub.h"
#include "messages/CMessageBench.h"

namespace
{
/// Listens from the moment on at which the starting library first touches the host's files: it
/// has emptied the list of responders by then.
class CListeningPlatform : public Platform
{
public:
    CListeningPlatform(CMessageBench& bench, std::unique_ptr<CMessageLog>& pLog)
        : m_machine(bench.machine), m_pLog(pLog)
    {}

    IHostFiles& HostFiles() override
    {
        if (!m_pLog)
            m_pLog = std::make_unique<CMessageLog>();
        return m_machine.HostFiles();
    }
    IDeviceTree& DeviceTree() override { return m_machine.DeviceTree(); }
    IDeviceFile& DeviceFile() override { return m_machine.DeviceFile(); }
    IServiceManager& ServiceManager() override { return m_machine.ServiceManager(); }
    IFileSystem& FileSystem() override { return m_machine.FileSystem(); }
    IPowerSwitch& PowerSwitch() override { return m_machine.PowerSwitch(); }
    IEventPipe& EventPipe() override { return m_machine.EventPipe(); }
    IWinUsb& WinUsb() override { return m_machine.WinUsb(); }
    IHid& Hid() override { return m_machine.Hid(); }
    IProcess& Process() override { return m_machine.Process(); }
    IClock& Clock() override { return m_machine.Clock(); }

private:
    CSimMachine& m_machine;
    std::unique_ptr<CMessageLog>& m_pLog;
};

TEST(ApiMessages, OfAStart)
{
    CMessageBench bench;
    bench.machine.Traits().modulePath = "/opt/host/libZelhublib64.so";
    std::unique_ptr<CMessageLog> pLog;
    CListeningPlatform platform(bench, pLog);
    SetCurrentPlatform(&platform);

    EXPECT_TRUE(XH_InitDevice(true));

    SetCurrentPlatform(&bench.machine);
    ASSERT_TRUE(pLog);
    ExpectTranscript("api_start", *pLog);
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
