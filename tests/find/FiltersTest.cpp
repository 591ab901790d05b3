#include "find/CRootHubFilter.h"
#include "find/CU3HubFilter.h"
#include "find/FindFixture.h"

using testing::ElementsAre;

namespace
{
constexpr const char* kRootYes = "0|CRootHubFilter::Filter|filter root hub return true.\n";
constexpr const char* kRootNo = "1|CRootHubFilter::Filter|filter root hub return false.\n";

class Filters : public FindTest
{
protected:
    CSimNode& m_hub = Hub(1, 11);
    CRootHubFilter m_rootFilter;
    CU3HubFilter m_u3Filter;
    CMessageLog m_log;
};

TEST_F(Filters, ARootHubIsExcludedAndTheHubOnItsPortIsNot)
{
    m_rootFilter.EnumHostController();
    EXPECT_TRUE(m_rootFilter.Filter(Root().DevInst()));
    EXPECT_FALSE(m_rootFilter.Filter(11));
    EXPECT_THAT(m_log.Lines(), ElementsAre(kRootYes, kRootNo));
}

TEST_F(Filters, EveryHostControllerCounts)
{
    CSimNode& controller = m_machine.Tree().AddHostController();
    CSimNode& root = m_machine.Tree().AddRootHub(controller);
    m_rootFilter.EnumHostController();
    EXPECT_TRUE(m_rootFilter.Filter(root.DevInst()));
}

TEST_F(Filters, WithoutTheListNoHubIsARootHub)
{
    m_machine.Faults().FailNext("IDeviceTree::GetClassDevs", 1167);
    m_rootFilter.EnumHostController();
    EXPECT_FALSE(m_rootFilter.Filter(Root().DevInst()));
    EXPECT_THAT(m_log.Lines(),
                ElementsAre("1|CRootHubFilter::EnumHostController|SetupDiGetClassDevs failed "
                            "1167\n",
                            kRootNo));
}

TEST_F(Filters, AnUnknownParentKeepsTheNode)
{
    m_rootFilter.EnumHostController();
    m_machine.Faults().FailNext("IDeviceTree::GetParent", kCrFailure);
    EXPECT_FALSE(m_rootFilter.Filter(Root().DevInst()));
    EXPECT_THAT(m_log.Lines(), ElementsAre(kRootNo));
}

TEST_F(Filters, TheSuperSpeedHalfIsExcluded)
{
    HubNodeOptions options;
    options.devInst = 20;
    CSimNode& half = m_machine.Tree().AddHubPair(Root(), 2, Root(), 12, options);
    EXPECT_FALSE(m_u3Filter.Filter(20));
    EXPECT_TRUE(m_u3Filter.Filter(half.Twin()->DevInst()));
    EXPECT_THAT(m_log.Lines(), ElementsAre("1|CU3HubFilter::Filter|filter u3 hub return false.\n",
                                           "0|CU3HubFilter::Filter|filter u3 hub return true.\n"));
}
} // namespace
