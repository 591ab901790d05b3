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

    void Fail(const char* pszOperation, DWORD dwCode, unsigned n = 1)
    {
        bench.machine.Faults().FailCall(pszOperation, n, dwCode);
    }

    CMessageBench bench;
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
};

struct StartStory
{
    const char* pszName;
    void (*pfnPrepare)(PortStage& stage);
    bool bStarts;
};

const StartStory kStartStories[] = {
    {"voport_start", [](PortStage&) {}, true},
    {"voport_start_wow64", [](PortStage& s) { s.bench.machine.Traits().wProcessMachine = 0x014C; },
     true},
    {"voport_start_other_size",
     [](PortStage& s) {
         s.bench.machine.Volume().Put(kInstalled, {1, 2, 3});
     },
     true},
    {"voport_no_resource", [](PortStage& s) { s.bench.machine.Traits().portDriver.clear(); },
     false},
    {"voport_not_fetched", [](PortStage& s) { s.Fail("IProcess::FetchResource", 8); }, false},
    {"voport_not_pinned", [](PortStage& s) { s.Fail("IProcess::PinResource", 8); }, false},
    {"voport_no_size", [](PortStage& s) { s.Fail("IProcess::ResourceSize", 8); }, false},
    {"voport_not_written", [](PortStage& s) { s.Fail("IFileSystem::Open", kErrAccessDenied, 2); },
     false},
    {"voport_open_refused", [](PortStage& s) { s.Fail("IDeviceFile::Open", kErrAccessDenied); },
     false},
    {"voport_no_working_folder", [](PortStage& s) { s.Fail("IFileSystem::WorkingFolder", 3); },
     false},
    {"voport_no_windows_folder", [](PortStage& s) { s.Fail("IFileSystem::WindowsFolder", 3, 2); },
     false},
    {"voport_file_gone", [](PortStage& s) { s.Fail("IFileSystem::Open", kErrFileNotFound, 4); },
     false},
    {"voport_no_manager",
     [](PortStage& s) { s.bench.machine.Services().SetManagerError(kErrAccessDenied); }, false},
    {"voport_not_created",
     [](PortStage& s) { s.bench.machine.Faults().FailAlways("IServiceManager::Create", 5); },
     false},
    {"voport_never_starts",
     [](PortStage& s) { s.bench.machine.Faults().FailAlways("IServiceManager::Start", 577); },
     false},
    {"voport_starts_at_second_try", [](PortStage& s) { s.Fail("IServiceManager::Start", 31); },
     true},
    {"voport_service_not_opened",
     [](PortStage& s) { s.bench.machine.Faults().FailAlways("IServiceManager::OpenNamed", 5); },
     false},
    {"voport_not_removed",
     [](PortStage& s) {
         s.bench.machine.Faults().FailAlways("IServiceManager::Start", 577);
         s.bench.machine.Faults().FailAlways("IServiceManager::Remove", 5);
     },
     false},
    {"voport_no_device_after_start",
     [](PortStage& s) { s.Fail("IDeviceFile::Open", kErrAccessDenied, 2); }, false},
};

class PortDriverMessages : public testing::TestWithParam<StartStory>
{};

TEST_P(PortDriverMessages, OfItsStart)
{
    PortStage stage;
    GetParam().pfnPrepare(stage);
    CMessageRecorder recorder;

    EXPECT_EQ(stage.cmd.XH_InitVoPortDriver(1, 2, 3), GetParam().bStarts ? 1 : 0);
    stage.bench.machine.Faults().Clear();
    stage.cmd.XH_UnInitVoPortDriver(); // what never was opened does not close

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(, PortDriverMessages, testing::ValuesIn(kStartStories),
                         [](const auto& story) { return std::string(story.param.pszName); });

TEST(PortDriverServiceMessages, OfWrongCalls)
{
    PortStage stage;
    CMessageRecorder recorder;

    EXPECT_EQ(stage.cmd.ManageDriver(VOPORT_SERVICE_NAME, nullptr, 1), 0);
    EXPECT_EQ(stage.cmd.ManageDriver(VOPORT_SERVICE_NAME, kInstalled, 3), 0);

    ExpectTranscript("voport_wrong_calls", recorder);
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

struct AccessStory
{
    const char* pszName;
    void (*pfnPrepare)(PortStage& stage);
};

const AccessStory kAccessStories[] = {
    {"voport_access", [](PortStage&) { CRequestCMDTestAccess::SetMapping(1); }},
    {"voport_access_fails",
     [](PortStage& s) { s.bench.machine.Faults().FailAlways("IDeviceFile::Control", 31); }},
    {"voport_access_short", [](PortStage& s) { s.bench.machine.PortDriver().LieAboutLength(2); }},
};

class PortAccessMessages : public testing::TestWithParam<AccessStory>
{};

TEST_P(PortAccessMessages, AreThese)
{
    PortStage stage;
    ASSERT_EQ(stage.cmd.XH_InitVoPortDriver(1, 2, 3), 1);
    GetParam().pfnPrepare(stage);
    CMessageRecorder recorder;

    AccessAll(stage.cmd);

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(, PortAccessMessages, testing::ValuesIn(kAccessStories),
                         [](const auto& story) { return std::string(story.param.pszName); });
} // namespace
