#include "sim/machine/CSimMachine.h"
#include "platform/CLikePattern.h"
#include "wire/DriverNames.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
TEST(MachineFaults, RefuseNamesThatCannotHappen)
{
    CSimFaults faults;
    EXPECT_THROW(faults.FailNext("IFileSystem::Opne", 5), std::invalid_argument);
    EXPECT_THROW(faults.FailNext("IClock::Sleep", 5), std::invalid_argument);
    faults.Count("IFileSystem::Open");
    EXPECT_THROW(faults.FailCall("IFileSystem::Open", 1, 5), std::invalid_argument);
}

TEST(MachineHandles, ShowWhatIsOpenAndWhatWasClosedWrongly)
{
    CSimMachine machine;
    const HANDLE hEvent = machine.EventPipe().MakeEvent(false, false);
    EXPECT_EQ(machine.Handles().Describe(), "event unnamed\n");
    EXPECT_FALSE(machine.FileSystem().Close(hEvent));
    EXPECT_EQ(machine.Process().LastError(), kErrInvalidHandle);
    EXPECT_TRUE(machine.EventPipe().CloseEvent(hEvent));
    EXPECT_FALSE(machine.EventPipe().CloseEvent(hEvent));
    EXPECT_THAT(machine.Handles().Misuses(),
                ElementsAre("close of 0x1000: a event, closed by another service",
                            "close of 0x1000: not open"));
}

TEST(MachineClock, TellsTheCalendarTime)
{
    CSimMachine machine;
    machine.Clock().SetStart({2023, 11, 31, 23, 59, 58});
    machine.Clock().Sleep(3000);
    CALENDAR_TIME time = {};
    machine.Clock().LocalTime(&time);
    EXPECT_EQ(time.nYear, 2024);
    EXPECT_EQ(time.nMonth, 0);
    EXPECT_EQ(time.nDay, 1);
    EXPECT_EQ(time.nHour * 3600 + time.nMinute * 60 + time.nSecond, 1);
    machine.Time().Advance(CSimClock::Micros{59} * 86400 * 1000000);
    machine.Clock().LocalTime(&time);
    EXPECT_EQ(time.nMonth, 1);
    EXPECT_EQ(time.nDay, 29);
}

TEST(MachineClock, ReportsPollingThatNothingCanEnd)
{
    CSimMachine machine;
    machine.Polls().SetLimit(100);
    machine.Time().Schedule(500, [] {});
    EXPECT_THROW(for (;;) machine.Clock().Counter(), CWouldBlockForever);
    EXPECT_GE(machine.Time().Now(), 500u) << "while something is scheduled, polling goes on";
    machine.Polls().Progress();
    EXPECT_THROW(for (;;) machine.Ports().Read(0x66, 1), CWouldBlockForever);
    EXPECT_THROW(machine.Clock().Sleep(0xFFFFFFFF), CWouldBlockForever);
    machine.Polls().SetDeadline(machine.Time().Now() + 5000);
    EXPECT_THROW(for (;;) machine.Clock().Sleep(1), CWouldBlockForever);
}

constexpr const WCHAR* kFlag = WTEXT("C:\\Temp\\\\ZelUpx.flag"); // doubled, as composed paths are
constexpr const WCHAR* kFile = WTEXT("C:\\Temp\\a.sys");

class FileSystem : public testing::Test
{
protected:
    HANDLE MakeFlag(CSimMachine& machine)
    {
        return machine.FileSystem().Open(kFlag, kGenericRead | kGenericWrite | kAccessDelete,
                                         kShareAll, kOpenAlways,
                                         kAttributeTemporary | kFlagDeleteOnClose);
    }
    HANDLE OpenFlag(CSimMachine& machine)
    {
        return machine.FileSystem().Open(kFlag, kGenericRead, kShareAll, kOpenExisting,
                                         kAttributeNormal);
    }

    CSimMachine m_first;
    CSimMachine m_second{m_first.System()};
    CSimFileSystem& m_files = m_first.FileSystem();
};

