#include <gtest/gtest.h>

#include "cmd/CRequestCMDTestAccess.h"
#include "messages/CMessageBench.h"
#include "wire/DriverNames.h"

namespace
{
const WCHAR* const kInstalled = WTEXT("C:\\Windows\\system32\\drivers\\voport.sys");
constexpr DWORD kAnyPort = 0x80;

/// A computer on which the port driver was never started, and a process that may start it.
struct PortStage
{
    PortStage() = default;
    PortStage(const PortStage&) = delete;
    PortStage& operator=(const PortStage&) = delete;
    ~PortStage()
    {
        bench.machine.Faults().Clear();
        cmd.XH_UnInitVoPortDriver();
        CRequestCMDTestAccess::Reset();
    }

    CMessageBench bench;
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
};

const Story kStarts[] = {
    {"voport_start"},
    {"voport_start_wow64",
     {},
     [](CMessageBench& b) { b.machine.Traits().wProcessMachine = 0x014C; }},
    {"voport_start_other_size",
     {},
     [](CMessageBench& b) {
         b.machine.Volume().Put(kInstalled, {1, 2, 3});
     }},
    {"voport_starts_at_second_try", {"IServiceManager::Start", 1, 31}},
};

const Story kFailedStarts[] = {
    {"voport_no_resource", {}, [](CMessageBench& b) { b.machine.Traits().portDriver.clear(); }},
    {"voport_not_fetched", {"IProcess::FetchResource", 1, 8}},
    {"voport_not_pinned", {"IProcess::PinResource", 1, 8}},
    {"voport_no_size", {"IProcess::ResourceSize", 1, 8}},
    {"voport_not_written", {"IFileSystem::Open", 2}},
    {"voport_open_refused", {"IDeviceFile::Open"}},
    {"voport_no_working_folder", {"IFileSystem::WorkingFolder", 1, 3}},
    {"voport_no_windows_folder", {"IFileSystem::WindowsFolder", 2, 3}},
    {"voport_file_gone", {"IFileSystem::Open", 4, kErrFileNotFound}},
    {"voport_no_manager",
     {},
     [](CMessageBench& b) { b.machine.Services().SetManagerError(kErrAccessDenied); }},
    {"voport_not_created", {"IServiceManager::Create", 0}},
    {"voport_never_starts", {"IServiceManager::Start", 0, 577}},
    {"voport_service_not_opened", {"IServiceManager::OpenNamed", 0}},
    {"voport_not_removed",
     {"IServiceManager::Start", 0, 577},
     [](CMessageBench& b) { b.machine.Faults().FailAlways("IServiceManager::Remove", 5); }},
    {"voport_no_device_after_start", {"IDeviceFile::Open", 2}},
};

void StartIn(const Story& story, int nResult)
{
    PortStage stage;
    story.Prepare(stage.bench);
    const CMessageLog log;

    EXPECT_EQ(stage.cmd.XH_InitVoPortDriver(1, 2, 3), nResult) << story.pszName;
    stage.bench.machine.Faults().Clear();
    stage.cmd.XH_UnInitVoPortDriver(); // what never was opened does not close

    ExpectTranscript(story.pszName, log);
}

TEST(PortDriverMessages, OfItsStart)
{
    for (const Story& story : kStarts)
        StartIn(story, 1);
    for (const Story& story : kFailedStarts)
        StartIn(story, 0);
}

TEST(PortDriverMessages, OfWrongCalls)
{
    PortStage stage;
    const CMessageLog log;

    EXPECT_EQ(stage.cmd.ManageDriver(VOPORT_SERVICE_NAME, nullptr, 1), 0);
    EXPECT_EQ(stage.cmd.ManageDriver(VOPORT_SERVICE_NAME, kInstalled, 3), 0);

    ExpectTranscript("voport_wrong_calls", log);
}

/// All eight accesses.
void AccessAll(CRequestCMD& cmd)
{
    cmd.VoReadByte32(kAnyPort);
    cmd.VoReadDword32(kAnyPort);
    cmd.VoWriteByte32(kAnyPort, 0x5A);
    cmd.VoWriteDword32(kAnyPort, 0x11223344);
    cmd.VoReadByte64(kAnyPort);
    cmd.VoReadDword64(kAnyPort);
    cmd.VoWriteByte64(0x1'0000'0080, 0x5A);
    cmd.VoWriteDword64(kAnyPort, 0x11223344);
}

const Story kAccesses[] = {
    {"voport_access", {}, [](CMessageBench&) { CRequestCMDTestAccess::SetMapping(1); }},
    {"voport_access_fails", {"IDeviceFile::Control", 0, 31}},
    {"voport_access_short", {}, [](CMessageBench& b) { b.machine.PortDriver().LieAboutLength(2); }},
};

TEST(PortDriverMessages, OfItsAccesses)
{
    for (const Story& story : kAccesses) {
        PortStage stage;
        ASSERT_EQ(stage.cmd.XH_InitVoPortDriver(1, 2, 3), 1);
        story.Prepare(stage.bench);
        const CMessageLog log;
        AccessAll(stage.cmd);
        ExpectTranscript(story.pszName, log);
    }
}
} // namespace
