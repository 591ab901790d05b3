#include "sim/CSimMachine.h"

#include <gmock/gmock.h>
#include <thread>

using testing::ElementsAre;
using testing::Pair;

namespace
{
TEST(MachineFaults, HitTheCallThatWasNamedAndCountAll)
{
    CSimMachine machine;
    CSimFileSystem& files = machine.FileSystem();
    WCHAR folder[64];
    machine.Faults().FailCall("IFileSystem::SystemFolder", 2, 1234);
    EXPECT_NE(files.SystemFolder(folder, 64), 0u);
    EXPECT_EQ(machine.Faults().Pending(), 1u);
    EXPECT_EQ(files.SystemFolder(folder, 64), 0u);
    EXPECT_EQ(machine.Process().LastError(), 1234u);
    EXPECT_NE(files.SystemFolder(folder, 64), 0u);
    EXPECT_EQ(machine.Faults().Fired(), 1u);
    EXPECT_THAT(machine.Faults().Counts(), ElementsAre(Pair("IFileSystem::SystemFolder", 3u)));

    machine.Faults().FailAlways("IFileSystem::SystemFolder", 5);
    EXPECT_EQ(files.SystemFolder(folder, 64), 0u);
    machine.Faults().Clear();
    EXPECT_NE(files.SystemFolder(folder, 64), 0u);
}

TEST(MachineFaults, RefuseNamesThatCannotHappen)
{
    CSimFaults faults;
    EXPECT_THROW(faults.FailNext("IFileSystem::Opne", 5), std::invalid_argument);
    EXPECT_THROW(faults.FailNext("IClock::Sleep", 5), std::invalid_argument);
    faults.Count("IFileSystem::Open");
    EXPECT_THROW(faults.FailCall("IFileSystem::Open", 1, 5), std::invalid_argument);
}

TEST(MachineFaults, KnowWhatTheCodeOfAnOperationMeans)
{
    EXPECT_EQ(CSimFaults::KindOf("IDeviceTree::GetParent"), SimCodeKind::ConfigResult);
    EXPECT_EQ(CSimFaults::KindOf("IPowerSwitch::ExecQuery"), SimCodeKind::HResult);
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

TEST(MachineProcess, KeepsALastErrorPerThread)
{
    CSimMachine machine;
    machine.Process().SetLastError(5);
    DWORD dwOther = 99;
    std::thread([&] { dwOther = machine.Process().LastError(); }).join();
    EXPECT_EQ(dwOther, 0u);
    EXPECT_EQ(machine.Process().LastError(), 5u);
}

TEST(MachineProcess, NarrowsTextAndAsksForRoom)
{
    CSimMachine machine;
    CSimProcess& process = machine.Process();
    const WCHAR text[] = {'a', 0xE9, 0xD83D, 0xDE00, 0xD800, 0};
    char buffer[16] = {};
    EXPECT_EQ(process.NarrowText(text, -1, nullptr, 0), 9);
    EXPECT_EQ(process.NarrowText(text, -1, buffer, 8), 0);
    EXPECT_EQ(process.LastError(), kErrInsufficientBuffer);
    EXPECT_EQ(process.NarrowText(text, -1, buffer, 9), 9);
    EXPECT_STREQ(buffer, "a\xC3\xA9\xF0\x9F\x98\x80?");
    EXPECT_EQ(process.NarrowText(text, 1, buffer, 16), 1);
}

TEST(MachineProcess, OffersThePortDriverOnlyWhereTheLibraryLooks)
{
    CSimMachine machine;
    CSimProcess& process = machine.Process();
    const HANDLE hResource = process.LocateResource(nullptr, 0, nullptr);
    ASSERT_NE(hResource, nullptr);
    EXPECT_NE(process.PinResource(process.FetchResource(hResource)), nullptr);
    EXPECT_EQ(process.ResourceSize(hResource), 4096u);
    EXPECT_EQ(process.LocateResource(nullptr, 1, nullptr), nullptr);
    machine.Traits().portDriver.clear();
    EXPECT_EQ(process.LocateResource(nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(process.LastError(), kErrResourceDataNotFound);
}

TEST(MachineClock, JumpsWithSleepsAndRunsWhatFallsDue)
{
    CSimMachine machine;
    std::vector<CSimClock::Micros> at;
    machine.Time().Schedule(1500, [&] { at.push_back(machine.Time().Now()); });
    machine.Clock().Sleep(3000);
    EXPECT_THAT(at, ElementsAre(1500u));
    EXPECT_EQ(machine.Time().Now(), 3000000u);
    const LONGLONG first = machine.Clock().Counter();
    EXPECT_EQ(machine.Clock().Counter() - first, machine.Clock().Frequency() / 1000000);
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

TEST(MachineHostFiles, StayInMemoryWhenTold)
{
    CSimMachine machine;
    CSimHostFiles& files = machine.HostFiles();
    files.UseMemory();
    EXPECT_EQ(files.OpenForReading("/no/file"), InvalidHandle());
    const HANDLE hLog = files.OpenForAppending("/no/file");
    EXPECT_TRUE(files.Write(hLog, "ab", 2));
    machine.Faults().FailNext("IHostFiles::Write", kErrDiskFull);
    EXPECT_FALSE(files.Write(hLog, "xx", 2));
    EXPECT_TRUE(files.Write(hLog, "c", 1));
    EXPECT_TRUE(files.Close(hLog));
    EXPECT_EQ(files.Text("/no/file"), "abc");

    const HANDLE hFile = files.OpenForReading("/no/file");
    char text[2] = {};
    DWORD cbDone = 0;
    EXPECT_TRUE(files.Read(hFile, text, 2, &cbDone));
    EXPECT_TRUE(files.Read(hFile, text, 2, &cbDone));
    EXPECT_EQ(cbDone, 1u);
    EXPECT_EQ(text[0], 'c');
    EXPECT_FALSE(files.Write(hFile, "x", 1));
    EXPECT_TRUE(files.Close(hFile));
    EXPECT_TRUE(files.Remove("/no/file"));
    EXPECT_EQ(files.Data("/no/file"), nullptr);
}
} // namespace
