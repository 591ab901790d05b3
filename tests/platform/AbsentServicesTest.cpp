#include "platform/AbsentServices.h"

#include <gtest/gtest.h>

#include "PlatformContract.h"

namespace
{
/// What a system without a service answers, code for code: the library's failure roads read it.
class AbsentServices : public testing::Test
{
protected:
    void SetUp() override { Process().SetLastError(0); }
    IProcess& Process() { return RealPlatform().Process(); }
    DWORD LastError() { return Process().LastError(); }
};

TEST_F(AbsentServices, NoServiceManagerFailsWith120)
{
    CAbsentServiceManager manager(Process());
    EXPECT_EQ(manager.OpenManager(kManagerAllAccess), nullptr);
    EXPECT_EQ(LastError(), kErrCallNotImplemented);
}

TEST_F(AbsentServices, NoDeviceFileFailsWith2)
{
    CAbsentDeviceFile files(Process());
    EXPECT_EQ(files.Open(WTEXT("\\\\.\\ZelUpx"), kGenericRead, kShareNone, kOpenExisting, 0),
              InvalidHandle());
    EXPECT_EQ(LastError(), kErrFileNotFound);
}

TEST_F(AbsentServices, NoDeviceTreeFailsEveryRequest)
{
    CAbsentDeviceTree tree(Process());
    EXPECT_EQ(tree.GetClassDevs(&kGuidUsbHub, nullptr, kSetPresent), InvalidHandle());
    EXPECT_EQ(LastError(), kErrCallNotImplemented);
    EXPECT_EQ(tree.GetClassDevs(nullptr, nullptr, kSetPresent), InvalidHandle());
    EXPECT_EQ(LastError(), kErrInvalidParameter);
    DWORD cb = 1024;
    BYTE buffer[8];
    EXPECT_EQ(tree.GetNodeProperty(1, &kKeyLocationPaths, nullptr, buffer, &cb), kCrNoSuchDevNode);
    EXPECT_EQ(cb, 0u);
}

TEST_F(AbsentServices, NoPowerSwitchRefusesAtTheFirstCall)
{
    CAbsentPowerSwitch power;
    EXPECT_EQ(power.InitializeCom(2), kHrNotImplemented);
}

TEST_F(AbsentServices, NoCompanionHasNeitherEventNorPipe)
{
    CAbsentEventPipe pipe(Process());
    EXPECT_EQ(pipe.OpenNamedEvent(kEventAllAccess, WTEXT("Global\\XHubSSEvent")), nullptr);
    EXPECT_EQ(LastError(), kErrFileNotFound);
    Process().SetLastError(0);
    EXPECT_FALSE(pipe.WaitPipe(WTEXT("\\\\.\\pipe\\XHubServicePipe"), 0));
    EXPECT_EQ(LastError(), kErrFileNotFound);
}
} // namespace