TEST_F(FileSystem, LosesTheFlagFileWithItsLastHolder)
{
    const HANDLE hFirst = MakeFlag(m_first);
    const HANDLE hSecond = OpenFlag(m_second);
    ASSERT_NE(hSecond, InvalidHandle());
    m_second.FileSystem().Close(hSecond);
    EXPECT_NE(OpenFlag(m_second), InvalidHandle()) << "its maker still holds it";

    m_files.Close(hFirst);
    EXPECT_EQ(OpenFlag(m_first), InvalidHandle());
    EXPECT_EQ(m_first.Process().LastError(), kErrAccessDenied) << "deletion is pending";
    m_second.Handles().CloseAll();
    EXPECT_EQ(OpenFlag(m_first), InvalidHandle());
    EXPECT_EQ(m_first.Process().LastError(), kErrFileNotFound);
}

TEST_F(FileSystem, LosesTheFlagFileWhenItsProcessEnds)
{
    {
        CSimMachine third(m_first.System());
        MakeFlag(third);
        EXPECT_TRUE(m_first.Volume().Exists(kFlag));
    }
    EXPECT_FALSE(m_first.Volume().Exists(kFlag));
}

struct Sharing
{
    DWORD dwFirstAccess;
    DWORD dwFirstShare;
    DWORD dwSecondAccess;
    DWORD dwSecondShare;
    bool bOpens;
};

const Sharing kSharings[] = {
    {kGenericRead, kShareRead, kGenericRead, kShareRead, true},
    {kGenericWrite, kShareNone, kGenericRead, kShareAll, false},
    {kGenericRead, kShareRead, kGenericWrite, kShareAll, false},
    {kGenericWrite, kShareAll, kGenericRead, kShareRead, false},
    {kAccessDelete, kShareAll, kGenericRead, kShareRead, false},
    {kGenericWrite, kShareAll, kGenericRead | kGenericWrite, kShareAll, true},
};

TEST_F(FileSystem, SharesFilesByTheSystemsRule)
{
    for (const Sharing& sharing : kSharings) {
        SCOPED_TRACE(&sharing - kSharings);
        CSimMachine first;
        CSimMachine second(first.System());
        first.Volume().Put(kFile, {1});
        first.FileSystem().Open(kFile, sharing.dwFirstAccess, sharing.dwFirstShare, kOpenExisting,
                                0);
        const HANDLE h = second.FileSystem().Open(kFile, sharing.dwSecondAccess,
                                                  sharing.dwSecondShare, kOpenExisting, 0);
        EXPECT_EQ(h != InvalidHandle(), sharing.bOpens);
        EXPECT_EQ(second.Process().LastError(), sharing.bOpens ? 0u : kErrSharingViolation);
    }
}

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
    DWORD LastError() { return m_machine.Process().LastError(); }

    CSimMachine m_machine;
    CSimServiceManager& m_scm = m_machine.ServiceManager();
    HANDLE m_hManager = nullptr;
    SERVICE_STATE m_state = {};
};

