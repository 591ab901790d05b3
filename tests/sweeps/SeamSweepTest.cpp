#include "api/zelhub.h"
#include "sweeps/SweepRig.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>

namespace
{
/// Two codes that a failing operation may really give.
std::pair<DWORD, DWORD> CodesOf(const std::string& strOperation)
{
    switch (CSimFaults::KindOf(strOperation)) {
    case SimCodeKind::ConfigResult:
        return {0x0D, 0x33}; // no such node; access denied
    case SimCodeKind::HResult:
        return {0x80070005, 0x80004005}; // access denied; unspecified
    default:
        return {kErrAccessDenied, kErrGenFailure};
    }
}

/// One call through the seam that fails.
struct SeamFault
{
    std::string strOperation;
    unsigned nCall;
    DWORD dwCode;
};

std::ostream& operator<<(std::ostream& out, const SeamFault& fault)
{
    return out << fault.strOperation << " call " << fault.nCall << " fails with " << fault.dwCode;
}

/// Every call that a session makes, once with each code.
std::vector<SeamFault> FaultsOf(const std::map<std::string, unsigned>& counts)
{
    std::vector<SeamFault> faults;
    for (const auto& [strOperation, nCalls] : counts) {
        if (CSimFaults::KindOf(strOperation) == SimCodeKind::None)
            continue;
        const auto [dwFirst, dwSecond] = CodesOf(strOperation);
        for (unsigned n = 1; n <= nCalls; ++n) {
            faults.push_back({strOperation, n, dwFirst});
            faults.push_back({strOperation, n, dwSecond});
        }
    }
    return faults;
}

/// What a host of the plain functions saw.
struct PlainSession
{
    bool bStarted = false;
    bool bListed = false;
    DWORD dwCount = 0xCCCCCCCC;
    bool bOpened = false;
    std::size_t nOpenDevices = 0;
    bool bStatus = false;
    bool bClosed = false;
};

PlainSession RunPlain(HubBench& bench)
{
    PlainSession seen;
    _Hub_Info* pList = nullptr;
    seen.bStarted = XH_InitDevice(true);
    seen.bListed = XH_ListAllDevice(&pList, &seen.dwCount);
    seen.bOpened = XH_OpenDeviceEx2(bench.node.DevInst());
    seen.nOpenDevices = bench.machine.Driver().OpenDevices();
    BYTE status[20] = {};
    if (seen.bOpened)
        seen.bStatus = XH_DetectHubStatusForTest(status);
    seen.bClosed = XH_CloseDevice();
    EXPECT_EQ(pList != nullptr, seen.bListed);
    XH_FreeAllDevice(pList);
    XH_ReleaseDevice();
    return seen;
}

/// Nothing stays open but what could not be closed, and nothing is closed twice.
void ExpectTidy(const CSimHandles& handles, const std::string& strOperation)
{
    const bool bCloses = strOperation.find("::Close") != std::string::npos ||
                         strOperation.find("::DestroySet") != std::string::npos;
    EXPECT_LE(handles.Open().size(), bCloses ? 1u : 0u) << handles.Describe();
    // COM is taken back also where its start failed: nobody looks at that result.
    if (strOperation != "IPowerSwitch::InitializeCom") {
        EXPECT_TRUE(handles.Misuses().empty()) << handles.Misuses().front();
    }
}

TEST(SeamSweep, EveryCallOfStartListOpenRelease)
{
    std::map<std::string, unsigned> counts;
    {
        HubBench whole(SimHubSettings{});
        (void)RunPlain(whole);
        counts = whole.machine.Faults().Counts();
    }
    SweepTally tally("seam calls of start, list, open and release");
    for (const SeamFault& fault : FaultsOf(counts)) {
        if (HasFailure())
            break;
        SCOPED_TRACE(testing::Message() << fault);
        HubBench bench(SimHubSettings{});
        bench.machine.Faults().FailCall(fault.strOperation, fault.nCall, fault.dwCode);

        const PlainSession seen = RunPlain(bench);

        tally.Count(seen.bOpened, false);
        EXPECT_EQ(bench.machine.Faults().Fired(), 1u);
        EXPECT_TRUE(seen.bStarted); // also without a driver
        EXPECT_TRUE(seen.bClosed);
        EXPECT_EQ(seen.dwCount, seen.bListed ? 1u : 0u);
        EXPECT_TRUE(!seen.bOpened || seen.nOpenDevices >= 1);
        ExpectTidy(bench.machine.Handles(), fault.strOperation);

        bench.Heal();
        const PlainSession again = RunPlain(bench);
        EXPECT_TRUE(again.bListed && again.bOpened && again.bStatus);
    }
}

TEST(SeamSweep, EveryCallOfAnUpdate)
{
    std::map<std::string, unsigned> counts;
    {
        HubBench whole(SimHubSettings{});
        CHostRun run(whole);
        ASSERT_TRUE(run.Update(NewImage()));
        counts = whole.machine.Faults().Counts();
    }
    SweepTally tally("seam calls of an update");
    for (const SeamFault& fault : FaultsOf(counts)) {
        if (HasFailure())
            break;
        SCOPED_TRACE(testing::Message() << fault);
        HubBench bench(SimHubSettings{});
        bench.machine.Faults().FailCall(fault.strOperation, fault.nCall, fault.dwCode);
        bool bSuccess = false;
        {
            CHostRun run(bench);
            bSuccess = run.Update(NewImage());
            tally.Count(bSuccess, run.FlowSaidYes() && !bench.hub.Runs(NewImage()));
        }
        EXPECT_EQ(bSuccess, bench.hub.Runs(NewImage()));
        ExpectTidy(bench.machine.Handles(), fault.strOperation);

        bench.Heal();
        CHostRun again(bench);
        EXPECT_TRUE(again.Update(NewImage()));
        EXPECT_TRUE(bench.hub.Runs(NewImage()));
    }
}
} // namespace
