#include <gtest/gtest.h>

#include "messages/CMessageBench.h"

/// Reaches what nothing outside sets.
class CPropertyExTestAccess
{
public:
    static void SetMachine(CPropertyEx& transport, MachineType eMachine)
    {
        transport.m_eMachine = eMachine;
    }
};

namespace
{
const WString kInstalled = WTEXT("C:\\Windows\\system32\\drivers\\ZelUpx.sys");
const WString kTemporary = WTEXT("C:\\Temp\\\\ZelUpx.sys");
const WString kFlag = WTEXT("C:\\Temp\\\\ZelUpx.flag");
const WString kDebug = WTEXT("C:\\ZelUpx.sys");

struct InstallStory
{
    const char* pszName;
    void (*pfnPrepare)(CMessageBench& bench, CPropertyEx& transport);
    bool bStarts; ///< the driver is open afterwards
};

void Elsewhere(CMessageBench& bench, CPropertyEx&)
{
    // Another process holds the flag for as long as the bench lives.
    static std::shared_ptr<CSimMachine> s_pOther;
    s_pOther = std::make_shared<CSimMachine>(bench.machine.System());
    SetCurrentPlatform(s_pOther.get());
    static CPropertyEx s_transport;
    s_transport.InitProxyDriver();
    SetCurrentPlatform(&bench.machine);
}

const InstallStory kInstallStories[] = {
    {"install_fresh", [](CMessageBench&, CPropertyEx&) {}, true},
    {"install_x86",
     [](CMessageBench& bench, CPropertyEx&) { bench.machine.Traits().wNativeMachine = 0x014C; },
     true},
    {"install_arm64",
     [](CMessageBench& bench, CPropertyEx& transport) {
         bench.machine.Traits().functions.clear();
         CPropertyExTestAccess::SetMachine(transport, MACHINE_ARM64);
     },
     true},
    {"install_by_architecture",
     [](CMessageBench& bench, CPropertyEx&) {
         bench.machine.Traits().functions.erase("IsWow64Process2");
     },
     true},
    {"install_denied",
     [](CMessageBench& bench, CPropertyEx&) {
         bench.machine.Services().SetManagerError(kErrAccessDenied);
     },
     false},
    {"install_debug_file",
     [](CMessageBench& bench, CPropertyEx&) {
         bench.machine.Volume().Put(kDebug, CSimVolume::VersionedImage(4096, 1, 0, 0, 0));
     },
     true},
    {"install_newer_there",
     [](CMessageBench& bench, CPropertyEx&) {
         bench.machine.Volume().Put(kInstalled, CSimVolume::VersionedImage(4096, 9, 9, 9, 9));
     },
     true},
    {"install_no_temporary_file",
     [](CMessageBench& bench, CPropertyEx&) {
         bench.machine.Faults().FailCall("IFileSystem::Open", 2, kErrAccessDenied);
     },
     false},
    {"install_disk_full",
     [](CMessageBench& bench, CPropertyEx&) { bench.machine.Volume().SetFreeBytes(16); }, false},
    {"install_flag_unclear",
     [](CMessageBench& bench, CPropertyEx&) {
         bench.machine.Faults().FailCall("IFileSystem::Open", 3, kErrAccessDenied);
     },
     true},
    {"install_flag_not_made",
     [](CMessageBench& bench, CPropertyEx&) {
         bench.machine.Faults().FailCall("IFileSystem::Open", 5, kErrAccessDenied);
     },
     true},
    {"install_flag_not_joined",
     [](CMessageBench& bench, CPropertyEx& transport) {
         Elsewhere(bench, transport);
         bench.machine.Faults().FailCall("IFileSystem::Open", 5, kErrAccessDenied);
     },
     true},
    {"install_no_control_device",
     [](CMessageBench& bench, CPropertyEx&) {
         bench.machine.Faults().FailNext("IDeviceFile::Open", kErrAccessDenied);
     },
     false},
};

class InstallMessages : public testing::TestWithParam<InstallStory>
{};

TEST_P(InstallMessages, AreThese)
{
    CMessageBench bench;
    CPropertyEx transport;
    GetParam().pfnPrepare(bench, transport);
    CMessageRecorder recorder;

    EXPECT_EQ(transport.InitProxyDriver() != 0, GetParam().bStarts);

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(, InstallMessages, testing::ValuesIn(kInstallStories),
                         [](const auto& story) { return std::string(story.param.pszName); });

struct ReleaseStory
{
    const char* pszName;
    void (*pfnPrepare)(CMessageBench& bench);
};

const ReleaseStory kReleaseStories[] = {
    {"release_last", [](CMessageBench&) {}},
    {"release_flag_unclear",
     [](CMessageBench& bench) {
         bench.machine.Faults().FailNext("IFileSystem::Open", kErrAccessDenied);
     }},
    {"release_no_manager",
     [](CMessageBench& bench) { bench.machine.Services().SetManagerError(kErrAccessDenied); }},
    {"release_no_service",
     [](CMessageBench& bench) {
         bench.machine.Faults().FailNext("IServiceManager::OpenNamed", kErrAccessDenied);
     }},
    {"release_not_stopped",
     [](CMessageBench& bench) {
         bench.machine.Faults().FailNext("IServiceManager::Control", kErrAccessDenied);
     }},
    {"release_stuck_stop",
     [](CMessageBench& bench) {
         bench.machine.Services().Find(WTEXT("ZelUpx"))->bStuckStop = true;
     }},
    {"release_no_status",
     [](CMessageBench& bench) {
         bench.machine.Faults().FailNext("IServiceManager::Query", kErrAccessDenied);
     }},
    {"release_not_deleted",
     [](CMessageBench& bench) {
         bench.machine.Faults().FailNext("IServiceManager::Remove", kErrAccessDenied);
     }},
};

class ReleaseMessages : public testing::TestWithParam<ReleaseStory>
{};

TEST_P(ReleaseMessages, AreThese)
{
    CMessageBench bench;
    CPropertyEx transport;
    ASSERT_NE(transport.InitProxyDriver(), 0);
    GetParam().pfnPrepare(bench);
    CMessageRecorder recorder;

    EXPECT_EQ(transport.XH_UnInitProxyDriver(), 1);

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(, ReleaseMessages, testing::ValuesIn(kReleaseStories),
                         [](const auto& story) { return std::string(story.param.pszName); });
} // namespace
