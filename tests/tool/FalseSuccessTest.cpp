#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

/// What the library reports as success although it is none; the tool must not.
class NotPassedOn : public testing::Test
{
protected:
    std::string ErrorOf(const ToolResult& result) const
    {
        return result.Json()["error"]["what"].get<std::string>();
    }

    CBenchFolder m_bench;
};

constexpr const char* kNeverBack = R"(, "timing": {"neverBack": true})";

std::string Fault(const char* pszMembers)
{
    return std::string(R"(, "faults": [{"hub": "hub", )") + pszMembers + "}]";
}

} // namespace

TEST_F(NotPassedOn, AnUpdateWhoseHubStayedAwayAfterTheResetToRom)
{
    m_bench.UseHub(kNeverBack);
    const ToolResult result = m_bench.Run({"--json", "update", m_bench.Image("0x0200")});
    EXPECT_EQ(result.nExit, 8);
    EXPECT_EQ(ErrorOf(result), "the hub did not come back after its reset to ROM code");
    EXPECT_EQ(result.Json()["error"]["state"],
              "the hub is not on the bus; its flash was not touched");
    ASSERT_EQ(m_bench.Run({"bench", "plug", "hub"}).nExit, 0);
    EXPECT_TRUE(m_bench.Runs(m_bench.Image("0x0100")));
}

TEST_F(NotPassedOn, AnUpdateWhoseHubStayedAwayAfterItsRestart)
{
    // A hub with two banks is not reset to ROM code: its only reset is the last one.
    m_bench.UseHub(kNeverBack, R"(, "banks": 2)");
    const ToolResult result = m_bench.Run({"--json", "update", m_bench.Image("0x0200")});
    EXPECT_EQ(result.nExit, 8);
    EXPECT_EQ(ErrorOf(result), "the hub did not come back after its restart");
    EXPECT_THAT(result.Json()["error"]["state"].get<std::string>(),
                HasSubstr("its flash holds the new image, read back and found right"));
}

TEST_F(NotPassedOn, AnUpdateWhoseHubDidNotStartTheNewFirmware)
{
    m_bench.UseHub("", "", Fault(R"("request": "reset-to-flash", "kind": "lie")"));
    const ToolResult result = m_bench.Run({"--json", "update", m_bench.Image("0x0200")});
    EXPECT_EQ(result.nExit, 8);
    EXPECT_EQ(ErrorOf(result),
              "the hub is back, but it runs its ROM code and not the new firmware");
}

TEST_F(NotPassedOn, AHubThatIsOnlyLateIsWaitedFor)
{
    m_bench.UseHub(R"(, "timing": {"returnMs": 14000})", R"(, "banks": 2)");
    const std::string strImage = m_bench.Image("0x0200");
    const ToolResult result = m_bench.Run({"update", strImage});
    EXPECT_EQ(result.nExit, 0) << result.strErr;
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(NotPassedOn, AnEraseThatErasedNothing)
{
    m_bench.UseHub(kNeverBack);
    const ToolResult result = m_bench.Run({"--json", "erase", "--yes"});
    EXPECT_EQ(result.nExit, 8);
    EXPECT_EQ(result.Json()["error"]["state"],
              "the hub is not on the bus; its flash was not touched");
}

TEST_F(NotPassedOn, AnEraseThatTheHubOnlyReported)
{
    m_bench.UseHub("", "", Fault(R"("request": "erase", "kind": "lie")"));
    const ToolResult result = m_bench.Run({"--json", "erase", "--yes"});
    EXPECT_EQ(result.nExit, 6);
    EXPECT_THAT(ErrorOf(result),
                HasSubstr("the hub reported that it erased its flash, but offset"));
}

TEST_F(NotPassedOn, AVersionThatNobodyRead)
{
    m_bench.UseBench(R"({"schema": 1, "controllers": [{"id": "xhci"}],
        "hubs": [{"id": "hub", "parent": "xhci", "port": 1}]})");
    const ToolResult rom = m_bench.Run({"--json", "version"});
    EXPECT_EQ(rom.nExit, 1);
    EXPECT_EQ(ErrorOf(rom), "the hub runs its ROM code, which has no version");
    // A status that reports success and moves nothing.
    m_bench.UseHub("", "", Fault(R"("request": "status", "kind": "lie", "times": 100)"));
    const ToolResult lie = m_bench.Run({"--json", "version"});
    EXPECT_EQ(lie.nExit, 1);
    EXPECT_FALSE(lie.Json().contains("version"));
}

TEST_F(NotPassedOn, AStartWithoutADriver)
{
    m_bench.UseHub("", "", R"(, "machine": {"serviceManagerError": 5})");
    for (const char* const pszCommand : {"list", "ports", "version", "watch"}) {
        const ToolResult result = m_bench.Run({"--json", pszCommand});
        EXPECT_EQ(result.nExit, 4) << pszCommand;
        EXPECT_THAT(ErrorOf(result), HasSubstr("the hub driver could not be started"));
        EXPECT_THAT(result.Json()["error"]["next"].get<std::string>(),
                    HasSubstr("Run as administrator"));
    }
}

TEST_F(NotPassedOn, ADriverThatRunsAlreadyIsEnough)
{
    m_bench.UseHub("", "", R"(, "machine": {"serviceManagerError": 5, "driverRunning": true})");
    EXPECT_EQ(m_bench.Run({"version"}).nExit, 0);
}

TEST_F(NotPassedOn, ACheckThatDifferingBytesCannotFail)
{
    // In ROM code the library's own check passes whatever was read. Every write is sent twice,
    // so both of them carry the wrong bit.
    m_bench.UseHub("", "",
                   Fault(R"("request": "write-flash", "nth": 4, "times": 2, "kind": "corrupt",
                            "offset": 100, "mask": 255)"));
    const ToolResult result = m_bench.Run({"--json", "update", m_bench.Image("0x0200")});
    EXPECT_EQ(result.nExit, 7);
    EXPECT_THAT(ErrorOf(result), HasSubstr("differs from the image at offset 0x002064: image "));
    EXPECT_THAT(result.Json()["error"]["state"].get<std::string>(),
                HasSubstr("it was not restarted into that"));
    EXPECT_EQ(m_bench.HubState()["runsFlash"], false);
}

TEST_F(NotPassedOn, ATransferThatFailedWithACodeOfZero)
{
    // The driver carries the request, the URB says no, and no error code is left behind.
    m_bench.UseHub(R"(, "i2cMemory": 256)", "",
                   Fault(R"("request": "i2c-write", "kind": "urb-status", "code": 3221225476)"));
    const ToolResult write =
        m_bench.Run({"i2c", "write", "--address", "0", "--data", "01", "--yes"});
    EXPECT_EQ(write.nExit, 1);
    EXPECT_THAT(write.strErr, HasSubstr("nothing could be written"));
    EXPECT_EQ(m_bench.Run({"i2c", "write", "--address", "0", "--data", "01", "--yes"}).nExit, 0);

    m_bench.UseHub("", "", Fault(R"("request": "read-flash", "kind": "lie", "times": 100)"));
    EXPECT_EQ(m_bench.Run({"verify", m_bench.Image("0x0100")}).nExit, 7);
    EXPECT_EQ(m_bench.Run({"dump", m_bench.Path("dump.bin"), "--size", "8192"}).nExit, 1);
    EXPECT_EQ(m_bench.ReadText("dump.bin"), "");
}