TEST_F(ServiceManager, FinishesAStopOnlyWhenTheLastControlHandleIsClosed)
{
    const HANDLE hService = Create();
    ASSERT_TRUE(m_scm.Start(hService));
    IDeviceFile& files = m_machine.DeviceFile();
    const HANDLE hDevice = files.Open(ZELUPX_DEVICE_PATH, kGenericRead, 0, kOpenExisting, 0);
    EXPECT_TRUE(m_scm.Control(hService, kControlStop, &m_state));
    EXPECT_EQ(m_state.dwCurrentState, kStateStopPending);
    files.Close(hDevice);
    EXPECT_FALSE(m_scm.Control(hService, kControlStop, &m_state));
    EXPECT_EQ(LastError(), kErrServiceNotActive);
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

struct Like
{
    const WCHAR* pszPattern;
    const WCHAR* pszText;
    bool bMatches;
};

const Like kLikes[] = {
    {WTEXT("ab%%"), WTEXT("abc_0"), true},    {WTEXT("ab"), WTEXT("abc"), false},
    {WTEXT("a_c"), WTEXT("axc"), true},       {WTEXT("a[_]c"), WTEXT("axc"), false},
    {WTEXT("a[_]c"), WTEXT("a_c"), true},     {WTEXT("[a-c]"), WTEXT("B"), true},
    {WTEXT("[^a-c]"), WTEXT("b"), false},     {WTEXT("[a"), WTEXT("a"), false},
    {WTEXT("%ab%c"), WTEXT("aabxabc"), true},
};

TEST(LikePattern, MatchesAsTheQueryLanguageSays)
{
    for (const Like& like : kLikes)
        EXPECT_EQ(CLikePattern(like.pszPattern).Matches(like.pszText), like.bMatches)
            << &like - kLikes;
}

TEST(PowerSwitch, AnswersAsTheSystemWouldOutOfOrder)
{
    CSimMachine machine;
    CSimPowerSwitch& power = machine.PowerSwitch();
    machine.Tree().AddHub(machine.RootHub(), 1, {});
    HANDLE hLocator = nullptr;
    HANDLE hServices = nullptr;
    HANDLE hEnum = nullptr;
    EXPECT_LT(power.CreateLocator(&hLocator), 0) << "no apartment";
    ASSERT_EQ(power.InitializeCom(2), kHrOk);
    EXPECT_EQ(power.InitializeCom(2), kHrFalse);
    ASSERT_EQ(power.InitializeSecurity(-1, 1, 4, 0), kHrOk);
    EXPECT_EQ(power.InitializeSecurity(-1, 1, 4, 0), kHrTooLate);
    ASSERT_EQ(power.CreateLocator(&hLocator), kHrOk);
    ASSERT_EQ(power.ConnectServer(hLocator, WTEXT("ROOT\\WMI"), &hServices), kHrOk);
    ASSERT_EQ(power.SetProxyBlanket(hServices, 10, 0, 3, 3, 0), kHrOk);
    const auto query = [&](const WCHAR* pszPattern) {
        const WString strQuery =
            WTEXT("SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE \"") +
            WString(pszPattern) + WTEXT("\"");
        return power.ExecQuery(hServices, WTEXT("WQL"), strQuery.c_str(), 0x30, &hEnum);
    };
    EXPECT_LT(query(WTEXT("USB\\X%%")), 0) << "a single backslash is no literal";
    ASSERT_EQ(query(WTEXT("USB\\\\%%")), kHrOk);
    HANDLE hObject = nullptr;
    DWORD dwReturned = 0;
    ASSERT_EQ(power.Next(hEnum, -1, &hObject, &dwReturned), kHrOk);
    machine.Traits().bElevated = false;
    EXPECT_LT(power.PutInstance(hServices, hObject, 1), 0);
    power.UninitializeCom();
    power.UninitializeCom();
    EXPECT_EQ(power.ComDepth(), 0);
    EXPECT_EQ(machine.Handles().Open().size(), 4u) << "locator, services, enumerator, object";
}

TEST(Companion, RefusesWhatIsNotExactlyARequest)
{
    using namespace std::string_literals;
    const std::pair<std::string, const char*> kRequests[] = {
        {"\0a\0\0\0b\0c\0\0\0\0\0"s, nullptr},
        {"\2a\0\0\0\0\0"s, "the switch byte is neither 0 nor 1"},
        {"\0a\0b\0"s, "the list does not end with a zero"},
        {"\0a\0\0\0"s, "the last text has no zero of its own"},
        {"\0a\0\0\0\0"s, "the request is not a switch byte and 16-bit text"},
        {"\0a\0\0\0\0\0\0\0"s, "the list ends before the request does"},
        {"\0\0\0"s, "the list is empty"},
    };
    for (const auto& [strBytes, pszReason] : kRequests) {
        SimCompanionRequest request;
        EXPECT_STREQ(CSimCompanion::Decode(reinterpret_cast<const BYTE*>(strBytes.data()),
                                           strBytes.size(), &request),
                     pszReason);
    }
}

} // namespace
