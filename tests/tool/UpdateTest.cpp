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
    std::string m_strOld = m_bench.Image("0x0100");
    std::string m_strImage = m_bench.Image("0x0200");
};

} // namespace

TEST_F(Update, WritesTheImageAndComesBackWithItsVersion)
{
    nlohmann::json document = m_bench.Expect(0, "--json update @0x0200.bin").Json();
    EXPECT_TRUE(m_bench.Runs(m_strImage));
    EXPECT_EQ(document["before"], "0x0100");
    EXPECT_EQ(document["after"], "0x0200");
    EXPECT_EQ(document["result"], "updated");
}

TEST_F(Update, WritesTheOtherBankOfADualBankHubAndSaysSo)
{
    m_bench.UseHub("", ", 'banks': 2");
    const ToolResult result = m_bench.Expect(0, "update @0x0200.bin");
    EXPECT_TRUE(m_bench.Runs(m_strImage));
    EXPECT_EQ(m_bench.StateOf()["activeBank"], 1);
    EXPECT_THAT(result.strOut, HasSubstr("the bank that was written"));
}

TEST_F(Update, DoesNothingWhenTheVersionIsThereAlreadyUnlessForced)
{
    const std::string strImage = m_bench.Image("0x0100", "--seed 7");
    EXPECT_EQ(m_bench.Expect(0, "--json update @0x0100.bin").Json()["result"], "current");
    EXPECT_FALSE(m_bench.Runs(strImage)) << "its bytes are others";
    m_bench.Expect(0, "update @0x0100.bin --force");
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(Update, RefusesAnOlderVersionUnlessAllowed)
{
    const std::string strImage = m_bench.Image("0x0001");
    m_bench.Expect(5, "update @0x0001.bin",
                   "the image is older: the hub runs 0x0100, the image is 0x0001",
                   "To go back on purpose, add --allow-downgrade.");
    EXPECT_FALSE(m_bench.Runs(strImage));
    m_bench.Expect(0, "update @0x0001.bin --allow-downgrade");
    EXPECT_TRUE(m_bench.Runs(strImage));
}

TEST_F(Update, RefusesAnImageForAnotherChipEvenWhenForced)
{
    (void)m_bench.Image("0x0200", "--chip 0x6551");
    m_bench.Expect(5, "update @0x0200.bin --force",
                   "the image is for chip 0x6551, the hub is 0x6560");
    EXPECT_TRUE(m_bench.Runs(m_strOld));
}

TEST_F(Update, AsksForForceWhereTheHubsChipIdCannotBeRead)
{
    m_bench.UseBench("{'schema': 1, 'controllers': [{'id': 'xhci'}], "
                     "'hubs': [{'id': 'hub', 'parent': 'xhci', 'port': 1}]}");
    m_bench.Expect(5, "update @0x0200.bin",
                   "the chip ID in the hub's own flash cannot be read, so it cannot be told "
                   "whether this image is for it",
                   "If you are sure that image and hub belong together, add --force.");
    m_bench.Expect(0, "update @0x0200.bin --force");
    EXPECT_TRUE(m_bench.Runs(m_strImage));
}

TEST_F(Update, ChangesNothingInADryRun)
{
    EXPECT_EQ(m_bench.Expect(0, "--json update @0x0200.bin --dry-run").Json()["result"], "dry-run");
    EXPECT_TRUE(m_bench.Runs(m_strOld));
}

TEST_F(Update, BacksUpTheOldFlashAndNeverOverABackup)
{
    m_bench.Expect(0, "update @0x0200.bin --backup @backup.bin");
    EXPECT_EQ(m_bench.ReadBytes("backup.bin"), m_bench.ReadBytes("0x0100.bin"));
    m_bench.Expect(1, "update @0x0200.bin --force --backup @backup.bin");
    EXPECT_EQ(m_bench.ReadBytes("backup.bin"), m_bench.ReadBytes("0x0100.bin"));
    m_bench.Expect(0, "update @backup.bin --allow-downgrade");
    EXPECT_TRUE(m_bench.Runs(m_strOld));
}

TEST_F(Update, RefusesWhatIsNoImageWithTheReasonAndTouchesNothing)
{
    // Size, fill (-1: the bytes of a good image), and what is said of the file that is named.
    const std::tuple<size_t, int, std::string, const char*> kBadImages[] = {
        {0, 0, "@bad.bin", "is empty"},
        {32623, -1, "@bad.bin", "is too short: 32623 bytes, an image has at least 32624"},
        {65536, 0xFF, "@bad.bin", "is blank: every byte is 0xFF"},
        {65536, 0x00, "@bad.bin", "is blank: every byte is 0x00"},
        {65536, -1, "@bad.bin --flash-size 32768",
         "is too large: 64 KiB (65536 bytes), the flash has 32 KiB (32768 bytes)"},
        {16 * 1024 * 1024 + 1, -1, "@bad.bin",
         "is too large: 16777217 bytes, no hub's flash is larger than 16384 KiB (16777216 bytes)"},
        {0, 0, "@missing.bin", "there is no such file"},
        {0, 0, "@", "is a folder, not a file"},
    };
    for (const auto& [cb, nFill, strLine, pszSays] : kBadImages) {
        std::vector<BYTE> bytes = m_bench.ReadBytes("0x0200.bin");
        bytes.resize(cb);
        if (nFill >= 0)
            std::fill(bytes.begin(), bytes.end(), static_cast<BYTE>(nFill));
        (void)m_bench.Write("bad.bin", bytes);
        m_bench.Expect(5, "update " + strLine,
                       "image " + strLine.substr(0, strLine.find(' ')) + ": " + pszSays);
        EXPECT_TRUE(m_bench.Runs(m_strOld));
    }
}
