#include "dev/CI2CPdDev.h"
#include "sim/models/CSimPd.h"
#include "sweeps/SeamFaults.h"
#include "sweeps/SweepRig.h"
#include "wire/HubRequests.h"

#include "platform/IClock.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{
constexpr BYTE kPdAddr = 0x42;
constexpr BYTE kResetToRom = 0x02;

/// The read-back comes first, since the library's own check already marks the bank that runs.
class CStrictPdDev : public CStrict<CI2CPdDev>
{
public:
    /// Reads back the bank that runs: the one that an update would not write now.
    bool RunningBankReadsBack()
    {
        if (!IsDualBank())
            return false;
        m_dwFlashAddr = m_dwFlashAddr == 0 ? 0x20000 : 0;
        return ReadsBack();
    }
};

/// A hub that stays as it is, and the controller behind it.
struct PdBench : HubBench
{
    explicit PdBench(const BankKind& kind)
        : HubBench(SmallHub()), pd(machine.Time(), Settings(kind))
    {
        pd.LoadImage(OldImage(), kind.nBank);
        hub.AttachI2cTarget(kPdAddr, &pd);
    }

    void HealPd()
    {
        pd.Faults().Clear();
        hub.Unplug(); // a bus that is held down stays so until the hub is plugged in anew
        Heal();
        if (!pd.IsOnBus())
            pd.PowerUp();
    }

    bool RunsNew() const { return pd.IsOnBus() && pd.Runs(NewImage()); }

    /// Whether a host can see what runs: not while the bus is held down.
    bool IsSeen()
    {
        BYTE status[20] = {};
        const SETUP_PACKET setup = {REQTYPE_VENDOR_IN, REQ_BLOCK_IN, 0x3A << 8 | kPdAddr, 0, 20};
        return hub.Control(setup, status, 10).dwError == 0;
    }

    static SimHubSettings SmallHub()
    {
        SimHubSettings settings;
        settings.cbBank = 0x10000;
        return settings;
    }
    static SimPdSettings Settings(const BankKind& kind)
    {
        SimPdSettings settings;
        settings.bIspValidation = kind.bIspValidation;
        settings.bCrcCheck = kind.bCrcCheck;
        return settings;
    }

    CSimPd pd;
};

/// One run of a host that updates the controller.
class CPdRun
{
public:
    explicit CPdRun(PdBench& bench) : m_hubRun(bench)
    {
        m_dev.SetMaster(&m_hubRun.Dev());
        m_dev.SetSlaveAddr(kPdAddr);
        m_hubRun.Finder().Attach(&m_dev);
        (void)m_hubRun.Finder().WaitDevConnect(&m_hubRun.Dev(), 10);
    }
    CPdRun(const CPdRun&) = delete;
    CPdRun& operator=(const CPdRun&) = delete;
    ~CPdRun() { m_hubRun.Finder().Detach(&m_dev); }

    bool Update()
    {
        m_dev.SetFwBuf(NewImage());
        m_bFlowSaidYes = m_flow.DevUpdate();
        if (m_bFlowSaidYes && RunsImageVersion())
            return true;
        CurrentPlatform().Clock().Sleep(3000);
        m_dev.ForceRemove(); // a device that was judged wrongly is judged anew
        return RunsImageVersion() && m_dev.RunningBankReadsBack();
    }

    bool FlowSaidYes() const { return m_bFlowSaidYes; }

private:
    bool RunsImageVersion()
    {
        USHORT wVersion = static_cast<USHORT>(~kNewVersion);
        return m_flow.DevReadVersion(wVersion) && wVersion == kNewVersion;
    }

    CHostRun m_hubRun;
    CStrictPdDev m_dev;
    CUniversalFlow m_flow{&m_hubRun.Finder(), &m_dev};
    bool m_bFlowSaidYes = false;
};

/// A controller on the bus of a hub neither stalls nor sees request blocks, and each of its
/// transfers is sent once.
std::vector<NamedFault> PdFaults()
{
    std::vector<NamedFault> faults = UsbFaults();
    std::erase_if(faults, [](const NamedFault& f) {
        return f.fault.eKind == SimFaultKind::Stall || f.fault.eKind == SimFaultKind::UrbStatus ||
               f.fault.nTimes == 2;
    });
    return faults;
}

/// Whether everything is swept, or of the thousands of like flash units only some.
bool SweepsAll()
{
    return std::getenv("ZELHUB_SWEEP_ALL") != nullptr;
}

