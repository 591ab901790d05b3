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
const WString kDebug = WTEXT("C:\\ZelUpx.sys");

// Another process holds the flag for as long as the bench lives.
void Elsewhere(CMessageBench& bench)
{
    static std::shared_ptr<CSimMachine> s_pOther;
    s_pOther = std::make_shared<CSimMachine>(bench.machine.System());
    SetCurrentPlatform(s_pOther.get());
    static CPropertyEx s_transport;
    s_transport.InitProxyDriver();
    SetCurrentPlatform(&bench.machine);
}

void PutDriver(CMessageBench& bench, const WString& strPath, USHORT wVersion)
{
    bench.machine.Volume().Put(strPath,
                               CSimVolume::VersionedImage(4096, wVersion, wVersion, wVersion, 9));
}

void DenyServices(CMessageBench& bench)
{
    bench.machine.Services().SetManagerError(kErrAccessDenied);
}

const Story kStarts[] = {
    {"install_fresh"},
    {"install_x86", {}, [](CMessageBench& b) { b.machine.Traits().wNativeMachine = 0x014C; }},
    {"install_arm64", {}, [](CMessageBench& b) { b.machine.Traits().functions.clear(); }},
    {"install_by_architecture",
     {},
     [](CMessageBench& b) { b.machine.Traits().functions.erase("IsWow64Process2"); }},
    {"install_debug_file", {}, [](CMessageBench& b) { PutDriver(b, kDebug, 1); }},
    {"install_newer_there", {}, [](CMessageBench& b) { PutDriver(b, kInstalled, 9); }},
    {"install_flag_unclear", {"IFileSystem::Open", 3}},
    {"install_flag_not_made", {"IFileSystem::Open", 5}},
    {"install_flag_not_joined", {"IFileSystem::Open", 5}, Elsewhere},
};

const Story kFailedStarts[] = {
    {"install_denied", {}, DenyServices},
    {"install_no_temporary_file", {"IFileSystem::Open", 2}},
    {"install_disk_full", {}, [](CMessageBench& b) { b.machine.Volume().SetFreeBytes(16); }},
    {"install_no_control_device", {"IDeviceFile::Open"}},
};

void StartIn(const Story& story, bool bStarts)
{
    CMessageBench bench;
    CPropertyEx transport;
    if (std::string(story.pszName) == "install_arm64")
        CPropertyExTestAccess::SetMachine(transport, MACHINE_ARM64);
    story.Prepare(bench);
    const CMessageLog log;
    EXPECT_EQ(transport.InitProxyDriver() != 0, bStarts) << story.pszName;
    ExpectTranscript(story.pszName, log);
}

TEST(DriverMessages, OfItsInstallation)
{
    for (const Story& story : kStarts)
        StartIn(story, true);
    for (const Story& story : kFailedStarts)
        StartIn(story, false);
}

const Story kReleases[] = {
    {"release_last"},
    {"release_flag_unclear", {"IFileSystem::Open"}},
    {"release_no_manager", {}, DenyServices},
    {"release_no_service", {"IServiceManager::OpenNamed"}},
    {"release_not_stopped", {"IServiceManager::Control"}},
    {"release_stuck_stop",
     {},
     [](CMessageBench& b) { b.machine.Services().Find(WTEXT("ZelUpx"))->bStuckStop = true; }},
    {"release_no_status", {"IServiceManager::Query"}},
    {"release_not_deleted", {"IServiceManager::Remove"}},
};

TEST(DriverMessages, OfItsRelease)
{
    for (const Story& story : kReleases) {
        CMessageBench bench;
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        story.Prepare(bench);
        const CMessageLog log;
        EXPECT_EQ(transport.XH_UnInitProxyDriver(), 1) << story.pszName;
        ExpectTranscript(story.pszName, log);
    }
}
} // namespace
