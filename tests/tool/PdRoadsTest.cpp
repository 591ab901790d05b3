#include "tool/PdBench.h"

#include <cstdio>

using testing::_;
using testing::HasSubstr;

namespace
{
/// What the tool does with a PD controller by either road.
class PdRoads : public PdBench, public testing::WithParamInterface<PdRoad>
{
protected:
    PdRoads() : PdBench(GetParam()) {}
};
} // namespace

TEST_P(PdRoads, UpdatesTheOtherBankReadsItBackAndRunsIt)
{
    EXPECT_EQ(Expect(0, "update @0x0222.bin --dry-run").Json()["result"], "dry-run");
    const Bytes old = BankOf(State(), 0);
    nlohmann::json document = Expect(0, "update @0x0222.bin --backup @old").Json();
    EXPECT_EQ(document["before"], "0x0111");
    EXPECT_EQ(document["after"], "0x0222");
    EXPECT_EQ(document["result"], "updated");
    EXPECT_TRUE(Runs(m_strImage));
    EXPECT_EQ(State()["activeBank"], 1);
    EXPECT_EQ(m_bench.ReadBytes("old"), old);
    Expect(0, "verify @0x0222.bin");
    Expect(0, "dump @dump");
    EXPECT_EQ(m_bench.ReadBytes("dump"), BankOf(State(), 1));
    Expect(1, "dump @dump"); // it exists
    (void)PdImage("0x0333");
    Expect(7, "verify @0x0333.bin", HasSubstr("differs from the image at offset 0x007EE8: image "),
           HasSubstr(kTool + m_road.pszCommand + " update @0x0333.bin --"));
    EXPECT_EQ(Expect(0, "update @0x0222.bin").Json()["result"], "current");
    EXPECT_EQ(Expect(0, "info").Json()["bank1Version"], "0x0222");
}

TEST_P(PdRoads, RefusesImagesThatAreNotForItAndErasesOnRequestOnly)
{
    (void)m_bench.Image("0x0300");
    Expect(5, "update @0x0300.bin"); // a hub's
    (void)PdImage("0x0001");
    Expect(5, "update @0x0001.bin"); // older
    (void)m_bench.Image("0x0400", "--chip 0x7310 --size 131073");
    Expect(5, "update @0x0400.bin",
           "image @0x0400.bin: is too large: 131073 bytes, a bank of a PD controller has 128 KiB "
           "(131072 bytes)");
    Expect(2, "erase");
    EXPECT_EQ(State()["activeBank"], 0);
    Expect(0, "erase --yes");
    EXPECT_EQ(FlashOf(State()), Bytes(2 * kBankSize, 0xFF));
    Expect(1, "version", HasSubstr(" runs its ROM code, which has no version"));
    Expect(5, "update @0x0222.bin",
           HasSubstr("cannot be read, so it cannot be told whether this image is for it"));
    Expect(0, "update @0x0222.bin --force");
    EXPECT_TRUE(Runs(m_strImage));
}

TEST_P(PdRoads, FindsAWrongByteBeforeTheOldBankIsMarked)
{
    UseBenchWithFault(m_road.pszWrongByte);
    Expect(7, "update @0x0222.bin",
           HasSubstr(std::string("differs from the image at offset ") + m_road.pszWrongAt), _,
           HasSubstr("but not found right; the old firmware is still in the bank that runs"));
    EXPECT_EQ(BankOf(State(), 0)[kMarkAt], 0xFF) << "the mark gives the old bank up";
    EXPECT_EQ(State()["runsFlash"], true);
}

TEST_P(PdRoads, BrokenUpdatesAreReportedAsDoneExactlyWhenTheModelRunsTheImage)
{
    m_bench.Expect(0, std::string(m_road.pszCommand) + " list");
    const Bytes old = BankOf(State(), 0);
    for (const std::string& strFault : m_road.faults)
        BreakUpdate(strFault, old);
    std::printf("%zu broken updates\n", m_road.faults.size());
}

INSTANTIATE_TEST_SUITE_P(Of, PdRoads, testing::Values(kThroughTheHub, kAsBillboard),
                         [](const auto& test) { return std::string(test.param.pszCommand); });
