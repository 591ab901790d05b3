#include "sim/CSimMachine.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
constexpr const WCHAR* kImage = WTEXT("C:\\Windows\\system32\\drivers\\ZelUpx.sys");
constexpr DWORD kCreateAccess = 0x10030;

class ServiceManager : public testing::Test
{
protected:
    void SetUp() override
    {
        m_machine.Volume().Put(kImage, {1, 2, 3});
        m_hManager = m_scm.OpenManager(kManagerAllAccess);
    }
    HANDLE Create()
    {
        return m_scm.Create(m_hManager, {WTEXT("ZelUpx"), WTEXT("ZelUpx Driver"), kCreateAccess,
                                         kServiceKernelDriver, kServiceDemandStart,
                                         kServiceErrorIgnore, kImage});
    }
    HANDLE OpenControlDevice()
    {
        return m_machine.DeviceFile().Open(WTEXT("\\\\.\\ZelUpx"), kGenericRead, 0, kOpenExisting,
                                           0);
    }
    DWORD State(HANDLE hService)
    {
        SERVICE_STATE state = {};
        EXPECT_TRUE(m_scm.Query(hService, &state));
        return state.dwCurrentState;
    }
    DWORD LastError() { return m_machine.Process().LastError(); }

    CSimMachine m_machine;
    CSimServiceManager& m_scm = m_machine.ServiceManager();
    HANDLE m_hManager = nullptr;
    SERVICE_STATE m_state = {};
};

TEST_F(ServiceManager, OffersTheControlDeviceWhileTheServiceRuns)
{
    EXPECT_EQ(OpenControlDevice(), InvalidHandle());
    EXPECT_EQ(LastError(), kErrFileNotFound);
    const HANDLE hService = Create();
    EXPECT_EQ(OpenControlDevice(), InvalidHandle());
    ASSERT_TRUE(m_scm.Start(hService));
    EXPECT_FALSE(m_scm.Start(hService));
    EXPECT_EQ(LastError(), kErrServiceAlreadyRunning);
    const HANDLE hDevice = OpenControlDevice();
    EXPECT_NE(hDevice, InvalidHandle());
    EXPECT_THAT(m_machine.Handles().OpenOf("control device"), ElementsAre("\\\\.\\ZelUpx"));
}

TEST_F(ServiceManager, FinishesAStopOnlyWhenTheLastControlHandleIsClosed)
{
    const HANDLE hService = Create();
    ASSERT_TRUE(m_scm.Start(hService));
    const HANDLE hDevice = OpenControlDevice();
    EXPECT_TRUE(m_scm.Control(hService, kControlStop, &m_state));
    EXPECT_EQ(m_state.dwCurrentState, kStateStopPending);
    EXPECT_EQ(OpenControlDevice(), InvalidHandle());

    m_machine.DeviceFile().Close(hDevice);
    const HANDLE hAll = m_scm.OpenNamed(m_hManager, WTEXT("zelupx"), kServiceAllAccess);
    EXPECT_EQ(State(hAll), kStateStopped);
    EXPECT_FALSE(m_scm.Control(hService, kControlStop, &m_state));
    EXPECT_EQ(LastError(), kErrServiceNotActive);
}

TEST_F(ServiceManager, CanBeToldToHangInAStop)
{
    SimService service;
    service.strName = WTEXT("ZelUpx");
    service.bStuckStop = true;
    m_machine.Services().SetTemplate(service);
    const HANDLE hService = Create();
    ASSERT_TRUE(m_scm.Start(hService));
    EXPECT_TRUE(m_scm.Control(hService, kControlStop, &m_state));
    EXPECT_EQ(m_state.dwCurrentState, kStateStopPending);
}

TEST_F(ServiceManager, RemovesAServiceWithItsLastHandle)
{
    const HANDLE hService = Create();
    EXPECT_EQ(Create(), nullptr);
    EXPECT_EQ(LastError(), kErrServiceExists);
    ASSERT_TRUE(m_scm.Remove(hService));
    EXPECT_EQ(Create(), nullptr);
    EXPECT_EQ(LastError(), kErrServiceMarkedForDelete);
    EXPECT_FALSE(m_scm.Start(hService));
    EXPECT_EQ(LastError(), kErrServiceMarkedForDelete);
    m_scm.Close(hService);
    EXPECT_EQ(m_scm.OpenNamed(m_hManager, WTEXT("ZelUpx"), kServiceAllAccess), nullptr);
    EXPECT_EQ(LastError(), kErrServiceDoesNotExist);
    EXPECT_NE(Create(), nullptr);
}

TEST_F(ServiceManager, GivesAHandleOnlyTheRightsThatItWasOpenedWith)
{
    const HANDLE hService = Create(); // delete, start, stop
    EXPECT_FALSE(m_scm.Query(hService, &m_state));
    EXPECT_EQ(LastError(), kErrAccessDenied);
}

TEST_F(ServiceManager, StartsNothingWithoutItsFile)
{
    const HANDLE hService = Create();
    m_machine.Volume().Erase(kImage);
    EXPECT_FALSE(m_scm.Start(hService));
    EXPECT_EQ(LastError(), kErrFileNotFound);
}

TEST_F(ServiceManager, ProtectsTheFileOfARunningDriver)
{
    const HANDLE hService = Create();
    m_machine.Volume().Put(WTEXT("C:\\Temp\\new.sys"), {9});
    ASSERT_TRUE(m_scm.Start(hService));
    CSimFileSystem& files = m_machine.FileSystem();
    EXPECT_FALSE(files.Copy(WTEXT("C:\\Temp\\new.sys"), kImage, false));
    EXPECT_EQ(LastError(), kErrSharingViolation);
    m_scm.Control(hService, kControlStop, &m_state);
    EXPECT_TRUE(files.Copy(WTEXT("C:\\Temp\\new.sys"), kImage, false));
}

TEST_F(ServiceManager, RefusesFullAccessWithoutElevationAndEverythingWhenAbsent)
{
    m_machine.Traits().bElevated = false;
    EXPECT_EQ(m_scm.OpenManager(kManagerAllAccess), nullptr);
    EXPECT_EQ(LastError(), kErrAccessDenied);
    EXPECT_NE(m_scm.OpenManager(1), nullptr);
    m_machine.Services().SetPresent(false);
    EXPECT_EQ(m_scm.OpenManager(1), nullptr);
    EXPECT_EQ(LastError(), kErrCallNotImplemented);
}
} // namespace
