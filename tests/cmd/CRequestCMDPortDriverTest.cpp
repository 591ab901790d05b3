#include "cmd/PortDriverFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace
{
const WCHAR* const kInstalled = WTEXT("C:\\Windows\\system32\\drivers\\voport.sys");

using PortDriver = PortDriverTest;

TEST_F(PortDriver, IsExtractedInstalledStartedAndOpened)
{
    EXPECT_EQ(Start(), 1);
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

TEST_F(PortDriver, SaysNothingOfWow64WhereNobodyCanBeAsked)
{
    m_machine.Traits().functions.clear();
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(m_log.Lines(), Not(Contains(testing::HasSubstr("m_bIsWow64"))));
    m_cmd.XH_UnInitVoPortDriver();
}

TEST_F(PortDriver, ThatRunsIsOnlyOpened)
{
    EXPECT_EQ(Start(), 1);
    m_cmd.XH_UnInitVoPortDriver();
    EXPECT_EQ(Start(), 1);
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

TEST_F(PortDriver, IsWrittenWhereItsFileHasAnotherSize)
{
    const std::vector<BYTE> vSameSize(4096, 0x11);
    m_machine.Volume().Put(kInstalled, vSameSize);
    EXPECT_EQ(m_cmd.ExtractVoport(0, nullptr), 1);
    EXPECT_EQ(*m_machine.Volume().Data(kInstalled), vSameSize);

    m_machine.Volume().Put(kInstalled, std::vector<BYTE>(5000, 0x11));
    EXPECT_EQ(m_cmd.ExtractVoport(0, nullptr), 1);
    EXPECT_EQ(*m_machine.Volume().Data(kInstalled), m_machine.Traits().portDriver);

    m_machine.Volume().Put(kInstalled, {1});
    m_machine.Faults().FailNext("IFileSystem::Write", 112);
    EXPECT_EQ(m_cmd.ExtractVoport(0, nullptr), 0);
    EXPECT_EQ(m_machine.Handles().Describe(), "");
}

TEST_F(PortDriver, AFailedStartGivesZeroAndLeavesNothingOpen)
{
    const std::pair<const char*, unsigned> failures[] = {
        {"IProcess::LocateResource", 1},   {"IProcess::FetchResource", 1},
        {"IProcess::PinResource", 1},      {"IProcess::ResourceSize", 1},
        {"IFileSystem::WindowsFolder", 1}, {"IFileSystem::Open", 2},
        {"IFileSystem::WorkingFolder", 1}, {"IDeviceFile::Open", 1},
        {"IDeviceFile::Open", 2},
    };
    for (const auto& [pszOperation, nCall] : failures) {
        SCOPED_TRACE(testing::Message() << pszOperation << " " << nCall);
        CSimMachine machine;
        SetCurrentPlatform(&machine);
        machine.Faults().FailCall(pszOperation, nCall, 5);
        EXPECT_EQ(Start(), 0);
        EXPECT_EQ(machine.Faults().Pending(), 0u);
        EXPECT_EQ(machine.Handles().Describe(), "");
        EXPECT_EQ(CRequestCMDTestAccess::Driver(), InvalidHandle());
    }
    SetCurrentPlatform(&m_machine);
}

TEST_F(PortDriver, ThatNeverStartsIsRemoved)
{
    SimService broken;
    broken.strName = WTEXT("voport");
    broken.dwStartError = 577;
    m_machine.Services().SetTemplate(broken);
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(m_machine.Services().Find(WTEXT("voport")), nullptr);
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
    for (const USHORT wFunction : {USHORT{0}, USHORT{3}})
        EXPECT_EQ(m_cmd.ManageDriver(m_pszName, kInstalled, wFunction), 0);
    EXPECT_EQ(m_cmd.ManageDriver(m_pszName, nullptr, 1), 0);
    EXPECT_EQ(m_cmd.ManageDriver(nullptr, kInstalled, 1), 0);
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
} // namespace
