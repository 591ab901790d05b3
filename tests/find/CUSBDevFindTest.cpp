#include "find/CUSBDevFind.h"

#include "find/FindFixture.h"
#include "find/IFilterEx.h"
#include "support/CBoundRequestObj.h"
#include "support/CFakeDev.h"
#include "support/CFakeTransport.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
const std::string kProbe = "vd 40/02 v=0001 i=0A7C len=0 t=5000";

/// Looks at hubs and keeps out what a test names.
class CHubNodes : public CUSBDevFind, public IFilterEx
{
public:
    explicit CHubNodes(DWORD rootInst) : excluded{rootInst} { AddFilter(this); }

    const GUID* GetClassGUID() override { return pClass; }
    bool Filter(DWORD devInst) override { return excluded.count(devInst) != 0; }

    const GUID* pClass = &kGuidUsbHub;
    std::set<DWORD> excluded;
};

class Cycles : public FindTest
{
protected:
    Cycles()
    {
        m_transport.calls.clear();
        m_finder.Attach(&m_dev);
    }

    /// The calls since the last time.
    std::vector<std::string> Calls() { return std::exchange(m_transport.calls, {}); }

    /// Makes a call fail as often as it comes from now on.
    void FailCalls(const std::set<std::string>& which)
    {
        m_transport.answer = [which](const std::string& strCall) {
            return which.count(strCall) != 0 ? 31u : 0u;
        };
    }

    /// Lets the probe succeed at its n-th attempt.
    void AnswerProbe(unsigned n)
    {
        m_transport.answer = [n, nProbes = 0u](const std::string& strCall) mutable {
            return strCall == kProbe && ++nProbes < n ? 31u : 0u;
        };
    }

    CFakeTransport m_transport;
    CBoundRequestObj m_bound{m_transport};
    CHubNodes m_finder{Root().DevInst()};
    CFakeDev m_dev{{10, 20, 30}}; ///< attached first
    CMessageLog m_log;
};

