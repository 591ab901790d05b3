#include "CHostProcess.h"
#include "DriverRoad.h"

namespace
{
// The driver's service is shared; the flag file tells the last process that it is the last.
class TwoProcesses : public DriverRoad
{};

TEST_F(TwoProcesses, HostInCKnowsTheLibraryByItsFileNameAlone)
{
    CHostProcess host;
    // Without the composed platform there is no device tree, so no hub.
    EXPECT_EQ(host.Said(), "ready, list 0, 0 hubs");
    EXPECT_EQ(ServiceState(), kStateRunning);
    EXPECT_EQ(host.End(), "done");
    EXPECT_EQ(ServiceState(), 0u);
}

TEST_F(TwoProcesses, FirstMayLeaveFirst)
{
    ASSERT_TRUE(XH_InitDevice(false));
    CHostProcess host;
    ASSERT_EQ(host.Said(), "ready, list 0, 0 hubs");
    XH_UnInitDevice();
    EXPECT_EQ(ServiceState(), kStateRunning);
    EXPECT_EQ(host.End(), "done");
    EXPECT_EQ(ServiceState(), 0u);
}

TEST_F(TwoProcesses, SecondMayLeaveFirst)
{
    CHostProcess host;
    ASSERT_TRUE(XH_InitDevice(false));
    EXPECT_EQ(host.End(), "done");
    EXPECT_EQ(ServiceState(), kStateRunning);
    XH_UnInitDevice();
    EXPECT_EQ(ServiceState(), 0u);
}

TEST_F(TwoProcesses, KilledOneDoesNotKeepTheServiceAlive)
{
    ASSERT_TRUE(XH_InitDevice(false));
    CHostProcess host;
    ASSERT_EQ(host.Said(), "ready, list 0, 0 hubs");
    host.Kill();
    EXPECT_EQ(ServiceState(), kStateRunning);
    XH_UnInitDevice();
    EXPECT_EQ(ServiceState(), 0u);
}
} // namespace
