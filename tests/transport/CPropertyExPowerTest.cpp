#include "TransportBench.h"

#include "platform/ErrorCodes.h"
#include "transport/CWmiSwitch.h"
#include "transport/PipeRequest.h"

namespace
{
constexpr DWORD kDenied = 0x80070005;
constexpr DWORD kWasEnabled = 0xFFFFFFFF;

constexpr const char* kOff = "CPropertyEx::KyHub_TurnOffHubSS";
constexpr const char* kOn = "CPropertyEx::KyHub_TurnOnHubSS";
constexpr const char* kAdmin = "CPropertyEx::IsRunasAdmin";
constexpr const char* kWmiOff = "CPropertyEx::Wmi_TurnoffSS";
constexpr const char* kWmiOn = "CPropertyEx::Wmi_TurnOnSS";
constexpr const char* kService = "CPropertyEx::WaitServiceSwitchSS";

void Off(CBench& b)
{
    b.Access().TurnOff(CBench::kHub);
}

void On(CBench& b)
{
    b.transport.KyHub_TurnOnHubSS(CBench::kHub);
}

/// Both directions with the next call of an operation failing.
void OffWith(CBench& b, const char* pszOperation, DWORD dwCode)
{
    b.machine.Faults().FailNext(pszOperation, dwCode);
    Off(b);
}

void OnWith(CBench& b, const char* pszOperation, DWORD dwCode)
{
    b.machine.Faults().FailNext(pszOperation, dwCode);
    On(b);
}

/// Without rights, with the companion service in place.
void OffByService(CBench& b, void (*pfnTrouble)(CBench&))
{
    b.machine.Traits().bElevated = false;
    b.machine.Companion().Install();
    pfnTrouble(b);
    Off(b);
}

const MessageCase kPowerMessages[] = {
    {"OffNoSet", [](CBench& b) { OffWith(b, "IDeviceTree::GetClassDevs", 5); }, MSG_FAIL, kOff,
     "SetupDiGetClassDevs failed 5\n"},
    {"OnNoSet", [](CBench& b) { OnWith(b, "IDeviceTree::GetClassDevs", 5); }, MSG_FAIL, kOn,
     "SetupDiGetClassDevs failed 5\n"},
    {"OffHub", Off, MSG_INFO, kOff, "HUB index 0,  Device IDUSB\\VID_1234&PID_5678\\5&1A2B&0&3\n"},
    {"OnHub", On, MSG_INFO, kOn, "HUB index 0,  Device IDUSB\\VID_1234&PID_5678\\5&1A2B&0&3\n"},
    {"OffResult", Off, MSG_INFO, kOff, "Turnoff Quorvex Hub SS Ret=1.\n"},
    {"OnResult", On, MSG_INFO, kOn, "TurnOn Quorvex Hub SS Ret=1.\n"},
    {"TokenRead", Off, MSG_INFO, kAdmin, "GetTokenInformation return TRUE\n"},
    {"Elevated", Off, MSG_INFO, kAdmin, "tokenEle.TokenIsElevated=1\n"},
    {"Admin", Off, MSG_INFO, kAdmin, "IsRunasAdmin return 1\n"},
    {"OffSecurity", [](CBench& b) { OffWith(b, "IPowerSwitch::InitializeSecurity", kDenied); },
     MSG_ERROR, kWmiOff, "Failed to initialize security.Error code = 0x80070005 \n"},
    {"OnSecurity", [](CBench& b) { OnWith(b, "IPowerSwitch::InitializeSecurity", kDenied); },
     MSG_ERROR, kWmiOn, "Failed to initialize security.Error code = 0x80070005 \n"},
    {"OffLocator", [](CBench& b) { OffWith(b, "IPowerSwitch::CreateLocator", kDenied); }, MSG_ERROR,
     kWmiOff, "Failed to create IWbemLocator object. Error code = 0x80070005 . \n"},
    {"OnLocator", [](CBench& b) { OnWith(b, "IPowerSwitch::CreateLocator", kDenied); }, MSG_ERROR,
     kWmiOn, "Failed to create IWbemLocator object. Error code = 0x80070005 . \n"},
    {"OffConnect", [](CBench& b) { OffWith(b, "IPowerSwitch::ConnectServer", kDenied); }, MSG_ERROR,
     kWmiOff, "Could not connect. Error code = 0x80070005. \n"},
    {"OnConnect", [](CBench& b) { OnWith(b, "IPowerSwitch::ConnectServer", kDenied); }, MSG_ERROR,
     kWmiOn, "Could not connect. Error code = 0x80070005. \n"},
    {"OffConnected", Off, MSG_INFO, kWmiOff, "Connected to ROOT\\WMI WMI namespace. \n"},
    {"OnConnected", On, MSG_INFO, kWmiOn, "Connected to ROOT\\WMI WMI namespace. \n"},
    {"OffBlanket", [](CBench& b) { OffWith(b, "IPowerSwitch::SetProxyBlanket", kDenied); },
     MSG_ERROR, kWmiOff, "Could not set proxy blanket. Error code = 0x80070005. \n"},
    {"OnBlanket", [](CBench& b) { OnWith(b, "IPowerSwitch::SetProxyBlanket", kDenied); }, MSG_ERROR,
     kWmiOn, "Could not set proxy blanket. Error code = 0x80070005. \n"},
    {"EmptyPattern",
     [](CBench&) {
         WString strText = WTEXT("a");
         ReplaceAllString(&strText, {}, WTEXT("b"));
     },
     MSG_FAIL, "ReplaceAllString", "Make sure string is exist\n"},
    {"OffQueryText", Off, MSG_INFO, kWmiOff,
     "Query string=SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE "
     "\"USB\\\\VID[_]1234&PID[_]5678\\\\5&1A2B&0&3%%\"\n"},
    {"OnQueryText", On, MSG_INFO, kWmiOn,
     "Query string=SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE "
     "\"USB\\\\VID[_]1234&PID[_]5678\\\\5&1A2B&0&3%%\"\n"},
    {"OffQueryFails", [](CBench& b) { OffWith(b, "IPowerSwitch::ExecQuery", kDenied); }, MSG_FAIL,
     kWmiOff, "ExecQuery for MSPower_DeviceEnable fail. Error code = 0x80070005. \n"},
    {"OnQueryFails", [](CBench& b) { OnWith(b, "IPowerSwitch::ExecQuery", kDenied); }, MSG_FAIL,
     kWmiOn, "ExecQuery for MSPower_DeviceEnable fail. Error code = 0x80070005. \n"},
    {"OffInstance", Off, MSG_INFO, kWmiOff,
     "Device InstanceName : USB\\VID_1234&PID_5678\\5&1A2B&0&3_0. \n"},
    {"OnInstance", On, MSG_INFO, kWmiOn,
     "Device InstanceName : USB\\VID_1234&PID_5678\\5&1A2B&0&3_0. \n"},
    {"OffEnable", Off, MSG_INFO, kWmiOff, "Device Power Enable = -1.\n"},
    {"OnEnable",
     [](CBench& b) {
         b.node.SetPowerSaving(false);
         On(b);
     },
     MSG_INFO, kWmiOn, "Device Power Enable = 0.\n"},
    {"OffWritten", Off, MSG_INFO, kWmiOff, "Set Enable=False Succeeded.\n"},
    {"OffNotWritten", [](CBench& b) { OffWith(b, "IPowerSwitch::PutInstance", kDenied); }, MSG_FAIL,
     kWmiOff, "Set Enable=False Failed. hRes=0n-2147024891. \n"},
    {"OnNotWritten", [](CBench& b) { OnWith(b, "IPowerSwitch::PutInstance", kDenied); }, MSG_ERROR,
     kWmiOn, "Set Enable=TRUE Failed, hres=0n-2147024891.\n"},
    {"OnNoCom", [](CBench& b) { OnWith(b, "IPowerSwitch::InitializeCom", kDenied); }, MSG_ERROR,
     kWmiOn, "Failed to initialize COM library. Error code = 0x80070005 \n"},
    {"ServiceNoIds",
     [](CBench& b) {
         OffByService(b, [](CBench& c) { c.node.Spec().dwStatus |= kNodeHasProblem; });
     },
     MSG_FAIL, kService, "WaitServiceSwitchSS return, error for nStringCount=0. \n"},
    {"ServiceNoEvent",
     [](CBench& b) { OffByService(b, [](CBench& c) { c.machine.Companion().Remove(); }); },
     MSG_FAIL, kService,
     "CreateEvent for named event \"Global\\CancelSSEvent\" failed,error=0x2 \n"},
    {"ServiceNoPipe",
     [](CBench& b) {
         OffByService(b, [](CBench& c) { c.machine.Companion().SetPipePresent(false); });
     },
     MSG_FAIL, kService, "Named pipe \\\\.\\pipe\\XHubServicePipe didn't exist, error=0x2 \n"},
    {"ServicePipeRefused",
     [](CBench& b) {
         OffByService(b, [](CBench& c) { c.machine.Faults().FailNext("IEventPipe::OpenPipe", 5); });
     },
     MSG_FAIL, kService, "CreateFile for XHubService named pipe fail, error=0x5 \n"},
    {"ServiceNotWritten",
     [](CBench& b) {
         OffByService(b,
                      [](CBench& c) { c.machine.Faults().FailNext("IEventPipe::WritePipe", 232); });
     },
     MSG_FAIL, kService, "WriteFile for nString = 1, GetLastError=0xe8 \n"},
    {"ServiceWaitFails",
     [](CBench& b) {
         OffByService(b,
                      [](CBench& c) { c.machine.Faults().FailNext("IEventPipe::WaitEvent", 6); });
     },
     MSG_FAIL, kService, "Waitfor XHubSSEvent Failed. lasterror=0x6 \n"},
    {"ServiceDone", [](CBench& b) { OffByService(b, [](CBench&) {}); }, MSG_INFO, kService,
     "Waitfor XHubSSEvent Success\n"},
};
INSTANTIATE_TEST_SUITE_P(Power, TransportMessage, testing::ValuesIn(kPowerMessages), CaseName);
} // namespace

