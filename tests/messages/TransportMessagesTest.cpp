#include <gtest/gtest.h>

#include "messages/CMessageBench.h"
#include "platform/IDeviceTree.h"
#include "platform/IHid.h"
#include "wire/HubRequests.h"

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
    {"install_x86", [](CMessageBench& b) { b.machine.Traits().wNativeMachine = 0x014C; }},
    {"install_arm64", [](CMessageBench& b) { b.machine.Traits().functions.clear(); }},
    {"install_by_architecture",
     [](CMessageBench& b) { b.machine.Traits().functions.erase("IsWow64Process2"); }},
    {"install_debug_file", [](CMessageBench& b) { PutDriver(b, kDebug, 1); }},
    {"install_newer_there", [](CMessageBench& b) { PutDriver(b, kInstalled, 9); }},
    {"install_flag_unclear", {"IFileSystem::Open", 3}},
    {"install_flag_not_made", {"IFileSystem::Open", 5}},
    {"install_flag_not_joined", {"IFileSystem::Open", 5}, Elsewhere},
};

const Story kFailedStarts[] = {
    {"install_denied", DenyServices},
    {"install_no_temporary_file", {"IFileSystem::Open", 2}},
    {"install_disk_full", [](CMessageBench& b) { b.machine.Volume().SetFreeBytes(16); }},
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
    {"release_no_manager", DenyServices},
    {"release_no_service", {"IServiceManager::OpenNamed"}},
    {"release_not_stopped", {"IServiceManager::Control"}},
    {"release_stuck_stop",
     [](CMessageBench& b) { b.machine.Services().Find(WTEXT("ZelUpx"))->bStuckStop = true; }},
    {"release_no_status", {"IServiceManager::Query"}},
    {"release_not_deleted", {"IServiceManager::Remove"}},
};

/// Tells each story: the driver is started, what it prepares is done, and the log listens to an
/// act.
template<std::size_t nStories>
void Tell(const Story (&stories)[nStories], void (*pfnAct)(CMessageBench&, CPropertyEx&))
{
    for (const Story& story : stories) {
        CMessageBench bench;
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        story.Prepare(bench);
        const CMessageLog log;
        pfnAct(bench, transport);
        ExpectTranscript(story.pszName, log);
    }
}

TEST(DriverMessages, OfItsRelease)
{
    Tell(kReleases, [](CMessageBench&, CPropertyEx& transport) {
        EXPECT_EQ(transport.XH_UnInitProxyDriver(), 1);
    });
}

const Story kOpens[] = {
    {"open"},
    {"open_power_switch_fails", {"IPowerSwitch::CreateLocator", 1, 0x80040154}},
    {"open_no_set", {"IDeviceTree::GetClassDevs", 2}},
    {"open_no_element", {"IDeviceTree::EnumDeviceInfo"}},
    {"open_no_location", {"IDeviceTree::GetRegistryProperty"}},
    {"open_interface_not_found", {"IDeviceTree::EnumDeviceInfo", 2, kErrNoMoreItems}},
    {"open_no_interface", {"IDeviceTree::EnumDeviceInterfaces"}},
    {"open_no_detail_size", {"IDeviceTree::GetInterfaceDetail"}},
    {"open_no_detail", {"IDeviceTree::GetInterfaceDetail", 2}},
    {"open_no_file", {}, [](CMessageBench& b) { b.node.Traits().dwOpenError = kErrAccessDenied; }},
    {"open_refused_by_driver", {"IDeviceFile::Control", 1, kErrGenFailure}},
    {"close_refused_by_driver", {"IDeviceFile::Control", 2, kErrGenFailure}},
};

