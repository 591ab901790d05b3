#include "api/zelhub.h"
#include "sweeps/SeamFaults.h"
#include "sweeps/SweepRig.h"

#include <gtest/gtest.h>

namespace
{
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
