#include <gtest/gtest.h>

#include "messages/CMessageBench.h"
#include "platform/ErrorCodes.h"

namespace
{
constexpr DWORD kHResult = 0x80041013;

/// The hub's power saving is switched off (by an open) and on again; one step fails.
struct PowerStory
{
    const char* pszName;
    void (*pfnPrepare)(CMessageBench& bench);
};

void FailBoth(CMessageBench& bench, const char* pszOperation, DWORD dwCode)
{
    bench.machine.Faults().FailAlways(pszOperation, dwCode);
}

CSimCompanion& NotElevated(CMessageBench& bench)
{
    bench.machine.Traits().bElevated = false;
    bench.machine.Companion().Install();
    return bench.machine.Companion();
}

const PowerStory kStories[] = {
    {"power_switch", [](CMessageBench&) {}},
    {"power_no_set",
     [](CMessageBench& b) { FailBoth(b, "IDeviceTree::GetClassDevs", kErrAccessDenied); }},
    {"power_no_com",
     [](CMessageBench& b) { FailBoth(b, "IPowerSwitch::InitializeCom", kHResult); }},
    {"power_no_security",
     [](CMessageBench& b) { FailBoth(b, "IPowerSwitch::InitializeSecurity", kHResult); }},
    {"power_no_locator",
     [](CMessageBench& b) { FailBoth(b, "IPowerSwitch::CreateLocator", kHResult); }},
    {"power_no_connection",
     [](CMessageBench& b) { FailBoth(b, "IPowerSwitch::ConnectServer", kHResult); }},
    {"power_no_blanket",
     [](CMessageBench& b) { FailBoth(b, "IPowerSwitch::SetProxyBlanket", kHResult); }},
    {"power_no_query", [](CMessageBench& b) { FailBoth(b, "IPowerSwitch::ExecQuery", kHResult); }},
    {"power_not_written",
     [](CMessageBench& b) { FailBoth(b, "IPowerSwitch::PutInstance", kHResult); }},
    {"power_by_companion", [](CMessageBench& b) { NotElevated(b); }},
    {"power_companion_problem_node",
     [](CMessageBench& b) {
         NotElevated(b);
         b.node.Spec().dwStatus |= kNodeHasProblem;
     }},
    {"power_companion_absent", [](CMessageBench& b) { NotElevated(b).Remove(); }},
    {"power_companion_no_pipe", [](CMessageBench& b) { NotElevated(b).SetPipePresent(false); }},
    {"power_companion_pipe_not_opened",
     [](CMessageBench& b) {
         NotElevated(b);
         FailBoth(b, "IEventPipe::OpenPipe", kErrAccessDenied);
     }},
    {"power_companion_not_written",
     [](CMessageBench& b) {
         NotElevated(b);
         FailBoth(b, "IEventPipe::WritePipe", kErrGenFailure);
     }},
    {"power_companion_wait_fails",
     [](CMessageBench& b) {
         NotElevated(b);
         FailBoth(b, "IEventPipe::WaitEvent", kErrInvalidHandle);
     }},
};

class PowerMessages : public testing::TestWithParam<PowerStory>
{};

TEST_P(PowerMessages, AreThese)
{
    CMessageBench bench;
    CPropertyEx transport;
    ASSERT_NE(transport.InitProxyDriver(), 0);
    GetParam().pfnPrepare(bench);
    CMessageRecorder recorder;

    transport.KyHub_OpenDeviceByDevInst(bench.HubInst());
    transport.KyHub_CloseDevice();
    transport.KyHub_TurnOnHubSS(bench.HubInst());

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(, PowerMessages, testing::ValuesIn(kStories),
                         [](const auto& story) { return std::string(story.param.pszName); });
} // namespace