const Story kIdentityTests[] = {
    {"identify"},
    {"identify_power_switch_fails", {"IPowerSwitch::CreateLocator", 1, 0x80040154}},
    {"identify_no_interface", {"IDeviceTree::EnumDeviceInterfaces"}},
    {"identify_refused_by_driver", {"IDeviceFile::Control", 1, kErrGenFailure}},
    {"identify_resuming", [](CMessageBench& b) { b.node.Suspend(500'000); }},
    {"identify_never_resumes", [](CMessageBench& b) { b.node.Suspend(60'000'000); }},
    {"identify_descriptor_status",
     [](CMessageBench& b) { b.machine.Driver().FailTransferWithStatus(1, 0xC0000004); }},
    {"identify_no_string",
     [](CMessageBench& b) { b.machine.Driver().FailTransfer(2, kErrGenFailure); }},
    {"identify_aborted",
     [](CMessageBench& b) {
         for (unsigned n = 2; n < 10; ++n)
             b.machine.Driver().FailTransfer(n, kErrOperationAborted);
     }},
    {"identify_sm_bus", [](CMessageBench& b) { b.hub.Identity().strings[0x34] = WTEXT("Sm Bus"); }},
    {"identify_not_restored", {"IPowerSwitch::InitializeCom", 2, 0x80010106}},
};

TEST(TransferMessages, OfOpening)
{
    Tell(kOpens, [](CMessageBench& bench, CPropertyEx& transport) {
        DWORD dwOld = 0;
        transport.KyHub_OpenDeviceByDevInst(bench.HubInst(), dwOld);
        transport.KyHub_CloseDevice();
    });
}

TEST(TransferMessages, OfTheIdentityTest)
{
    Tell(kIdentityTests, [](CMessageBench& bench, CPropertyEx& transport) {
        transport.KyHub_IsVoHub(bench.HubInst(), 1);
    });
}

struct RequestStory
{
    const char* pszName;
    void (*pfnAct)(CPropertyEx& transport);
    StoryFault fault = {};
};

void Enable(CPropertyEx& transport)
{
    transport.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_VDCMD_ENABLE, 1, VDCMD_ENABLE_KEY, nullptr, 0,
                              5000);
}

void WritePort(CPropertyEx& transport)
{
    transport.KyHub_WritePortUCHAR(0x66, 0x80);
}

template<DWORD dwPort>
void ReadPort(CPropertyEx& transport)
{
    BYTE by = 0xEE;
    transport.KyHub_ReadPortUCHAR(dwPort, &by);
}

template<BYTE byFirst, bool bWrites, bool bReads>
void Memory(CPropertyEx& transport)
{
    BYTE data[3] = {byFirst, 2, 3};
    if (bWrites)
        transport.KyHub_WriteMemoryUCHAR(0xFED40000, data, sizeof data);
    if (bReads)
        transport.KyHub_ReadMemoryUCHAR(0xFED40000, data, sizeof data);
}

const RequestStory kRequests[] = {
    {"request", Enable},
    {"request_fails", Enable, {"IDeviceFile::Control", 1, kErrGenFailure}},
    {"ports",
     [](CPropertyEx& t) {
         WritePort(t);
         ReadPort<0x66>(t);
     }},
    {"port_write_fails", WritePort, {"IDeviceFile::Control"}},
    {"port_read_fails", ReadPort<0x62>, {"IDeviceFile::Control"}},
    {"memory", Memory<1, true, true>},
    {"memory_write_fails", Memory<0xA1, true, false>, {"IDeviceFile::Control"}},
    {"memory_read_fails", Memory<0xB2, false, true>, {"IDeviceFile::Control"}},
};

TEST(TransferMessages, OfRequests)
{
    for (const RequestStory& story : kRequests) {
        CMessageBench bench;
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        ASSERT_EQ(transport.KyHub_OpenDeviceByDevInst(bench.HubInst()), 0u);
        story.fault.Plant(bench);
        const CMessageLog log;
        story.pfnAct(transport);
        ExpectTranscript(story.pszName, log);
    }
}

constexpr DWORD kHResult = 0x80041013;

CSimCompanion& NotElevated(CMessageBench& bench)
{
    bench.machine.Traits().bElevated = false;
    bench.machine.Companion().Install();
    return bench.machine.Companion();
}

void ByCompanion(CMessageBench& bench)
{
    NotElevated(bench);
}

// The hub's power saving is switched off (by an open) and on again; one step fails.
const Story kPowerSwitches[] = {
    {"power_switch"},
    {"power_no_set", {"IDeviceTree::GetClassDevs", 0}},
    {"power_no_com", {"IPowerSwitch::InitializeCom", 0, kHResult}},
    {"power_no_security", {"IPowerSwitch::InitializeSecurity", 0, kHResult}},
    {"power_no_locator", {"IPowerSwitch::CreateLocator", 0, kHResult}},
    {"power_no_connection", {"IPowerSwitch::ConnectServer", 0, kHResult}},
    {"power_no_blanket", {"IPowerSwitch::SetProxyBlanket", 0, kHResult}},
    {"power_no_query", {"IPowerSwitch::ExecQuery", 0, kHResult}},
    {"power_not_written", {"IPowerSwitch::PutInstance", 0, kHResult}},
    {"power_by_companion", ByCompanion},
    {"power_companion_problem_node",
     [](CMessageBench& b) {
         NotElevated(b);
         b.node.Traits().dwStatus |= kNodeHasProblem;
     }},
    {"power_companion_absent", [](CMessageBench& b) { NotElevated(b).Remove(); }},
    {"power_companion_no_pipe", [](CMessageBench& b) { NotElevated(b).SetPipePresent(false); }},
    {"power_companion_pipe_not_opened", {"IEventPipe::OpenPipe", 0}, ByCompanion},
    {"power_companion_not_written", {"IEventPipe::WritePipe", 0, kErrGenFailure}, ByCompanion},
    {"power_companion_wait_fails", {"IEventPipe::WaitEvent", 0, kErrInvalidHandle}, ByCompanion},
};

TEST(PowerMessages, AreThese)
{
    Tell(kPowerSwitches, [](CMessageBench& bench, CPropertyEx& transport) {
        transport.KyHub_OpenDeviceByDevInst(bench.HubInst());
        transport.KyHub_CloseDevice();
        transport.KyHub_TurnOnHubSS(bench.HubInst());
    });
}

const Story kHidOpens[] = {
    {"hid"},
    {"hid_power_switch_fails", {"IPowerSwitch::CreateLocator", 1, 0x80040154}},
    {"hid_no_set", {"IDeviceTree::GetClassDevs", 2}},
    {"hid_no_element", {"IDeviceTree::EnumDeviceInfo"}},
    {"hid_no_location", {"IDeviceTree::GetRegistryProperty"}},
    {"hid_interface_not_found", {"IDeviceTree::EnumDeviceInfo", 2, kErrNoMoreItems}},
    {"hid_no_interface", {"IDeviceTree::EnumDeviceInterfaces", 0}},
    {"hid_no_detail_size", {"IDeviceTree::GetInterfaceDetail"}},
    {"hid_no_detail", {"IDeviceTree::GetInterfaceDetail", 2}},
    {"hid_no_file", {"IDeviceFile::Open"}},
    {"hid_refused_by_driver", {"IDeviceFile::Control", 1, kErrGenFailure}},
    {"hid_no_preparsed_data", {"IHid::GetPreparsedData"}},
};

// A HID collection is opened through the driver, and asked whether it is the vendor's.
TEST(HidMessages, AreThese)
{
    for (const Story& story : kHidOpens) {
        CMessageBench bench;
        CSimNode& device = bench.machine.Tree().AddDevice(bench.node, 2, DeviceNodeOptions{});
        HidNodeOptions options;
        options.wUsagePage = 0xFF70;
        options.wUsage = 0x0020;
        CSimNode& hid = bench.machine.Tree().AddHid(device, options);
        hid.Traits().strLocationInformation = WTEXT("Port_#0002.Hub_#0003");
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        story.Prepare(bench);
        const CMessageLog log;

        transport.KyHub_OpenHidDeviceByDevInst(hid.DevInst());
        transport.KyHub_CloseDevice();
        transport.KyHid_IsITEHid(hid.DevInst());

        ExpectTranscript(story.pszName, log);
    }
}
} // namespace
