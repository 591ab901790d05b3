#include "TransportBench.h"

#include "platform/ErrorCodes.h"
#include "transport/CWmiSwitch.h"
#include "transport/PipeRequest.h"

namespace
{
constexpr DWORD kDenied = 0x80070005;
} // namespace

TEST(SelectiveSuspend, OfANodeWithAProblemIsDoneWithoutAQuery)
{
    CBench bench;
    bench.node.Traits().dwStatus |= kNodeHasProblem;
    DWORD dwOld = 77;
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub, dwOld), 1);
    EXPECT_EQ(dwOld, 77u) << "nothing was found, so nothing is handed out";
    EXPECT_TRUE(bench.machine.PowerSwitch().Queries().empty());
    EXPECT_TRUE(bench.node.PowerSaving());
}

TEST(SelectiveSuspend, GoesOnWhateverErrorASuccessfulSetLeaves)
{
    CBench bench;
    bench.machine.Tree().SetLastErrorAfterSuccess(kErrNotAllAssigned);
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub), 1);
    bench.machine.Faults().FailNext("IDeviceTree::GetClassDevs", kErrNotAllAssigned);
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub), 1);
    EXPECT_EQ(bench.machine.Handles().Describe(), "");
    EXPECT_TRUE(bench.machine.Handles().Misuses().empty());
}

TEST(SelectiveSuspend, StepThatFailsLeavesNothingBehind)
{
    // What switching off and on give back; every way leaves COM and gives all handles back.
    const std::tuple<const char*, int, int> kSteps[] = {
        {"IDeviceTree::GetClassDevs", 0, 0},
        {"IPowerSwitch::InitializeCom", 0, 0},
        {"IPowerSwitch::InitializeSecurity", 0, 0},
        {"IPowerSwitch::CreateLocator", 0, 0},
        {"IPowerSwitch::ConnectServer", 0, 0},
        {"IPowerSwitch::SetProxyBlanket", 0, 0},
        {"IPowerSwitch::ExecQuery", 0, 0},
        {"IPowerSwitch::Next", 1, 1},
        {"IPowerSwitch::GetText", 1, 1},
        // Deliberate: switching on counts as done whatever the writes gave.
        {"IPowerSwitch::PutSwitch", 0, 1},
        {"IPowerSwitch::PutInstance", 0, 1}};
    for (const auto& [pszOperation, nOff, nOn] : kSteps) {
        SCOPED_TRACE(pszOperation);
        CBench bench;
        bench.machine.Faults().FailNext(pszOperation, kDenied);
        EXPECT_EQ(bench.Access().TurnOff(CBench::kHub), nOff);
        bench.machine.Faults().FailNext(pszOperation, kDenied);
        EXPECT_EQ(bench.transport.KyHub_TurnOnHubSS(CBench::kHub), nOn);
        EXPECT_EQ(bench.machine.Faults().Fired(), 2u);
        EXPECT_EQ(bench.machine.PowerSwitch().ComDepth(), 0);
        EXPECT_TRUE(bench.machine.Handles().Misuses().empty());
        EXPECT_EQ(bench.machine.Handles().Describe(), "");
    }
}

TEST(SelectiveSuspend, ResultIsThatOfTheLastObjectWritten)
{
    CBench bench;
    bench.node.PowerObjects().push_back({WTEXT("USB\\VID_1234&PID_5678\\5&1A2B&0&3_1"), true});
    bench.machine.Faults().FailCall("IPowerSwitch::PutInstance", 1, kDenied);
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub), 1);
    bench.machine.Faults().FailCall("IPowerSwitch::PutInstance", 4, kDenied);
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub), 0);
}

TEST(SelectiveSuspend, WithoutRightsIsSwitchedByTheService)
{
    CBench bench;
    bench.machine.Traits().bElevated = false;
    bench.machine.Companion().Install();
    DWORD dwOld = 5;
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub, dwOld), 1) << bench.log.Dump();
    EXPECT_EQ(dwOld, 5u);
    EXPECT_FALSE(bench.node.PowerSaving());
    EXPECT_EQ(bench.transport.KyHub_TurnOnHubSS(CBench::kHub), 1);
    EXPECT_TRUE(bench.node.PowerSaving());
    EXPECT_EQ(bench.machine.Companion().Requests().size(), 2u);
    EXPECT_TRUE(bench.machine.Companion().Rejections().empty());
    EXPECT_EQ(bench.machine.Handles().Describe(), "");
}

TEST(SelectiveSuspend, WaitsWithoutLimitForTheService)
{
    CBench bench;
    bench.machine.Traits().bElevated = false;
    bench.machine.Companion().Install();
    bench.machine.Companion().SetSignals(false);
    EXPECT_THROW(bench.Access().TurnOff(CBench::kHub), CWouldBlockForever);
}

TEST(Elevation, IsReadFromTheToken)
{
    CBench bench;
    bench.machine.Traits().bElevated = false;
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0);
    bench.machine.Traits().bElevated = true;
    bench.machine.Traits().cbElevation = 8;
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0) << "only an answer of four bytes counts";
    bench.machine.Traits().cbElevation = 4;
    bench.machine.Faults().FailNext("IProcess::TokenElevation", 5);
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0);
    bench.machine.Faults().FailNext("IProcess::OpenToken", 5);
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0);
    EXPECT_EQ(bench.machine.Handles().Describe(), "");
}

TEST(Elevation, IsGivenOnSystemsBeforeItAndRemembered)
{
    CBench bench;
    bench.machine.Traits().bElevated = false;
    bench.machine.Traits().dwMajor = 5;
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 1);
    bench.machine.Faults().FailNext("IProcess::SystemVersion", 1);
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 1) << "still taken for the old system";
    bench.machine.Traits().dwMajor = 6;
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0);
    bench.machine.Faults().FailNext("IProcess::SystemVersion", 1);
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0) << "still taken for the later system";
}

TEST(PowerQueryText, EscapesUnderscoresAndBackslashesOnce)
{
    EXPECT_EQ(PowerQuery(WTEXT("USB\\VID_1234&PID_5678\\6&1A2B&0&3")),
              WTEXT("SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE "
                    "\"USB\\\\VID[_]1234&PID[_]5678\\\\6&1A2B&0&3%%\""));
    EXPECT_EQ(PowerQuery(WTEXT("a[_]b")),
              WTEXT("SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE \"a[[_]]b%%\""));
}

TEST(PipeRequest, HoldsTheSwitchAndTheListByteForByte)
{
    WCHAR szA[] = WTEXT("a");
    WCHAR szB[] = WTEXT("bc");
    WCHAR* const apszIds[] = {szA, szB};
    EXPECT_EQ(BuildPipeRequest(apszIds, 2, true),
              (std::vector<BYTE>{1, 'a', 0, 0, 0, 'b', 0, 'c', 0, 0, 0, 0, 0}));
    EXPECT_EQ(BuildPipeRequest(apszIds, 1, false), (std::vector<BYTE>{0, 'a', 0, 0, 0, 0, 0}));
}

TEST(PipeRequest, IsCutAtItsLimits)
{
    WString strLong(300, WCHAR{'x'});
    WCHAR* const pszLong = strLong.data();
    EXPECT_EQ(BuildPipeRequest(&pszLong, 1, false).size(), 1u + (200 + 1) * 2 + 2);

    std::vector<WCHAR*> many(20, pszLong);
    EXPECT_EQ(BuildPipeRequest(many.data(), 20, false).size(), 1u + 2047 * 2);
}
