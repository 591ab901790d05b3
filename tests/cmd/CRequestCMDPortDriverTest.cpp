#include "cmd/PortDriverFixture.h"

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace
{
const std::string kInit = "|CRequestCMD::XH_InitVoPortDriver|CSmBus::LoadVoportDriver(): ";
const std::string kExtract = "|CRequestCMD::ExtractVoport|CSmBus::ExtractVoport(): ";
const std::string kSetup = "|CRequestCMD::SetupDriverName|CSmBus::SetupDriverName(): ";
const WCHAR* const kInstalled = WTEXT("C:\\Windows\\system32\\drivers\\voport.sys");
const WCHAR* const kInstalled64 = WTEXT("C:\\Windows\\SysWOW64\\drivers\\voport64.sys");

using PortDriver = PortDriverTest;

TEST_F(PortDriver, IsExtractedInstalledStartedAndOpened)
{
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(
        m_log.Lines(),
        ElementsAre("0" + kInit + "dwNTVersion = 0.0.0\n", "0" + kInit + "m_bIsWinNT = TRUE\n",
                    "0" + kInit + "m_bIsWow64 = 0\n",
                    "0" + kExtract + "szDrvName = C:\\Windows\\system32\\drivers\\voport.sys\n",
                    "0" + kExtract + "lDrvSize  = 4096\n",
                    "0" + kExtract + "CreateFile(GENERIC_WRITE) OK!\n",
                    "0" + kSetup + "szDrvLocation = C:\\Bench\\voport.sys\n",
                    "0" + kSetup + "szDrvLocation = C:\\Windows\\system32\\drivers\\voport.sys\n"));
    EXPECT_EQ(*m_machine.Volume().Data(kInstalled), m_machine.Traits().portDriver);
    EXPECT_THAT(m_machine.Services().Log(), ElementsAre("create voport", "start voport"));
    const SimService& service = *m_machine.Services().Find(WTEXT("voport"));
    EXPECT_EQ(service.strDisplayName, WTEXT("voport"));
    EXPECT_EQ(service.strImagePath, kInstalled);
    EXPECT_EQ(service.dwType, kServiceKernelDriver);
    EXPECT_EQ(service.dwStart, kServiceDemandStart);
    EXPECT_EQ(service.dwErrorControl, kServiceErrorNormal);
    EXPECT_EQ(m_machine.Handles().Describe(), "control device \\\\.\\voport\n");

    EXPECT_EQ(m_cmd.XH_UnInitVoPortDriver(), 1);
    EXPECT_EQ(m_machine.Handles().Describe(), "");
    EXPECT_EQ(CRequestCMDTestAccess::Driver(), nullptr);
}

TEST_F(PortDriver, HasOtherFilesInA32BitProcess)
{
    m_machine.Traits().wProcessMachine = 0x014C;
    EXPECT_EQ(Start(), 1);
    EXPECT_TRUE(m_machine.Volume().Exists(kInstalled64));
    EXPECT_THAT(m_log.Lines(),
                AllOf(Contains("0" + kInit + "m_bIsWow64 = 1\n"),
                      Contains("0" + kSetup + "szDrvLocation = C:\\Bench\\voport64.sys\n"),
                      Contains("0" + kSetup +
                               "szDrvLocation = C:\\Windows\\SysWOW64\\drivers\\voport64.sys\n")));
    m_cmd.XH_UnInitVoPortDriver();
}

TEST_F(PortDriver, SaysNothingOfWow64WhereNobodyCanBeAsked)
{
    m_machine.Traits().functions.clear();
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(m_log.Lines(), Not(Contains("0" + kInit + "m_bIsWow64 = 0\n")));
    m_cmd.XH_UnInitVoPortDriver();
}

TEST_F(PortDriver, ThatRunsIsOnlyOpened)
{
    EXPECT_EQ(Start(), 1);
    m_cmd.XH_UnInitVoPortDriver();
    m_log.Clear();
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(LastLines(2), ElementsAre("0" + kExtract + "CreateFile(GENERIC_READ) OK!\n",
                                          "0" + kExtract + "lFileSize  = 4096\n"));
    EXPECT_THAT(m_machine.Services().Log(), ElementsAre("create voport", "start voport"));
    m_cmd.XH_UnInitVoPortDriver();
}

TEST_F(PortDriver, BesideTheHostGoesFirst)
{
    m_machine.Volume().Put(WTEXT("C:\\Bench\\voport.sys"), {1});
    EXPECT_EQ(Start(), 1);
    EXPECT_EQ(m_machine.Services().Find(WTEXT("voport"))->strImagePath,
              WTEXT("C:\\Bench\\voport.sys"));
    m_cmd.XH_UnInitVoPortDriver();
}

TEST_F(PortDriver, OfTheSameSizeIsNotWrittenAgain)
{
    const std::vector<BYTE> vOther(4096, 0x11);
    m_machine.Volume().Put(kInstalled, vOther);
    EXPECT_EQ(m_cmd.ExtractVoport(0, nullptr), 1);
    EXPECT_EQ(*m_machine.Volume().Data(kInstalled), vOther);
}

TEST_F(PortDriver, OfAnotherSizeIsReplaced)
{
    m_machine.Volume().Put(kInstalled, std::vector<BYTE>(5000, 0x11));
    EXPECT_EQ(m_cmd.ExtractVoport(0, nullptr), 1);
    EXPECT_EQ(*m_machine.Volume().Data(kInstalled), m_machine.Traits().portDriver);
    EXPECT_THAT(LastLines(3), ElementsAre("0" + kExtract + "CreateFile(GENERIC_READ) OK!\n",
                                          "0" + kExtract + "lFileSize  = 5000\n",
                                          "0" + kExtract + "CreateFile(GENERIC_WRITE) OK!\n"));
}

TEST_F(PortDriver, ExtractionGivesTheWritesSuccess)
{
    m_machine.Faults().FailNext("IFileSystem::Write", 112);
    EXPECT_EQ(m_cmd.ExtractVoport(0, nullptr), 0);
    EXPECT_EQ(m_machine.Handles().Describe(), "");
}

struct FAILURE
{
    const char* pszCase;
    std::vector<std::pair<const char*, DWORD>> faults; ///< operation that fails next, its code
    std::vector<std::string> says;                     ///< the last lines
};

const FAILURE kFailures[] = {
    {"NoResource",
     {{"IProcess::LocateResource", 1814}},
     {"1|CRequestCMD::ExtractVoport|FindResource Failed with error = 0x00000716 \n",
      "1" + kExtract + "FAILED! (hSysRes = NULL)\n", "1" + kInit + "ExtractVoport() FAILED!\n"}},
    {"NotFetched",
     {{"IProcess::FetchResource", 8}},
     {"1" + kExtract + "FAILED! (hVoport = NULL)\n", "1" + kInit + "ExtractVoport() FAILED!\n"}},
    {"NotPinned",
     {{"IProcess::PinResource", 8}},
     {"1" + kExtract + "FAILED! (pbyBuffer = NULL)\n", "1" + kInit + "ExtractVoport() FAILED!\n"}},
    {"NoSize",
     {{"IProcess::ResourceSize", 8}},
     {"1" + kExtract + "FAILED! (lDrvSize is zero)\n", "1" + kInit + "ExtractVoport() FAILED!\n"}},
    {"NoWindowsFolder",
     {{"IFileSystem::WindowsFolder", 5}},
     {"1" + kInit + "ExtractVoport() FAILED!\n"}},
    {"NotWritten",
     {{"IFileSystem::Open", 2}, {"IFileSystem::Open", 5}},
     {"1" + kExtract + "CreateFile(GENERIC_WRITE) FAILED! ==> 5\n",
      "1" + kInit + "ExtractVoport() FAILED!\n"}},
    {"OpenRefused", {{"IDeviceFile::Open", 5}}, {"1" + kInit + "CreateFile() FAILED! ==> 5\n"}},
    {"NoWorkingFolder",
     {{"IFileSystem::WorkingFolder", 3}},
     {"1" + kSetup + "GetCurrentDirectory() FAILED! ==> 3\n",
      "1" + kInit + "SetupDriverName() FAILED! ==> 3\n"}},
    {"NoManagerAtAll",
     {{"IServiceManager::OpenManager", 120},
      {"IServiceManager::OpenManager", 120},
      {"IServiceManager::OpenManager", 120},
      {"IServiceManager::OpenManager", 5}},
     {"1" + kInit + "Unable to install driver!\n",
      "1|CRequestCMD::ManageDriver|CSmBus::ManageDriver(): OpenSCManager() FAILED! ==> 120\n",
      "1|CRequestCMD::ManageDriver|CSmBus::ManageDriver(): OpenSCManager() FAILED! ==> 120\n",
      "1" + kInit + "Unable to install driver again!\n",
      "1|CRequestCMD::ManageDriver|CSmBus::ManageDriver(): OpenSCManager() FAILED! ==> 5\n"}},
    {"OpenRefusedAfterTheStart",
     {{"IDeviceFile::Open", 2}, {"IDeviceFile::Open", 5}},
     {"1" + kInit + "CreateFile() FAILED! ==> 5\n"}},
};

class StartFailure : public PortDriver, public testing::WithParamInterface<FAILURE>
{};

TEST_P(StartFailure, IsSaidAndGivesZero)
{
    std::map<std::string, unsigned> calls;
    for (const auto& [pszOperation, dwCode] : GetParam().faults)
        m_machine.Faults().FailCall(pszOperation, ++calls[pszOperation], dwCode);
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(LastLines(GetParam().says.size()), GetParam().says);
    EXPECT_EQ(m_machine.Faults().Pending(), 0u);
    EXPECT_EQ(m_machine.Handles().Describe(), "");
    EXPECT_EQ(CRequestCMDTestAccess::Driver(), InvalidHandle());
}

INSTANTIATE_TEST_SUITE_P(All, StartFailure, testing::ValuesIn(kFailures),
                         [](const auto& row) { return std::string(row.param.pszCase); });

TEST_F(PortDriver, ThatStartsAtTheSecondTryIsReady)
{
    m_machine.Faults().FailNext("IServiceManager::Start", 31);
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(
        LastLines(3),
        ElementsAre(
            "1|CRequestCMD::StartDriver|CSmBus::StartDriver(): StartService() FAILED! ==> 31\n",
            "1" + kInit + "Unable to install driver!\n",
            "1|CRequestCMD::StopDriver|CSmBus::StopDriver(): ControlService()  FAILED! ==> 1062\n"));
    EXPECT_THAT(m_machine.Services().Log(),
                ElementsAre("create voport", "stop voport -> 1062", "delete voport",
                            "create voport", "start voport"));
    m_cmd.XH_UnInitVoPortDriver();
}

TEST_F(PortDriver, ThatNeverStartsIsRemoved)
{
    SimService broken;
    broken.strName = WTEXT("voport");
    broken.dwStartError = 577;
    m_machine.Services().SetTemplate(broken);
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(m_machine.Services().Find(WTEXT("voport")), nullptr);
    EXPECT_THAT(m_log.Lines(), Contains("1" + kInit + "Unable to install driver again!\n"));
}

TEST_F(PortDriver, WithoutAFileAnywhereIsNotNamed)
{
    WCHAR szPath[260] = {};
    EXPECT_EQ(m_cmd.SetupDriverName(szPath), 0);
    EXPECT_EQ(m_log.Lines().back(), "1" + kSetup + "CreateFile() FAILED! ==> 2\n");
    m_machine.Faults().FailNext("IFileSystem::WindowsFolder", 5);
    EXPECT_EQ(m_cmd.SetupDriverName(szPath), 0);
    EXPECT_EQ(m_log.Lines().back(), "1" + kSetup + "GetWindowsDirectory() FAILED! ==> 5\n");
}

TEST_F(PortDriver, BeforeItsStartHasNothingToClose)
{
    EXPECT_EQ(m_cmd.XH_UnInitVoPortDriver(), 1);
    EXPECT_EQ(m_machine.Faults().Calls("IDeviceFile::Close"), 0u);
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(PortDriver, ThatDoesNotCloseIsForgottenAllTheSame)
{
    Start();
    m_machine.Faults().FailNext("IDeviceFile::Close", 6);
    EXPECT_EQ(m_cmd.XH_UnInitVoPortDriver(), 1);
    EXPECT_EQ(m_log.Lines().back(), "1|CRequestCMD::XH_UnInitVoPortDriver|CSmBus::"
                                    "CloseVoportDriver(): Failed to close device.\n");
    EXPECT_EQ(CRequestCMDTestAccess::Driver(), nullptr);
}

TEST_F(PortDriver, StartedTwiceLeavesTheFirstHandleOpen)
{
    // Deliberate: a start forgets what an earlier one opened.
    Start();
    Start();
    m_cmd.XH_UnInitVoPortDriver();
    EXPECT_EQ(m_machine.Handles().Describe(), "control device \\\\.\\voport\n");
}

class Service : public PortDriver
{
protected:
    Service() : m_hManager(m_machine.ServiceManager().OpenManager(kManagerAllAccess))
    {
        m_machine.Volume().Put(kInstalled, {1});
    }
    void TearDown() override
    {
        m_machine.ServiceManager().Close(m_hManager);
        EXPECT_EQ(m_machine.Handles().Describe(), "");
    }

    const WCHAR* const m_pszName = WTEXT("voport");
    HANDLE m_hManager;
};

TEST_F(Service, IsManagedByTwoFunctionsOnly)
{
    EXPECT_EQ(m_cmd.ManageDriver(m_pszName, kInstalled, 1), 1);
    EXPECT_EQ(m_cmd.ManageDriver(m_pszName, kInstalled, 2), 1);
    EXPECT_THAT(m_machine.Services().Log(),
                ElementsAre("create voport", "start voport", "stop voport", "delete voport"));
    EXPECT_EQ(m_cmd.ManageDriver(m_pszName, kInstalled, 2), 1) << "whatever came of it";
    EXPECT_THAT(
        LastLines(2),
        ElementsAre(
            "1|CRequestCMD::StopDriver|CSmBus::StopDriver(): OpenService() FAILED! ==> 1060\n",
            "1|CRequestCMD::RemoveDriver|CSmBus::RemoveDriver(): OpenService() FAILED! ==> "
            "1060\n"));
    for (const USHORT wFunction : {USHORT{0}, USHORT{3}}) {
        EXPECT_EQ(m_cmd.ManageDriver(m_pszName, kInstalled, wFunction), 0);
        EXPECT_EQ(m_log.Lines().back(),
                  "1|CRequestCMD::ManageDriver|CSmBus::ManageDriver(): Unknown function type. \n");
    }
}

TEST_F(Service, NeedsAPathAndAName)
{
    const std::string strSays = "1|CRequestCMD::ManageDriver|CSmBus::ManageDriver(): Invalid "
                                "Driver or Service provided to ManageDriver() \n";
    EXPECT_EQ(m_cmd.ManageDriver(m_pszName, nullptr, 1), 0);
    EXPECT_EQ(m_cmd.ManageDriver(nullptr, kInstalled, 1), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre(strSays, strSays));
}

TEST_F(Service, ThatIsThereOrRunsAlreadyIsNoFailure)
{
    EXPECT_EQ(m_cmd.InstallDriver(m_hManager, m_pszName, kInstalled), 1);
    EXPECT_EQ(m_cmd.InstallDriver(m_hManager, m_pszName, kInstalled), 1);
    EXPECT_EQ(m_cmd.StartDriver(m_hManager, m_pszName), 1);
    EXPECT_EQ(m_cmd.StartDriver(m_hManager, m_pszName), 1);
    EXPECT_THAT(m_log.Lines(), IsEmpty());
    EXPECT_EQ(m_cmd.StopDriver(m_hManager, m_pszName), 1);
    EXPECT_EQ(m_cmd.RemoveDriver(m_hManager, m_pszName), 1);
    EXPECT_EQ(m_machine.Services().Find(m_pszName), nullptr);
}

TEST_F(Service, FailuresNameStepAndError)
{
    m_machine.Faults().FailNext("IServiceManager::Create", 5);
    EXPECT_EQ(m_cmd.InstallDriver(m_hManager, m_pszName, kInstalled), 0);
    EXPECT_EQ(m_cmd.StartDriver(m_hManager, m_pszName), 0);
    m_cmd.InstallDriver(m_hManager, m_pszName, kInstalled);
    EXPECT_EQ(m_cmd.StopDriver(m_hManager, m_pszName), 0);
    m_machine.Faults().FailNext("IServiceManager::Remove", 5);
    EXPECT_EQ(m_cmd.RemoveDriver(m_hManager, m_pszName), 0);
    EXPECT_THAT(
        m_log.Lines(),
        ElementsAre(
            "1|CRequestCMD::InstallDriver|CSmBus::InstallDriver(): CreateService() FAILED! ==> 5\n",
            "1|CRequestCMD::StartDriver|CSmBus::StartDriver(): OpenService() FAILED! ==> 1060\n",
            "1|CRequestCMD::StopDriver|CSmBus::StopDriver(): ControlService()  FAILED! ==> 1062\n",
            "1|CRequestCMD::RemoveDriver|RemoveDriver(): DeleteService() FAILED! ==> 5\n"));
}
} // namespace
