#include "sweeps/SweepRig.h"

#include <gtest/gtest.h>

namespace
{
struct HubKind
{
    const char* pszName;
    bool bDualBank;
    bool bIspValidation;
};

const HubKind kHubKinds[] = {
    {"OneBank", false, true},
    {"TwoBanksValidating", true, true},
    {"TwoBanksReadBack", true, false},
};

class HubSweep : public testing::TestWithParam<HubKind>
{
protected:
    static SimHubSettings Settings()
    {
        SimHubSettings settings;
        settings.cbBank = 0x10000;
        settings.bDualBank = GetParam().bDualBank;
        settings.bIspValidation = GetParam().bIspValidation;
        return settings;
    }

    /// How often something happens in a run that nothing happens to.
    static std::uint64_t CountIn(bool (*pfnRun)(CHostRun& run),
                                 std::uint64_t (CSimHub::*pfnCount)() const)
    {
        HubBench whole(Settings());
        CHostRun run(whole);
        EXPECT_TRUE(pfnRun(run));
        EXPECT_EQ(whole.hub.Misuse().Text(), "");
        return (whole.hub.*pfnCount)();
    }

    static bool Update(CHostRun& run) { return run.Update(NewImage()); }
    static bool Erase(CHostRun& run) { return run.Erase(); }

    /// One update that something happens to, then one without: what the host believes must be
    /// what the model shows.
    static void BreakThenRepeat(HubBench& bench, SweepTally& tally)
    {
        bool bSuccess = false;
        {
            CHostRun run(bench);
            bSuccess = run.Update(NewImage());
            tally.Count(bSuccess, run.FlowSaidYes() && !bench.hub.Runs(NewImage()));
        }
        EXPECT_EQ(bSuccess, bench.hub.IsOnBus() && bench.hub.Runs(NewImage()));
        EXPECT_EQ(bench.machine.Handles().Describe(), "");

        bench.hub.SetReturn({});
        bench.machine.Time().Advance(30'000'000);
        bench.Heal();
        bench.hub.Misuse().Clear();
        CHostRun again(bench);
        EXPECT_TRUE(again.Update(NewImage())) << "the second run failed";
        EXPECT_TRUE(bench.hub.Runs(NewImage()));
        EXPECT_EQ(bench.hub.Misuse().Text(), "");
    }
};

TEST_P(HubSweep, EveryFaultAtEveryTransfer)
{
    const auto nTransfers = CountIn(Update, &CSimHub::Transfers);
    SweepTally tally(std::string("transfers of ") + GetParam().pszName);
    ForFaults(UsbFaults(), FirstPlaces(nTransfers), [&](auto n, const SimFault& fault) {
        HubBench bench(Settings());
        bench.hub.Faults().At(n, fault);
        BreakThenRepeat(bench, tally);
    });
    // The sweep has teeth: without the host's own checks some of these would have passed.
    EXPECT_GT(tally.nBelieved, 0u);
}

TEST_P(HubSweep, PowerLostAtEveryFlashOperation)
{
    const auto nOperations = CountIn(Update, &CSimHub::FlashOperations);
    SweepTally tally(std::string("flash operations of ") + GetParam().pszName);
    ForPowerCuts(FirstPlaces(nOperations), [&](auto n, SimPowerCut eWhen) {
        HubBench bench(Settings());
        bench.hub.LosePowerAt(n, eWhen);
        BreakThenRepeat(bench, tally);
    });
}

TEST_P(HubSweep, EveryFaultAtEveryTransferOfAnErase)
{
    const auto nTransfers = CountIn(Erase, &CSimHub::Transfers);
    SweepTally tally(std::string("transfers of an erase of ") + GetParam().pszName);
    ForFaults(UsbFaults(), FirstPlaces(nTransfers), [&](auto n, const SimFault& fault) {
        HubBench bench(Settings());
        bench.hub.Faults().At(n, fault);
        {
            CHostRun run(bench);
            const bool bErased = run.Erase();
            const bool bBlank = bench.hub.Banks().Bank(0) == Image(0x10000, 0xFF);
            tally.Count(bErased, run.FlowSaidYes() && !bBlank);
            EXPECT_TRUE(!bErased || bBlank);
        }
        bench.Heal();
        CHostRun again(bench);
        EXPECT_TRUE(again.Update(NewImage()));
        EXPECT_TRUE(bench.hub.Runs(NewImage()));
    });
}

TEST_P(HubSweep, EveryWayOfComingBackFromEachReset)
{
    const std::pair<const char*, SimReturn> cases[] = {
        {"at once", {1'000, 1'000, false, false}},
        {"after 8 s", {50'000, 8'000'000, false, false}},
        {"after 30 s", {50'000, 30'000'000, false, false}},
        {"leaves after 5 s", {5'000'000, 1'000'000, false, false}},
        {"as another node", {50'000, 1'500'000, true, false}},
        {"never", {50'000, 1'500'000, false, true}},
    };
    SweepTally tally(std::string("ways of coming back of ") + GetParam().pszName);
    for (const auto& [pszCase, ret] : cases) {
        for (const bool bEveryReset : {true, false}) {
            SCOPED_TRACE(testing::Message() << pszCase << (bEveryReset ? ", always" : ", once"));
            HubBench bench(Settings());
            if (bEveryReset)
                bench.hub.SetReturn(ret);
            else
                bench.hub.SetNextReturn(ret);
            BreakThenRepeat(bench, tally);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Hub, HubSweep, testing::ValuesIn(kHubKinds),
                         [](const auto& test) { return test.param.pszName; });
} // namespace