TEST_F(Cycles, TheFirstCycleHandsTheLowestMatchingNodeToItsDevice)
{
    Hub(3, 30);
    Hub(1, 10);
    Hub(2, 20);
    m_dev.mine = {20, 30};
    m_transport.savedValue = [](DWORD& dwSaved) { dwSaved = 0xFFFFFFFF; };
    m_finder.WatchAllDevs();
    EXPECT_THAT(m_dev.told, ElementsAre("arrive 20 ss=ffffffff"));
    EXPECT_THAT(Calls(), ElementsAre("open2 20 ss=0", kProbe));

    m_finder.WatchAllDevs();
    EXPECT_THAT(m_dev.told, SizeIs(1)) << "30 counts as seen, though nobody was told";
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(Cycles, AnUntouchedSavedValueArrivesAsZero)
{
    Hub(1, 10);
    CFakeDev taken({10});
    m_finder.Attach(&taken);
    unsigned nOpens = 0;
    m_transport.savedValue = [&](DWORD& dwSaved) {
        if (++nOpens == 1)
            dwSaved = 0xFFFFFFFF; // of the open that failed
    };
    m_transport.answer = [&](const std::string& strCall) {
        return strCall == "open2 10 ss=0" && nOpens == 0 ? 5u : 0u;
    };
    m_finder.WatchAllDevs();
    EXPECT_THAT(m_dev.told, IsEmpty());
    EXPECT_THAT(taken.told, ElementsAre("arrive 10 ss=0"));
}

TEST_F(Cycles, TheProbeIsRepeatedFiftyTimesATenthOfASecondApart)
{
    Hub(1, 10);
    Hub(2, 20);
    AnswerProbe(51); // the second node answers at once
    const auto start = m_machine.Time().Now();
    m_finder.WatchAllDevs();
    EXPECT_THAT(m_dev.told, ElementsAre("arrive 20 ss=0"));
    EXPECT_EQ(m_machine.Time().Now() - start, 50u * 100'000u);
    std::vector<std::string> calls(51, kProbe);
    calls.front() = "open2 10 ss=0";
    calls.insert(calls.end(), {"open2 20 ss=0", kProbe});
    EXPECT_EQ(Calls(), calls) << "nothing is closed in between";
}

TEST_F(Cycles, TheFiftiethProbeStillCounts)
{
    Hub(1, 10);
    AnswerProbe(50);
    m_finder.WatchAllDevs();
    EXPECT_THAT(m_dev.told, ElementsAre("arrive 10 ss=0"));
}

TEST_F(Cycles, ARemovalClosesAndTellsTheFirstDeviceThatHoldsTheNode)
{
    CSimNode& hub = Hub(1, 10);
    CSimNode& unheld = Hub(4, 40);
    m_dev.mine = {};
    CFakeDev holder({10});
    CFakeDev second;
    m_finder.Attach(&holder);
    m_finder.Attach(&second);
    m_finder.WatchAllDevs();
    second.held = 10;
    (void)Calls();
    hub.Plug(false);
    unheld.Plug(false); // leaves silently
    m_finder.WatchAllDevs();
    EXPECT_THAT(Calls(), ElementsAre("close"));
    EXPECT_THAT(holder.told, ElementsAre("arrive 10 ss=0", "remove"));
    EXPECT_THAT(m_dev.told, IsEmpty());
    EXPECT_THAT(second.told, IsEmpty());

    hub.Plug(true);
    m_finder.WatchAllDevs();
    EXPECT_EQ(holder.told.back(), "arrive 10 ss=0");
}

TEST_F(Cycles, AFailedEnumerationChangesNothing)
{
    Hub(1, 10);
    m_finder.WatchAllDevs();
    m_machine.Faults().FailNext("IDeviceTree::GetClassDevs", 1167);
    m_finder.WatchAllDevs();
    EXPECT_THAT(m_dev.told, SizeIs(1));
}

TEST_F(Cycles, ADummyOrForcedRemovalMakesEveryNodeArriveAnew)
{
    Hub(1, 10);
    m_finder.WatchAllDevs();
    (void)Calls();
    EXPECT_TRUE(m_finder.DummyRemove(&m_dev));
    EXPECT_THAT(Calls(), ElementsAre("close"));
    m_finder.WatchAllDevs();
    (void)Calls();
    EXPECT_TRUE(m_finder.ForceRemove(&m_dev));
    EXPECT_THAT(Calls(), ElementsAre("close"));
    m_finder.WatchAllDevs();
    EXPECT_THAT(m_dev.told, ElementsAre("arrive 10 ss=0", "remove", "arrive 10 ss=0",
                                        "force remove", "arrive 10 ss=0"));
}

TEST_F(Cycles, AHidCycleSetsTheFlagOfTheFirstDeviceThatOpens)
{
    Hub(1, 10);
    Hub(2, 20);
    m_dev.mine = {10};
    CFakeDev second({10, 20});
    m_finder.Attach(&second);
    FailCalls({"openhid 20"});
    m_finder.WatchAllHidDevs();
    EXPECT_EQ(m_dev.GetHidArrived(), 1);
    EXPECT_EQ(second.GetHidArrived(), 0);
    EXPECT_THAT(Calls(), ElementsAre("openhid 10", "openhid 20"));
    EXPECT_THAT(m_dev.told, IsEmpty());
}

TEST_F(Cycles, CostInProportionToTheNodes)
{
    const auto callsOfACycle = [this] {
        m_machine.Faults().ResetCounts();
        m_finder.WatchAllDevs();
        unsigned nCalls = 0;
        for (const auto& [strName, nOf] : m_machine.Faults().Counts())
            nCalls += nOf;
        return nCalls;
    };
    for (unsigned nPort = 1; nPort <= 100; ++nPort)
        Hub(nPort, 10 + nPort);
    const unsigned nFew = callsOfACycle();
    for (unsigned nPort = 101; nPort <= 1000; ++nPort)
        Hub(nPort, 10 + nPort);
    EXPECT_LE(callsOfACycle(), 10 * nFew);
}

const std::string kNone = "1|CUSBDevFind::ArriveAllDevsEx|Can not find suit device.\n";

std::string Suitable(int n)
{
    return "1|CUSBDevFind::ArriveAllDevsEx|Suit device num is " + std::to_string(n) + "\n.";
}

TEST_F(Cycles, TheExtendedCycleHandsOutOneSuitableNodeAfterTheOther)
{
    Hub(1, 10);
    Hub(2, 20);
    Hub(3, 30);
    for (int i = 0; i < 4; ++i)
        m_finder.WatchAllDevsEx();
    EXPECT_THAT(m_dev.told, ElementsAre("arrive 10", "arrive 20", "arrive 30"));
    EXPECT_THAT(m_log.Lines(), ElementsAre(Suitable(3), Suitable(2), Suitable(1), kNone));
    EXPECT_THAT(Calls(), ElementsAre("open 10", kProbe, "open 20", kProbe, "open 30", kProbe));
}

TEST_F(Cycles, TheExtendedCycleCollectsUntilItFoundSomethingAndNeverAfter)
{
    m_finder.WatchAllDevsEx();
    Hub(1, 10);
    m_finder.WatchAllDevsEx();
    Hub(2, 20);
    m_finder.WatchAllDevsEx();
    EXPECT_THAT(m_dev.told, ElementsAre("arrive 10"));
    EXPECT_THAT(m_log.Lines(), ElementsAre(kNone, Suitable(1), kNone));
}

TEST_F(Cycles, ANodeThatTwoDevicesTakeIsHandedOutTwiceToWhoeverOpensFirst)
{
    Hub(1, 10);
    m_dev.mine = {}; // MatchDev is not asked again
    CFakeDev first({10});
    CFakeDev second({10});
    m_finder.Attach(&first);
    m_finder.Attach(&second);
    m_finder.WatchAllDevsEx();
    m_finder.WatchAllDevsEx();
    EXPECT_THAT(m_dev.told, ElementsAre("arrive 10", "arrive 10"));
    EXPECT_THAT(first.told, IsEmpty());
    EXPECT_THAT(m_log.Lines(), ElementsAre(Suitable(2), Suitable(1)));
}

TEST_F(Cycles, ASuitableNodeThatDoesNotOpenIsDropped)
{
    Hub(1, 10);
    FailCalls({"open 10"});
    m_finder.WatchAllDevsEx();
    m_finder.WatchAllDevsEx();
    EXPECT_THAT(m_dev.told, IsEmpty());
    EXPECT_THAT(Calls(), ElementsAre("open 10"));
    EXPECT_THAT(m_log.Lines(), ElementsAre(Suitable(1), kNone));
}

TEST_F(Cycles, TheFailureIsReportedExactlyWhenTheTenthProbeSucceeds)
{
    // Deliberate: the report is the wrong way round.
    const std::string kPolling = "1|CUSBDevFind::ArriveAllDevsEx|Polling connect with hub fail.\n";
    for (const unsigned nAttempt : {1u, 9u, 10u, 11u}) {
        SCOPED_TRACE(nAttempt);
        CHubNodes finder{Root().DevInst()};
        if (m_machine.Tree().Find(10) == nullptr)
            Hub(1, 10);
        CFakeDev dev({10});
        finder.Attach(&dev);
        AnswerProbe(nAttempt);
        m_log.Clear();
        (void)Calls();
        const auto start = m_machine.Time().Now();
        finder.WatchAllDevsEx();
        const unsigned nFailed = std::min(nAttempt - 1, 10u);
        EXPECT_EQ(m_machine.Time().Now() - start, nFailed * 100'000u);
        EXPECT_EQ(dev.told.size(), nAttempt <= 10 ? 1u : 0u);
        std::vector<std::string> says = {Suitable(1)};
        if (nAttempt == 10)
            says.push_back(kPolling);
        EXPECT_EQ(m_log.Lines(), says);
    }
}
} // namespace
