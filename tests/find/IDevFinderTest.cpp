#include "find/IDevFinder.h"

#include <functional>

#include "find/CECFind.h"
#include "find/FindFixture.h"
#include "platform/ListGrowth.h"
#include "support/CFakeDev.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
/// A finder whose cycles only count; what happens in one is the test's.
class CCountingFinder : public IDevFinder
{
public:
    void WatchAllDevs() override { Cycle("all"); }
    void WatchAllDevsEx() override { Cycle("ex"); }
    void WatchAllHidDevs() override { Cycle("hid"); }

    std::list<IDev*>& Devices() { return m_lstDev; }

    std::vector<std::string> cycles;
    std::function<void()> inCycle;

private:
    void Cycle(const char* pszName)
    {
        cycles.emplace_back(pszName);
        if (inCycle)
            inCycle();
    }
};

struct WAIT
{
    const char* pszName;
    bool (IDevFinder::*pfnWait)(IDev*, int);
    const char* pszCycle;
    const char* pszTitle;
    void (*pfnComes)(CFakeDev& dev); ///< what the wait is for
};

void Arrives(CFakeDev& dev)
{
    dev.held = 1;
}

const WAIT kWaits[] = {
    {"Connect", &IDevFinder::WaitDevConnect, "all", "Wait Dev Connect", Arrives},
    {"ConnectEx", &IDevFinder::WaitDevConnectEx, "ex", "Wait Dev Connect", Arrives},
    {"HidConnect", &IDevFinder::WaitHidDevConnect, "hid", "Wait Dev Connect",
     [](CFakeDev& dev) { dev.SetHidArrived(1); }},
    {"Unconnect", &IDevFinder::WaitDevUnconnect, "all", "Wait Dev Unconnect",
     [](CFakeDev& dev) { dev.held = 0; }},
};

class Wait : public FindTest, public testing::WithParamInterface<WAIT>
{
protected:
    Wait()
    {
        if (std::string(GetParam().pszName) == "Unconnect")
            m_dev.held = 1;     // it has not gone yet
        m_dev.SetHidArrived(1); // from an earlier time
    }

    bool DoWait(int nSeconds) { return (m_finder.*GetParam().pfnWait)(&m_dev, nSeconds); }
    std::string Count(int nSeconds) const
    {
        return std::string("count|") + GetParam().pszTitle + "|" + std::to_string(nSeconds) + "|0";
    }

    CCountingFinder m_finder;
    CFakeDev m_dev;
    CMessageLog m_log;
};

TEST_P(Wait, PollsEightTimesASecondUntilTheTimeIsUp)
{
    const auto start = m_machine.Time().Now();
    EXPECT_FALSE(DoWait(2));
    EXPECT_EQ(m_machine.Time().Now() - start, 16u * 128'000u);
    EXPECT_EQ(m_finder.cycles, std::vector<std::string>(16, GetParam().pszCycle));
    std::vector<std::string> counts(8, Count(1));
    counts.resize(16, Count(0));
    EXPECT_EQ(m_log.Counts(), counts);
}

TEST_P(Wait, EndsInTheCycleThatBringsWhatItWaitsFor)
{
    m_finder.inCycle = [&] {
        if (m_finder.cycles.size() == 3)
            GetParam().pfnComes(m_dev);
    };
    const auto start = m_machine.Time().Now();
    EXPECT_TRUE(DoWait(60));
    EXPECT_EQ(m_machine.Time().Now() - start, 2u * 128'000u);
    EXPECT_THAT(m_log.Counts(), ElementsAre(Count(59), Count(59), Count(59)));
}

TEST_P(Wait, OfNoTimeFailsWithoutLooking)
{
    GetParam().pfnComes(m_dev);
    EXPECT_FALSE(DoWait(0));
    EXPECT_FALSE(DoWait(-5));
    EXPECT_THAT(m_finder.cycles, IsEmpty());
    EXPECT_THAT(m_log.Counts(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, Wait, testing::ValuesIn(kWaits),
                         [](const auto& row) { return std::string(row.param.pszName); });

class Finder : public FindTest
{
protected:
    CCountingFinder m_finder;
    CFakeDev m_dev;
    CMessageLog m_log;
};

TEST_F(Finder, AConnectWaitNeedsTheDeviceInitialisedAsWellAsPresent)
{
    m_dev.held = 1;
    m_dev.bInits = false;
    m_finder.inCycle = [&] { m_dev.bInits = m_finder.cycles.size() == 5; };
    EXPECT_TRUE(m_finder.WaitDevConnect(&m_dev, 1));
    EXPECT_EQ(m_dev.vInitParams, std::vector<BYTE>(5, 0));
}

TEST_F(Finder, DetachRemovesEveryEntryOfADevice)
{
    CFakeDev other;
    m_finder.Attach(&m_dev);
    m_finder.Attach(&other);
    m_finder.Attach(&m_dev);
    EXPECT_THAT(m_finder.Devices(), ElementsAre(&m_dev, &other, &m_dev));
    m_finder.Detach(&m_dev);
    EXPECT_THAT(m_finder.Devices(), ElementsAre(&other));
    m_finder.Detach(&m_dev);
    EXPECT_THAT(m_finder.Devices(), ElementsAre(&other));
}

TEST_F(Finder, OfDevicesBehindAControllerHasNothingToEnumerate)
{
    CECFind finder;
    _Hub_Info* pList = nullptr;
    DWORD dwCount = 5;
    finder.WatchAllDevs();
    finder.WatchAllDevsEx();
    finder.WatchAllHidDevs();
    EXPECT_EQ(finder.GetClassGUID(), nullptr);
    EXPECT_EQ(finder.ListHidAllDevice(nullptr, nullptr), 0u);
    EXPECT_EQ(finder.ListHidAllDevice(nullptr, nullptr, 1), 0u);
    EXPECT_EQ(finder.ListAllDevPortInfo(&pList, &dwCount), 0u);
    EXPECT_FALSE(finder.ListDevice(pList, dwCount));
    EXPECT_FALSE(finder.DummyRemove(&m_dev));
    EXPECT_FALSE(finder.ForceRemove(&m_dev));
    EXPECT_FALSE(finder.FilterDev(1));
    EXPECT_EQ(pList, nullptr);
    EXPECT_EQ(dwCount, 5u);
    EXPECT_THAT(m_dev.told, IsEmpty());
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST(ListGrowth, AFullListRefusesInWords)
{
    struct FULL
    {
        static size_t size() { return 3; }
        static size_t max_size() { return 3; }
        static void push_back(int /*n*/) { ADD_FAILURE() << "grew beyond its maximum"; }
    } full;
    try {
        AppendOrThrow(full, 1);
        FAIL() << "nothing was thrown";
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "list too long");
    }
}
} // namespace
