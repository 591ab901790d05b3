#include "DriverRoad.h"

#include "cmd/CRequestCMD.h"

#include <filesystem>

// clang-format off
#include <windows.h>
// clang-format on

namespace
{
constexpr const char* kMute = "9.9.9.9"; ///< starts and makes no device

/// What goes wrong with the service and its file. A service marked for deletion is not among it,
/// since Wine takes it back into use (the simulated machine has that case). The library's start
/// says true all the same; whether the driver is open, asking for it again says.
class DriverTrouble : public DriverRoad
{
protected:
    static bool IsOpen()
    {
        return CRequestCMD::GetRequestObj()->GetProxy()->GetTransport()->InitProxyDriver() != 0;
    }

    /// @return the service; it may stay open, so that it is never quite gone
    SC_HANDLE MakeService(const WString& strPath, DWORD dwStart)
    {
        SC_HANDLE const hManager = ::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
        SC_HANDLE const hService =
            ::CreateServiceW(hManager, ZELUPX_SERVICE_NAME, L"ZelUpx Driver", SERVICE_ALL_ACCESS,
                             SERVICE_KERNEL_DRIVER, dwStart, SERVICE_ERROR_IGNORE, strPath.c_str(),
                             nullptr, nullptr, nullptr, nullptr, nullptr);
        ::CloseServiceHandle(hManager);
        EXPECT_NE(hService, nullptr) << ::GetLastError();
        return hService;
    }

    /// What the service says when it is started.
    static DWORD StartError(SC_HANDLE hService)
    {
        return ::StartServiceW(hService, 0, nullptr) != FALSE ? 0 : ::GetLastError();
    }

    bool ListsHubs()
    {
        _Hub_Info* pHubs = nullptr;
        DWORD dwCount = 0;
        const bool bListed = XH_ListAllDevice(&pHubs, &dwCount) && dwCount == 1;
        XH_FreeAllDevice(pHubs);
        return bListed;
    }
};

TEST_F(DriverTrouble, DisabledServiceStaysSo)
{
    Install("1.2.0.5", InstalledFile());
    SC_HANDLE const hService = MakeService(InstalledFile(), SERVICE_DISABLED);
    EXPECT_TRUE(XH_InitDevice(true));
    EXPECT_FALSE(IsOpen());
    EXPECT_EQ(StartError(hService), DWORD{ERROR_SERVICE_DISABLED});
    ::CloseServiceHandle(hService);
}

TEST_F(DriverTrouble, DisabledServiceOfAnOlderDriverIsMadeAnew)
{
    Install("1.2.0.4", InstalledFile());
    ::CloseServiceHandle(MakeService(InstalledFile(), SERVICE_DISABLED));
    EXPECT_TRUE(XH_InitDevice(false));
    EXPECT_EQ(ServiceState(), kStateRunning);
    EXPECT_TRUE(ListsHubs());
}

TEST_F(DriverTrouble, ServiceOfAnotherPathIsTakenAsItIs)
{
    Install("1.2.0.5", InstalledFile());
    SC_HANDLE const hService = MakeService(WTEXT("C:\\nowhere\\ZelUpx.sys"), SERVICE_DEMAND_START);
    EXPECT_TRUE(XH_InitDevice(false));
    EXPECT_FALSE(IsOpen());
    EXPECT_NE(StartError(hService), 0u) << "2, or 1114 of Wine's driver host";
    ::CloseServiceHandle(hService);
}

TEST_F(DriverTrouble, ServiceOfAnotherPathIsMadeAnewWithANewFile)
{
    ::CloseServiceHandle(MakeService(WTEXT("C:\\nowhere\\ZelUpx.sys"), SERVICE_DEMAND_START));
    EXPECT_TRUE(XH_InitDevice(false));
    EXPECT_EQ(ServiceState(), kStateRunning);
    EXPECT_TRUE(ListsHubs());
}

TEST_F(DriverTrouble, DeviceMayBeMissingAfterAGoodStart)
{
    Install(kMute, InstalledFile());
    EXPECT_TRUE(XH_InitDevice(true));
    EXPECT_EQ(ServiceState(), kStateRunning);
    EXPECT_TRUE(HasLogged("Already have newer ZelUpx.sys, don't need to update"));
    EXPECT_TRUE(HasLogged("Failed to create hProxyDriver"));
    EXPECT_FALSE(IsOpen());
    EXPECT_FALSE(ListsHubs()) << "no hub can be asked who made it";
}

TEST_F(DriverTrouble, StoppedBetweenTwoRequestsItFailsTheSecond)
{
    ASSERT_TRUE(XH_InitDevice(false));
    BenchJob job(m_bus.HubNode());
    ASSERT_TRUE(job.finder.WaitDevConnect(job.pDev.get(), 1));
    BYTE status[20] = {};
    EXPECT_TRUE(XH_DetectHubStatusForTest(status));

    RemoveService();

    EXPECT_FALSE(XH_DetectHubStatusForTest(status));
    EXPECT_FALSE(XH_DetectHubStatusForTest(status)) << "and so on";
}

/// A file that another program keeps to itself: for whoever writes it as good as a folder that
/// cannot be written. (Wine gives this test's user every right to folders.)
class CKeptFile
{
public:
    explicit CKeptFile(const WString& strPath)
        : m_hFile(::CreateFileW(strPath.c_str(), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr))
    {
        EXPECT_NE(m_hFile, INVALID_HANDLE_VALUE) << ::GetLastError();
    }
    CKeptFile(const CKeptFile&) = delete;
    CKeptFile& operator=(const CKeptFile&) = delete;
    ~CKeptFile() { ::CloseHandle(m_hFile); }

private:
    HANDLE m_hFile;
};

TEST_F(DriverTrouble, DriverFileThatCannotBeWrittenEndsTheStartQuietly)
{
    const CKeptFile kept(InstalledFile());
    EXPECT_TRUE(XH_InitDevice(true));
    EXPECT_FALSE(IsOpen());
    EXPECT_EQ(ServiceState(), 0u);
    EXPECT_TRUE(HasLogged("Extracting ZelUpx.sys"));
    EXPECT_FALSE(HasLogged("Failed to create hProxyDriver")) << "it was not tried";
}

TEST_F(DriverTrouble, LogThatCannotBeWrittenKeepsNothingElseAway)
{
    const std::string strLog = OwnFolder() + "info.txt";
    std::filesystem::remove(strLog);
    {
        const CKeptFile kept(WString(strLog.begin(), strLog.end()));
        EXPECT_TRUE(XH_InitDevice(true));
        EXPECT_TRUE(ListsHubs());
    }
    EXPECT_EQ(std::filesystem::file_size(strLog), 0u);
}
} // namespace