/// The controller's command in each transfer of a whole update.
std::vector<BYTE> CommandsOf(const BankKind& kind)
{
    PdBench whole(kind);
    whole.machine.Driver().KeepLog(true);
    {
        CPdRun run(whole);
        EXPECT_TRUE(run.Update());
    }
    EXPECT_EQ(whole.pd.Misuse().Text(), "");
    std::vector<BYTE> commands;
    for (const SimProxyRecord& record : whole.machine.Driver().Log()) {
        const BYTE byRequest = record.setup.bRequest;
        // Probes of a controller that is silent after its reset reach nobody.
        if (record.bUrb && record.dwError == 0 &&
            (byRequest == REQ_BLOCK_OUT || byRequest == REQ_BLOCK_IN))
            commands.push_back(static_cast<BYTE>(record.setup.wValue >> 8));
    }
    EXPECT_EQ(commands.size(), whole.pd.Transfers());
    return commands;
}

/// The transfers to break: all but the inner ones of long rows of the same flash command, of
/// which every 97th.
Places Chosen(const std::vector<BYTE>& commands)
{
    Places chosen;
    for (std::size_t n = 0; n < commands.size(); ++n) {
        const auto IsLike = [&](std::size_t other) {
            return other < commands.size() && commands[other] == commands[n];
        };
        const bool bInner = n > 0 && IsLike(n - 1) && IsLike(n + 1);
        if (SweepsAll() || !bInner || n % 97 == 0)
            chosen.push_back(n);
    }
    return chosen;
}

class PdSweep : public testing::TestWithParam<BankKind>
{
protected:
    static void BreakThenRepeat(PdBench& bench, SweepTally& tally,
                                const std::string& strOperation = {})
    {
        const unsigned nRunning = GetParam().nBank;
        Image before = bench.pd.Banks().Bank(nRunning);
        bool bSuccess = false;
        {
            CPdRun run(bench);
            bSuccess = run.Update();
            tally.Count(bSuccess, run.FlowSaidYes() && !bench.RunsNew());
        }
        bench.pd.Faults().Clear();
        EXPECT_EQ(bSuccess, bench.RunsNew() && bench.IsSeen());
        Image after = bench.pd.Banks().Bank(nRunning);
        for (Image* pBank : {&before, &after}) // its mark is all that may change
            std::fill_n(pBank->begin() + CSimImage::kMarkAt, 2, BYTE{0});
        // Only where the bank could not be asked for does the library restart into ROM, which may
        // erase everything.
        EXPECT_TRUE(before == after || bench.pd.Faults().Transfers(kResetToRom) > 0)
            << "the bank that ran is damaged";
        EXPECT_TRUE(bench.hub.Runs(OldImage()));
        ExpectTidy(bench.machine.Handles(), strOperation);

        bench.HealPd();
        bench.pd.Misuse().Clear();
        CPdRun again(bench);
        EXPECT_TRUE(again.Update()) << "the second run failed";
        EXPECT_TRUE(bench.RunsNew());
        EXPECT_EQ(bench.pd.Misuse().Text(), "");
    }
};

TEST_P(PdSweep, EveryFaultAtTheTransfers)
{
    const Places chosen = Chosen(CommandsOf(GetParam()));
    SweepTally tally(std::string("PD transfers of ") + GetParam().pszName);
    ForFaults(PdFaults(), chosen, [&](auto n, const SimFault& fault) {
        PdBench bench(GetParam());
        bench.pd.Faults().At(n, fault);
        BreakThenRepeat(bench, tally);
    });
}

TEST_P(PdSweep, PowerLostAtTheFlashOperations)
{
    std::uint64_t nOperations = 0;
    {
        PdBench whole(GetParam());
        CPdRun run(whole);
        ASSERT_TRUE(run.Update());
        nOperations = whole.pd.FlashOperations();
    }
    SweepTally tally(std::string("PD flash operations of ") + GetParam().pszName);
    Places places = FirstPlaces(nOperations);
    std::erase_if(places, [&](std::uint64_t n) {
        return !SweepsAll() && n % 31 != 0 && n > 3 && n + 4 < nOperations;
    });
    ForPowerCuts(places, [&](auto n, SimPowerCut eWhen) {
        PdBench bench(GetParam());
        bench.pd.LosePowerAt(n, eWhen);
        BreakThenRepeat(bench, tally);
    });
}

TEST_P(PdSweep, EveryKindOfCallFails)
{
    std::map<std::string, unsigned> counts;
    {
        PdBench whole(GetParam());
        CPdRun run(whole);
        ASSERT_TRUE(run.Update());
        counts = whole.machine.Faults().Counts();
    }
    SweepTally tally(std::string("seam calls of a PD update of ") + GetParam().pszName);
    for (const SeamFault& fault : FaultsOf(counts, SweepsAll() ? 1 : 197)) {
        if (HasFailure())
            return;
        SCOPED_TRACE(testing::Message() << fault);
        PdBench bench(GetParam());
        bench.machine.Faults().FailCall(fault.strOperation, fault.nCall, fault.dwCode);
        BreakThenRepeat(bench, tally, fault.strOperation);
    }
}

INSTANTIATE_TEST_SUITE_P(Controller, PdSweep, testing::ValuesIn(kBankKinds),
                         [](const auto& test) { return test.param.pszName; });
} // namespace
