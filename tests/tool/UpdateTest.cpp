#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

class Update : public testing::Test
{
protected:
    Update() { m_bench.UseHub(); }

    CBenchFolder m_bench;
};

constexpr const char* kDualBank = R"(, "banks": 2)";

} // namespace

TEST_F(Update, WritesTheImageAndComesBackWithItsVersion)
{
    const std::string strImage = m_bench.Image("0x0200");
    const ToolResult result = m_bench.Run({"--json", "update", strImage});
    ASSERT_EQ(result.nExit, 0) << result.strErr;
    EXPECT_TRUE(m_bench.Runs(strImage));
    const nlohmann::json document = result.Json();
    EXPECT_EQ(document["before"], "0x0100");
    EXPECT_EQ(document["after"], "0x0200");
    EXPECT_EQ(document["result"], "updated");
}

TEST_F(Update, WritesTheOtherBankOfADualBankHubAndSaysSo)
{
    m_bench.UseHub("", kDualBank);
    const std::string strImage = m_bench.Image("0x0200");
    const ToolResult result = m_bench.Run({"update", strImage});
    ASSERT_EQ(result.nExit, 0) << result.strErr;
    EXPECT_TRUE(m_bench.Runs(strImage));
    EXPECT_EQ(m_bench.HubState()["activeBank"], 1);
    EXPECT_THAT(result.strOut, HasSubstr("the bank that was written"));
}

