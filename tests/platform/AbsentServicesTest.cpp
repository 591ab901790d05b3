#include "platform/AbsentServices.h"

#include <gtest/gtest.h>

#include "PlatformContract.h"

namespace
{
// What a system without a service answers, code for code: the library's failure roads read it.

TEST(AbsentServices, FailWithTheCodesThatTheLibraryReads)
{
    IProcess& process = RealPlatform().Process();
    const auto failure = [&](bool bDone) {
        EXPECT_FALSE(bDone);
        const DWORD dwError = process.LastError();
        process.SetLastError(0);
        return dwError;
    };
    CAbsentServiceManager manager(process);
    EXPECT_EQ(failure(manager.OpenManager(kManagerAllAccess) != nullptr), 120u);
    CAbsentEventPipe pipe(process);
    EXPECT_EQ(
        failure(pipe.OpenNamedEvent(kEventAllAccess, WTEXT("Global\\XHubSSEvent")) != nullptr), 2u);
    EXPECT_EQ(failure(pipe.WaitPipe(WTEXT("\\\\.\\pipe\\XHubServicePipe"), 0)), 2u);
}
} // namespace
