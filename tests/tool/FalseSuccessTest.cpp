#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::_;
using testing::HasSubstr;

namespace
{

/// What the library reports as success although it is none; the tool must not.
class NotPassedOn : public testing::Test
{
protected:
    CBenchFolder m_bench;
    std::string m_strImage = m_bench.Image("0x0200");
};

constexpr const char* kNeverBack = ", 'timing': {'neverBack': true}";

std::string Fault(const std::string& strMembers)
{
    return ", 'faults': [{'hub': 'hub', " + strMembers + "}]";
}

} // namespace

TEST_F(NotPassedOn, AHubThatStayedAwayAfterTheResetToRom)
{
    for (const char* const pszLine : {"update @0x0200.bin", "erase --yes"}) {
        m_bench.UseHub(kNeverBack);
        std::string strNext = kTool + "bench plug hub, then: ";
        strNext.append(kTool).append(pszLine).append(kOnItsHub);
        m_bench.Expect(8, pszLine, "the hub did not come back after its reset to ROM code", strNext,
                       "the hub is not on the bus; its flash was not touched");
        m_bench.Expect(0, "bench plug hub");
        EXPECT_TRUE(m_bench.Runs(m_bench.Image("0x0100")));
    }
}

TEST_F(NotPassedOn, AnUpdateWhoseHubStayedAwayAfterItsRestart)
{
    // A hub with two banks is not reset to ROM code: its only reset is the last one.
    m_bench.UseHub(kNeverBack, ", 'banks': 2");
    m_bench.Expect(
        8, "update @0x0200.bin", "the hub did not come back after its restart", _,
        "the hub is not on the bus; its flash holds the new image, read back and found right");
}

TEST_F(NotPassedOn, AnUpdateWhoseHubDidNotStartTheNewFirmware)
{
    m_bench.UseHub("", "", Fault("'request': 'reset-to-flash', 'kind': 'lie'"));
    m_bench.Expect(8, "update @0x0200.bin",
                   "the hub is back, but it runs its ROM code and not the new firmware",
                   kTool + "update @0x0200.bin" + kOnItsHub);
}

TEST_F(NotPassedOn, AHubThatIsOnlyLateIsWaitedFor)
{
    m_bench.UseHub(", 'timing': {'returnMs': 14000}", ", 'banks': 2");
    m_bench.Expect(0, "update @0x0200.bin");
    EXPECT_TRUE(m_bench.Runs(m_strImage));
}

TEST_F(NotPassedOn, AnEraseThatTheHubOnlyReported)
{
    m_bench.UseHub("", "", Fault("'request': 'erase', 'kind': 'lie'"));
    m_bench.Expect(6, "erase --yes",
                   "the hub reported that it erased its flash, but offset 0x000000 holds 0x0A",
                   kTool + "erase --yes" + kOnItsHub);
}

TEST_F(NotPassedOn, AVersionThatNobodyRead)
{
    m_bench.UseBench("{'schema': 1, 'controllers': [{'id': 'xhci'}], "
                     "'hubs': [{'id': 'hub', 'parent': 'xhci', 'port': 1}]}");
    m_bench.Expect(1, "version", "the hub runs its ROM code, which has no version",
                   kTool + "update IMAGE" + kOnItsHub + " --force");
    // A status that reports success and moves nothing.
    m_bench.UseHub("", "", Fault("'request': 'status', 'kind': 'lie', 'times': 100"));
    EXPECT_FALSE(m_bench.Expect(1, "--json version").Json().contains("version"));
}

TEST_F(NotPassedOn, AStartWithoutADriverUnlessItRunsAlready)
{
    m_bench.UseHub("", "", ", 'machine': {'serviceManagerError': 5}");
    for (const char* const pszCommand : {"list", "ports", "version", "watch"})
        m_bench.Expect(4, pszCommand, HasSubstr("the hub driver could not be started: CProp"),
                       HasSubstr("Run as administrator (Windows) or with the right"));
    m_bench.UseHub("", "", ", 'machine': {'serviceManagerError': 5, 'driverRunning': true}");
    m_bench.Expect(0, "version");
}

TEST_F(NotPassedOn, ACheckThatDifferingBytesCannotFail)
{
    // In ROM code the library's own check passes whatever was read. Every write is sent twice,
    // so both of them carry the wrong bit.
    m_bench.UseHub("", "",
                   Fault("'request': 'write-flash', 'nth': 4, 'times': 2, 'kind': 'corrupt', "
                         "'offset': 100, 'mask': 255"));
    m_bench.Expect(7, "update @0x0200.bin",
                   "the flash differs from the image at offset 0x002064: image 0xFB, hub 0x04",
                   kTool + "update @0x0200.bin" + kOnItsHub + " --force",
                   "the hub is on the bus; its flash was written but not found right; it was not "
                   "restarted into that");
    EXPECT_EQ(m_bench.StateOf()["runsFlash"], false);
}

TEST_F(NotPassedOn, ATransferThatFailedWithACodeOfZero)
{
    // The driver carries the request, the URB says no, and no error code is left behind.
    m_bench.UseHub(", 'i2cMemory': 256", "",
                   Fault("'request': 'i2c-write', 'kind': 'urb-status', 'code': 3221225476"));
    m_bench.Expect(1, "i2c write --address 0 --data 01 --yes",
                   HasSubstr("nothing could be written at 0x00000000: "),
                   "Check the address and what hangs on the hub's I2C port.");
    m_bench.Expect(0, "i2c write --address 0 --data 01 --yes");

    m_bench.UseHub("", "", Fault("'request': 'read-flash', 'kind': 'lie', 'times': 100"));
    (void)m_bench.Image("0x0100");
    m_bench.Expect(7, "verify @0x0100.bin");
    m_bench.Expect(1, "dump @dump.bin --size 8192");
    EXPECT_EQ(m_bench.ReadText("dump.bin"), "");
}