TEST_F(Update, DoesNothingWhenTheVersionIsThereAlreadyUnlessForced)
{
    const std::string strImage = m_bench.Image("0x0100", {"--seed", "7"});
    const ToolResult result = m_bench.Run({"--json", "update", strImage});
    EXPECT_EQ(result.nExit, 0);
    EXPECT_EQ(result.Json()["result"], "current");
    EXPECT_FALSE(m_bench.Runs(strImage)) << "its bytes are others";
    EXPECT_EQ(m_bench.Run({"update", strImage, "--force"}).nExit, 0);
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(Update, RefusesAnOlderVersionUnlessAllowed)
{
    const std::string strImage = m_bench.Image("0x0001");
    const ToolResult result = m_bench.Run({"update", strImage});
    EXPECT_EQ(result.nExit, 5);
    EXPECT_THAT(result.strErr, HasSubstr("--allow-downgrade"));
    EXPECT_FALSE(m_bench.Runs(strImage));
    EXPECT_EQ(m_bench.Run({"update", strImage, "--allow-downgrade"}).nExit, 0);
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(Update, RefusesAnImageForAnotherChipEvenWhenForced)
{
    const std::string strImage = m_bench.Image("0x0200", {"--chip", "0x6551"});
    const ToolResult result = m_bench.Run({"update", strImage, "--force"});
    EXPECT_EQ(result.nExit, 5);
    EXPECT_THAT(result.strErr, HasSubstr("the image is for chip 0x6551, the hub is 0x6560"));
    EXPECT_TRUE(m_bench.Runs(m_bench.Image("0x0100")));
}

TEST_F(Update, AsksForForceWhereTheHubsChipIdCannotBeRead)
{
    m_bench.UseBench(R"({"schema": 1, "controllers": [{"id": "xhci"}],
        "hubs": [{"id": "hub", "parent": "xhci", "port": 1}]})");
    const std::string strImage = m_bench.Image("0x0200");
    const ToolResult result = m_bench.Run({"update", strImage});
    EXPECT_EQ(result.nExit, 5);
    EXPECT_THAT(result.strErr, HasSubstr("--force"));
    EXPECT_EQ(m_bench.Run({"update", strImage, "--force"}).nExit, 0);
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(Update, ChangesNothingInADryRun)
{
    const std::string strImage = m_bench.Image("0x0200");
    const ToolResult result = m_bench.Run({"--json", "update", strImage, "--dry-run"});
    EXPECT_EQ(result.nExit, 0);
    EXPECT_EQ(result.Json()["result"], "dry-run");
    EXPECT_TRUE(m_bench.Runs(m_bench.Image("0x0100")));
}

TEST_F(Update, BacksUpTheOldFlashAndNeverOverABackup)
{
    const std::string strImage = m_bench.Image("0x0200");
    const std::string strBackup = m_bench.Path("backup.bin");
    ASSERT_EQ(m_bench.Run({"update", strImage, "--backup", strBackup}).nExit, 0);
    (void)m_bench.Image("0x0100");
    EXPECT_EQ(m_bench.ReadBytes("backup.bin"), m_bench.ReadBytes("0x0100.bin"));
    const ToolResult again = m_bench.Run({"update", strImage, "--force", "--backup", strBackup});
    EXPECT_EQ(again.nExit, 1);
    EXPECT_EQ(m_bench.ReadBytes("backup.bin"), m_bench.ReadBytes("0x0100.bin"));
    EXPECT_EQ(m_bench.Run({"update", strBackup, "--allow-downgrade"}).nExit, 0);
    EXPECT_TRUE(m_bench.Runs(strBackup));
}

namespace
{

struct BadImage
{
    const char* pszCase;
    size_t cb; ///< bytes of the file; 0: empty
    int nFill; ///< -1: the bytes of a good image
    const char* pszFlashSize;
    const char* pszSays;
};

class RefusedImage : public testing::TestWithParam<BadImage>
{
protected:
    CBenchFolder m_bench;
};

const BadImage kBadImages[] = {
    {"Empty", 0, 0, nullptr, "is empty"},
    {"Short", 32623, -1, nullptr, "is too short: 32623 bytes, an image has at least 32624"},
    {"Erased", 65536, 0xFF, nullptr, "is blank: every byte is 0xFF"},
    {"Zeroed", 65536, 0x00, nullptr, "is blank: every byte is 0x00"},
    {"LargerThanTheFlash", 65536, -1, "32768", "is too large: 64 KiB (65536 bytes), the flash has"},
    {"LargerThanAnyFlash", 16 * 1024 * 1024 + 1, -1, nullptr, "no hub's flash is larger than"},
};

} // namespace

TEST_P(RefusedImage, IsNamedWithTheReasonAndTouchesNothing)
{
    m_bench.UseHub();
    const BadImage& bad = GetParam();
    (void)m_bench.Image("0x0200");
    std::vector<BYTE> bytes = m_bench.ReadBytes("0x0200.bin");
    bytes.resize(bad.cb);
    if (bad.nFill >= 0)
        std::fill(bytes.begin(), bytes.end(), static_cast<BYTE>(bad.nFill));
    std::vector<std::string> arguments = {"--json", "update", m_bench.Write("bad.bin", bytes)};
    if (bad.pszFlashSize != nullptr)
        arguments.insert(arguments.end(), {"--flash-size", bad.pszFlashSize});

    const ToolResult result = m_bench.Run(arguments);

    EXPECT_EQ(result.nExit, 5);
    EXPECT_THAT(result.Json()["error"]["what"].get<std::string>(), HasSubstr(bad.pszSays));
    EXPECT_TRUE(m_bench.Runs(m_bench.Image("0x0100")));
}

INSTANTIATE_TEST_SUITE_P(Of, RefusedImage, testing::ValuesIn(kBadImages),
                         [](const auto& test) { return test.param.pszCase; });

TEST_F(Update, RefusesPathsThatAreNoImageFile)
{
    const std::pair<std::string, const char*> kPaths[] = {
        {m_bench.Path("missing.bin"), "there is no such file"},
        {m_bench.Path(""), "is a folder, not a file"},
    };
    for (const auto& [strPath, pszSays] : kPaths) {
        const ToolResult result = m_bench.Run({"update", strPath});
        EXPECT_EQ(result.nExit, 5) << strPath;
        EXPECT_THAT(result.strErr, HasSubstr(pszSays));
    }
}
