#include <gtest/gtest.h>

// clang-format off
#include <windows.h>
#include <objbase.h>
// clang-format on

#include "platform/ErrorCodes.h"
#include "platform/IDeviceTree.h"
#include "platform/IEventPipe.h"
#include "platform/IFileSystem.h"
#include "platform/IHid.h"
#include "platform/IPowerSwitch.h"
#include "platform/IProcess.h"
#include "platform/IServiceManager.h"
#include "platform/Platform.h"
#include "wire/DriverNames.h"

namespace
{
// The services that pass a call through, one by one, where Wine answers. Not tested, since Wine
// only stubs the call behind it:
//   IDeviceTree::GetParent, GetSibling     CM_Get_Parent, CM_Get_Sibling: fail for every node
//   IDeviceTree::GetChild, GetNodeStatus   CM_Get_Child, CM_Get_DevNode_Status: succeed and write
//                                          nothing (see StubsAreStillStubs)
//   IDeviceTree::GetNodeProperty           CM_Get_DevNode_PropertyW: a node's number ends with its
//                                          set, and no node has the properties that are asked for
//   IWinUsb (all but TransferResult)       WinUsb_...: not implemented, they end the process
//   IPowerSwitch::Next, GetText, GetSwitch, PutSwitch, PutInstance
//                                          no object of the power class is ever found
//   IProcess::DisableRedirection, RevertRedirection
//                                          only a process under WOW64 has what they switch
class WindowsServices : public testing::Test
{
protected:
    void SetUp() override { ::SetLastError(0); }
    Platform& m_real = RealPlatform();
};

TEST_F(WindowsServices, ServiceIsMadeOnceFoundAndRemoved)
{
    IServiceManager& services = m_real.ServiceManager();
    const WCHAR* const pszName = WTEXT("ZelContract");
    const WCHAR* const pszFile = WTEXT("C:\\nowhere\\zel.sys");
    const SERVICE_RECIPE recipe = {pszName,
                                   WTEXT("Zel"),
                                   kServiceAllAccess,
                                   kServiceKernelDriver,
                                   kServiceDemandStart,
                                   kServiceErrorIgnore,
                                   pszFile};
    HANDLE const hManager = services.OpenManager(kManagerAllAccess);
    ASSERT_NE(hManager, nullptr);
    EXPECT_EQ(services.OpenNamed(hManager, pszName, kServiceAllAccess), nullptr);
    EXPECT_EQ(::GetLastError(), kErrServiceDoesNotExist);

    HANDLE const hService = services.Create(hManager, recipe);
    ASSERT_NE(hService, nullptr);
    EXPECT_EQ(services.Create(hManager, recipe), nullptr);
    EXPECT_EQ(::GetLastError(), kErrServiceExists);
    SERVICE_STATE state = {};
    EXPECT_TRUE(services.Query(hService, &state));
    EXPECT_EQ(state.dwServiceType, kServiceKernelDriver);
    EXPECT_EQ(state.dwCurrentState, kStateStopped);
    EXPECT_FALSE(services.Control(hService, kControlStop, &state));
    EXPECT_EQ(::GetLastError(), kErrServiceNotActive);
    EXPECT_FALSE(services.Start(hService)) << "its file is not there";

    EXPECT_TRUE(services.Remove(hService));
    EXPECT_TRUE(services.Close(hService));
    EXPECT_EQ(services.OpenNamed(hManager, pszName, kServiceAllAccess), nullptr);
    EXPECT_EQ(::GetLastError(), kErrServiceDoesNotExist);
    EXPECT_TRUE(services.Close(hManager));
}

TEST_F(WindowsServices, EventOfAnotherIsOpenedAndWaitedFor)
{
    IEventPipe& events = m_real.EventPipe();
    EXPECT_EQ(events.OpenNamedEvent(kEventAllAccess, SS_EVENT_NAME), nullptr);
    EXPECT_EQ(::GetLastError(), kErrFileNotFound);

    HANDLE const hTheirs = ::CreateEventW(nullptr, FALSE, FALSE, SS_EVENT_NAME);
    HANDLE const hOurs = events.OpenNamedEvent(kEventAllAccess, SS_EVENT_NAME);
    ASSERT_NE(hOurs, nullptr);
    EXPECT_EQ(events.WaitEvent(hOurs, 0), kWaitTimeout);
    ::SetEvent(hTheirs);
    EXPECT_EQ(events.WaitEvent(hOurs, kWaitForever), kWaitSignalled);
    EXPECT_EQ(events.WaitEvent(hOurs, 0), kWaitTimeout) << "one signal releases one wait";
    EXPECT_TRUE(events.CloseEvent(hOurs));
    ::CloseHandle(hTheirs);
}

TEST_F(WindowsServices, EventIsMadeAsAsked)
{
    IEventPipe& events = m_real.EventPipe();
    for (const bool bManual : {false, true}) {
        HANDLE const hEvent = events.MakeEvent(bManual, true);
        EXPECT_EQ(events.WaitEvent(hEvent, 0), kWaitSignalled);
        EXPECT_EQ(events.WaitEvent(hEvent, 0), bManual ? kWaitSignalled : kWaitTimeout);
        EXPECT_TRUE(events.CloseEvent(hEvent));
    }
}

TEST_F(WindowsServices, PipeTakesOneRequest)
{
    IEventPipe& pipes = m_real.EventPipe();
    EXPECT_FALSE(pipes.WaitPipe(SS_PIPE_NAME, 0));
    EXPECT_EQ(::GetLastError(), kErrFileNotFound);

    HANDLE const hServer =
        ::CreateNamedPipeW(SS_PIPE_NAME, PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 64, 64, 0, nullptr);
    ASSERT_NE(hServer, INVALID_HANDLE_VALUE);
    HANDLE const hPipe = pipes.OpenPipe(SS_PIPE_NAME, kGenericRead | kGenericWrite);
    ASSERT_NE(hPipe, InvalidHandle());
    DWORD cbDone = 0;
    EXPECT_TRUE(pipes.WritePipe(hPipe, "switch", 6, &cbDone));
    EXPECT_EQ(cbDone, 6u);
    char szRead[8] = {};
    EXPECT_TRUE(::ReadFile(hServer, szRead, 6, &cbDone, nullptr));
    EXPECT_STREQ(szRead, "switch");
    EXPECT_TRUE(pipes.ClosePipe(hPipe));
    ::CloseHandle(hServer);
}

TEST_F(WindowsServices, ProcessorIsAskedByLookedUpFunctions)
{
    IProcess& process = m_real.Process();
    HANDLE const hKernel = process.LoadedModule(WTEXT("kernel32"));
    ASSERT_NE(hKernel, nullptr);
    EXPECT_TRUE(process.HasFunction(hKernel, "IsWow64Process2"));
    EXPECT_TRUE(process.HasFunction(hKernel, "IsWow64Process"));
    EXPECT_FALSE(process.HasFunction(hKernel, "NoSuchFunction"));
    USHORT wProcess = 1;
    USHORT wNative = 1;
    EXPECT_TRUE(process.QueryWow64Process2(&wProcess, &wNative));
    EXPECT_EQ(wProcess, 0);
    EXPECT_EQ(wNative, 0x8664);
    int nWow64 = 1;
    EXPECT_TRUE(process.QueryWow64Process(&nWow64));
    EXPECT_EQ(nWow64, 0);
    EXPECT_EQ(process.NativeArchitecture(), 9);
}

TEST_F(WindowsServices, ModuleIsLoadedAndGivenBack)
{
    IProcess& process = m_real.Process();
    EXPECT_EQ(process.LoadModule(WTEXT("no-such-library.dll")), nullptr);
    EXPECT_EQ(::GetLastError(), ERROR_MOD_NOT_FOUND);
    HANDLE const hKernel = process.LoadModule(WTEXT("kernel32.dll"));
    EXPECT_EQ(hKernel, process.LoadedModule(WTEXT("kernel32")));
    EXPECT_TRUE(process.UnloadModule(hKernel));
}

TEST_F(WindowsServices, ThereIsNoResourceOfNumberNought)
{
    const auto* pCode = reinterpret_cast<const void*>(&RealPlatform);
    EXPECT_EQ(m_real.Process().LocateResource(pCode, 0, nullptr), nullptr);
    EXPECT_NE(::GetLastError(), 0u);
}

TEST_F(WindowsServices, VersionOfASystemFileIsRead)
{
    IFileSystem& files = m_real.FileSystem();
    WCHAR szFolder[260] = {};
    ASSERT_GT(files.SystemFolder(szFolder, 260), 0u);
    const WString strPath = WString(szFolder) + WTEXT("\\kernel32.dll");
    std::vector<BYTE> block(files.VersionSize(strPath.c_str()));
    ASSERT_FALSE(block.empty());
    ASSERT_TRUE(files.ReadVersion(strPath.c_str(), static_cast<DWORD>(block.size()), block.data()));
    const FIXED_FILE_INFO* pInfo = nullptr;
    ASSERT_TRUE(files.QueryRootVersion(block.data(), &pInfo));
    EXPECT_EQ(pInfo->dwSignature, 0xFEEF04BDu);
}

TEST_F(WindowsServices, SuccessesLeaveTheLastErrorAlone)
{
    constexpr DWORD kBefore = 4711;
    IServiceManager& services = m_real.ServiceManager();
    IDeviceTree& tree = m_real.DeviceTree();
    WCHAR szFolder[260] = {};
    m_real.FileSystem().SystemFolder(szFolder, 260);
    const WString strFile = WString(szFolder) + WTEXT("\\kernel32.dll");
    HANDLE const hSet = tree.GetClassDevs(&kGuidUsbHub, nullptr, kSetPresent | kSetDeviceInterface);

    ::SetLastError(kBefore);
    HANDLE const hManager = services.OpenManager(kManagerAllAccess);
    EXPECT_TRUE(services.Close(hManager));
    EXPECT_EQ(::GetLastError(), kBefore);
    EXPECT_NE(m_real.FileSystem().VersionSize(strFile.c_str()), 0u);
    EXPECT_EQ(::GetLastError(), kBefore);
    EXPECT_TRUE(m_real.EventPipe().CloseEvent(m_real.EventPipe().MakeEvent(false, false)));
    EXPECT_EQ(::GetLastError(), kBefore);
    EXPECT_TRUE(tree.DestroySet(hSet));
    EXPECT_EQ(::GetLastError(), kBefore);
}

TEST_F(WindowsServices, HidClassIsTheOneThatTheLibraryKnows)
{
    GUID guid = {};
    m_real.Hid().GetHidGuid(&guid);
    EXPECT_TRUE(SameGuid(guid, kGuidHid));
}

TEST_F(WindowsServices, DeviceSetsAreMadeWalkedAndReleased)
{
    IDeviceTree& tree = m_real.DeviceTree();
    ::SetLastError(4711);
    HANDLE const hSet = tree.GetClassDevs(&kGuidUsbHub, nullptr, kSetPresent | kSetDeviceInterface);
    ASSERT_NE(hSet, InvalidHandle());
    EXPECT_EQ(::GetLastError(), 0u) << "a success says so";
    DEVINFO_DATA dev = {};
    dev.cbSize = sizeof dev;
    EXPECT_FALSE(tree.EnumDeviceInfo(hSet, 1000, &dev));
    EXPECT_EQ(::GetLastError(), kErrNoMoreItems);
    EXPECT_TRUE(tree.DestroySet(hSet));
    EXPECT_EQ(tree.GetClassDevs(nullptr, nullptr, kSetPresent), InvalidHandle());
    EXPECT_EQ(::GetLastError(), kErrInvalidParameter);
}

TEST_F(WindowsServices, PowerClassIsAskedToItsEnd)
{
    IPowerSwitch& power = m_real.PowerSwitch();
    EXPECT_GE(power.InitializeCom(2), 0);
    const LONG lSecurity = power.InitializeSecurity(-1, 1, 4, 0);
    EXPECT_TRUE(lSecurity == kHrOk || lSecurity == kHrTooLate) << lSecurity;
    HANDLE hLocator = nullptr;
    HANDLE hServices = nullptr;
    HANDLE hObjects = nullptr;
    ASSERT_EQ(power.CreateLocator(&hLocator), kHrOk);
    ASSERT_EQ(power.ConnectServer(hLocator, WTEXT("ROOT\\WMI"), &hServices), kHrOk);
    EXPECT_EQ(power.SetProxyBlanket(hServices, 10, 0, 3, 3, 0), kHrOk);
    ASSERT_EQ(power.ExecQuery(hServices, WTEXT("WQL"),
                              WTEXT("SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE "
                                    "\"NoSuchDevice%%\""),
                              0x30, &hObjects),
              kHrOk);
    HANDLE hObject = nullptr;
    DWORD dwReturned = 99;
    EXPECT_EQ(power.Next(hObjects, -1, &hObject, &dwReturned), kHrFalse);
    EXPECT_EQ(dwReturned, 0u);
    for (HANDLE const h : {hObjects, hServices, hLocator})
        power.Release(h);
    power.UninitializeCom();
}

TEST_F(WindowsServices, StubsAreStillStubs)
{
    if (::GetProcAddress(::GetModuleHandleW(L"ntdll"), "wine_get_version") == nullptr)
        GTEST_SKIP() << "a real system";
    // Once these answer, their services get tests of their own.
    IDeviceTree& tree = m_real.DeviceTree();
    DWORD dwStatus = 4711;
    DWORD dwProblem = 4712;
    DWORD devInst = 4713;
    EXPECT_EQ(tree.GetNodeStatus(&dwStatus, &dwProblem, 1), kCrSuccess);
    EXPECT_EQ(dwStatus, 4711u);
    EXPECT_EQ(tree.GetChild(&devInst, 1), kCrSuccess);
    EXPECT_EQ(devInst, 4713u);
    EXPECT_NE(tree.GetParent(&devInst, 1), kCrSuccess);
    EXPECT_NE(tree.GetSibling(&devInst, 1), kCrSuccess);
}
} // namespace
