#include "sim/models/CSimSmbusController.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<BYTE>;
constexpr ULONGLONG kBase = 0xEFA0;
constexpr BYTE kAddress = 0x42;

/// A controller with one device, enabled, driven register by register.
class Smbus : public testing::Test
{
protected:
    void SetUp() override
    {
        m_bus.Attach(kAddress, &m_device);
        m_bus.SetHostc(0x01);
    }
    BYTE Get(unsigned nReg) { return static_cast<BYTE>(m_bus.Read(kBase + nReg, 1)); }
    void Set(unsigned nReg, unsigned nValue) { m_bus.Write(kBase + nReg, nValue, 1); }
    void Address(BYTE bySlave, BYTE byCommand)
    {
        Set(0, 0xFF);
        Set(4, bySlave);
        Set(3, byCommand);
    }
    void FillBuffer(const Bytes& data)
    {
        Set(0xD, 0x02);
        (void)Get(2);
        Set(5, static_cast<BYTE>(data.size()));
        for (const BYTE by : data)
            Set(7, by);
    }
    /// The status bits that end a transaction.
    BYTE Wait()
    {
        m_clock.Advance(10'000);
        return Get(0) & 0x1F;
    }
    std::string Misuse() { return m_bus.Misuse().Text(); }

    CSimClock m_clock;
    CSimSmbusController m_bus{m_clock, kBase};
    CSimSmbusMemory m_device;
};

TEST_F(Smbus, ReadingTheStatusTakesTheInUseFlag)
{
    EXPECT_EQ(Get(0), 0x00);
    EXPECT_EQ(Get(0), 0x40);
    Set(0, 0x40);
    EXPECT_EQ(Get(0), 0x00);
}

TEST_F(Smbus, BufferIsReadBackBehindItsIndex)
{
    FillBuffer({1, 2, 3});
    (void)Get(2);
    EXPECT_EQ(Get(7), 1);
    EXPECT_EQ(Get(7), 2);
    m_bus.CorruptBufferReads(1);
    EXPECT_EQ(Get(7), 2);
    (void)Get(2);
    for (int i = 0; i < 32; ++i)
        (void)Get(7);
    EXPECT_EQ(Misuse(), "");
    (void)Get(7);
    EXPECT_EQ(Misuse(), "buffer index not set back after 32 bytes\n");
}

TEST_F(Smbus, BytewiseReadNeedsItsLastByteAnnounced)
{
    for (const bool bAnnounced : {true, false}) {
        m_bus.Misuse().Clear();
        m_device.Blocks()[0x13] = {0xC1, 0xC2};
        Address(kAddress | 1, 0x13);
        Set(2, 0x54);
        m_clock.Advance(10'000);
        EXPECT_EQ(Get(5), 2);
        EXPECT_EQ(Get(7), 0xC1);
        Set(2, bAnnounced ? 0x34 : 0x14);
        Set(0, 0x80);
        m_clock.Advance(10'000);
        EXPECT_EQ(Get(7), 0xC2);
        Set(0, 0x80);
        EXPECT_EQ(Get(0) & 0x9F, 0x02);
        EXPECT_EQ(Misuse(), bAnnounced ? "" : "last byte of a block read was not announced\n");
    }
}

TEST_F(Smbus, PacketErrorCodesMustBeSentWhereTheyAreWanted)
{
    m_device.SetNeedsPec(true);
    Address(kAddress, 0x10);
    FillBuffer({1});
    Set(2, 0x54);
    EXPECT_EQ(Wait(), 0x04);
    Set(0, 0xFF);
    Set(0xD, 0x03);
    Set(2, 0x54);
    EXPECT_EQ(Wait(), 0x02);
}

struct SmbusAbuse
{
    BYTE byHostc;
    BYTE byCount;
    BYTE byControl;
    bool bSkipClear;
    const char* pszReason;
};

const SmbusAbuse kSmbusAbuses[] = {
    {0x05, 1, 0x54, false, "start in I2C mode"},
    {0x01, 1, 0x48, false, "start of a command that is no block command"},
    {0x01, 0, 0x54, false, "start of a block write with a count out of 1 to 32"},
    {0x01, 33, 0x54, false, "start of a block write with a count out of 1 to 32"},
    {0x01, 1, 0x54, true, "start with status bits standing"},
};

class SmbusMisuse : public Smbus, public testing::WithParamInterface<SmbusAbuse>
{};

TEST_P(SmbusMisuse, FailsTheStartAndIsCounted)
{
    m_bus.SetHostc(GetParam().byHostc);
    if (GetParam().bSkipClear) {
        Address(0x60, 0x10); // nobody
        FillBuffer({1});
        Set(2, 0x54);
        ASSERT_EQ(Wait(), 0x04);
        Set(4, kAddress);
    } else {
        Address(kAddress, 0x10);
    }
    Set(0xD, 0x02);
    Set(5, GetParam().byCount);
    Set(2, GetParam().byControl);
    EXPECT_EQ(Wait() & 0x10, 0x10);
    EXPECT_EQ(Misuse(), std::string(GetParam().pszReason) + "\n");
}

INSTANTIATE_TEST_SUITE_P(Controller, SmbusMisuse, testing::ValuesIn(kSmbusAbuses));

TEST_F(Smbus, BusyControllerWantsToBeLeftAlone)
{
    m_bus.FailTransaction(0, SimSmbusFault::Hang);
    Address(kAddress, 0x10);
    FillBuffer({1});
    Set(2, 0x54);
    Set(2, 0x54);
    Set(7, 0x55);
    Set(4, 0x60);
    EXPECT_EQ(Misuse(), "start while busy\nbuffer written while busy\n"
                        "register 0x04 written while busy\n");
    EXPECT_EQ(Get(0) & 0x01, 0x01);
}

} // namespace
