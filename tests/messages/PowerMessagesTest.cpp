#include <gtest/gtest.h>

#include "messages/CMessageBench.h"

namespace
{
constexpr DWORD kHResult = 0x80041013;

CSimCompanion& NotElevated(CMessageBench& bench)
{
    bench.machine.Traits().bElevated = false;
    bench.machine.Companion().Install();
    return bench.machine.Companion();
}

void ByCompanion(CMessageBench& bench)
{
    NotElevated(bench);
}

// The hub's power saving is switched off (by an open) and on again; one step fails.
const Story kStories[] = {
    {"power_switch"},
    {"power_no_set", {"IDeviceTree::GetClassDevs", 0}},
    {"power_no_com", {"IPowerSwitch::InitializeCom", 0, kHResult}},
    {"power_no_security", {"IPowerSwitch::InitializeSecurity", 0, kHResult}},
    {"power_no_locator", {"IPowerSwitch::CreateLocator", 0, kHResult}},
    {"power_no_connection", {"IPowerSwitch::ConnectServer", 0, kHResult}},
    {"power_no_blanket", {"IPowerSwitch::SetProxyBlanket", 0, kHResult}},
    {"power_no_query", {"IPowerSwitch::ExecQuery", 0, kHResult}},
    {"power_not_written", {"IPowerSwitch::PutInstance", 0, kHResult}},
    {"power_by_companion", {}, ByCompanion},
    {"power_companion_problem_node",
     {},
     [](CMessageBench& b) {
         NotElevated(b);
         b.node.Spec().dwStatus |= kNodeHasProblem;
     }},
    {"power_companion_absent", {}, [](CMessageBench& b) { NotElevated(b).Remove(); }},
    {"power_companion_no_pipe", {}, [](CMessageBench& b) { NotElevated(b).SetPipePresent(false); }},
    {"power_companion_pipe_not_opened", {"IEventPipe::OpenPipe", 0}, ByCompanion},
    {"power_companion_not_written", {"IEventPipe::WritePipe", 0, kErrGenFailure}, ByCompanion},
    {"power_companion_wait_fails", {"IEventPipe::WaitEvent", 0, kErrInvalidHandle}, ByCompanion},
};

TEST(PowerMessages, AreThese)
{
    for (const Story& story : kStories) {
        CMessageBench bench;
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        story.Prepare(bench);
        const CMessageLog log;

        transport.KyHub_OpenDeviceByDevInst(bench.HubInst());
        transport.KyHub_CloseDevice();
        transport.KyHub_TurnOnHubSS(bench.HubInst());

        ExpectTranscript(story.pszName, log);
    }
}
} // namespace