TEST(SelectiveSuspend, IsSwitchedOffAndTheOldValueHandedOut)
{
    CBench bench;
    DWORD dwOld = 0;
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub, dwOld), 1);
    EXPECT_EQ(dwOld, kWasEnabled);
    EXPECT_FALSE(bench.node.PowerSaving());

    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub, dwOld), 1);
    EXPECT_EQ(dwOld, 0u) << "it is off by now";

    EXPECT_EQ(bench.transport.KyHub_TurnOnHubSS(CBench::kHub), 1);
    EXPECT_TRUE(bench.node.PowerSaving());
    EXPECT_EQ(bench.machine.PowerSwitch().ComDepth(), 0);
    EXPECT_EQ(bench.machine.Handles().Describe(), "");
}

TEST(SelectiveSuspend, OfANodeWithAProblemIsDoneWithoutAQuery)
{
    CBench bench;
    bench.node.Spec().dwStatus |= kNodeHasProblem;
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

/// What a failing step gives back; every way leaves COM and gives all handles back.
struct StepCase
{
    const char* pszOperation;
    int nOff;
    int nOn;
};

class SuspendStep : public testing::TestWithParam<StepCase>
{};

TEST_P(SuspendStep, ThatFailsLeavesNothingBehind)
{
    CBench bench;
    bench.machine.Faults().FailNext(GetParam().pszOperation, kDenied);
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub), GetParam().nOff);
    bench.machine.Faults().FailNext(GetParam().pszOperation, kDenied);
    EXPECT_EQ(bench.transport.KyHub_TurnOnHubSS(CBench::kHub), GetParam().nOn);
    EXPECT_EQ(bench.machine.Faults().Fired(), 2u);
    EXPECT_EQ(bench.machine.PowerSwitch().ComDepth(), 0);
    EXPECT_TRUE(bench.machine.Handles().Misuses().empty());
    EXPECT_EQ(bench.machine.Handles().Describe(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Steps, SuspendStep,
    testing::Values(
        StepCase{"IDeviceTree::GetClassDevs", 0, 0}, StepCase{"IPowerSwitch::InitializeCom", 0, 0},
        StepCase{"IPowerSwitch::InitializeSecurity", 0, 0},
        StepCase{"IPowerSwitch::CreateLocator", 0, 0},
        StepCase{"IPowerSwitch::ConnectServer", 0, 0},
        StepCase{"IPowerSwitch::SetProxyBlanket", 0, 0}, StepCase{"IPowerSwitch::ExecQuery", 0, 0},
        StepCase{"IPowerSwitch::Next", 1, 1}, StepCase{"IPowerSwitch::GetText", 1, 1},
        // Deliberate: switching on counts as done whatever the writes gave.
        StepCase{"IPowerSwitch::PutSwitch", 0, 1}, StepCase{"IPowerSwitch::PutInstance", 0, 1}),
    [](const auto& tested) {
        return std::string(tested.param.pszOperation)
            .substr(tested.param.pszOperation[1] == 'D' ? 13 : 14);
    });

TEST(SelectiveSuspend, IsSwitchedOffWhateverComSays)
{
    CBench bench;
    bench.machine.Faults().FailNext("IPowerSwitch::InitializeCom", 0x80010106);
    bench.Access().TurnOff(CBench::kHub);
    EXPECT_EQ(bench.machine.Faults().Calls("IPowerSwitch::InitializeSecurity"), 1u);
    bench.machine.Faults().FailNext("IPowerSwitch::InitializeCom", 0x80010106);
    bench.transport.KyHub_TurnOnHubSS(CBench::kHub);
    EXPECT_EQ(bench.machine.Faults().Calls("IPowerSwitch::InitializeSecurity"), 1u);
}

TEST(SelectiveSuspend, TakesTooLateSecurityForSetUp)
{
    CBench bench;
    bench.machine.Faults().FailNext("IPowerSwitch::InitializeSecurity", DWORD(kHrTooLate));
    EXPECT_EQ(bench.Access().TurnOff(CBench::kHub), 1);
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

TEST(SelectiveSuspend, RequestNeedsAList)
{
    CBench bench;
    EXPECT_EQ(bench.Access().WaitService(nullptr, 1, 0), 0);
    EXPECT_TRUE(bench.log.Says("WaitServiceSwitchSS return, error for nStringCount=0. \n"));
}

TEST(Elevation, IsReadFromTheToken)
{
    CBench bench;
    bench.machine.Traits().bElevated = false;
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0);
    EXPECT_TRUE(bench.log.Says("tokenEle.TokenIsElevated=0\n"));

    bench.machine.Traits().bElevated = true;
    bench.machine.Traits().cbElevation = 8;
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0) << "only an answer of four bytes counts";
    bench.machine.Traits().cbElevation = 4;
    bench.machine.Faults().FailNext("IProcess::TokenElevation", 5);
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0);
    EXPECT_EQ(bench.log.Lines().back(), "0|CPropertyEx::IsRunasAdmin|IsRunasAdmin return 0\n");
    bench.log.Clear();
    bench.machine.Faults().FailNext("IProcess::OpenToken", 5);
    EXPECT_EQ(bench.Access().IsRunasAdmin(), 0);
    EXPECT_TRUE(bench.log.Lines().empty());
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
