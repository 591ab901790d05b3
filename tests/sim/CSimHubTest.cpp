#include "SimHubFixture.h"

namespace
{

using HubReset = SimHubTest;

TEST_F(HubReset, PullingThePlugCancelsTheReturn)
{
    Build();
    ASSERT_EQ(Out(REQ_FW_RESET, 0), 0u);
    Hub().Unplug();
    m_clock.Advance(60'000'000);
    EXPECT_FALSE(Hub().IsOnBus());
    EXPECT_EQ(m_port.nLeft, 1);
}

TEST_F(HubReset, WithoutACompleteImageItStaysInRom)
{
    Build();
    Bytes broken = m_old;
    broken[0x1234] ^= 0x10;
    Hub().LoadImage(broken);
    EXPECT_FALSE(Hub().RunsFlash());
    ToFlash();
    EXPECT_FALSE(Hub().RunsFlash());
}

/// What a chip refuses, and what it says about it.
struct Abuse
{
    bool bRom;
    USHORT usEnable;
    SETUP_PACKET setup;
    const char* pszReason;
};

const Abuse kAbuses[] = {
    {false, 0, {0x40, 0x77, 0, 0, 0}, "unknown request: request 0x40/0x77"},
    {false, 0, {0xC0, 0xC8, 0, 0, 4}, "unknown request: request 0xC0/0xC8"},
    {false, 0, {0x40, 0x02, 3, 0, 0}, "enable without its key"},
    {false, 0, {0x40, 0x02, 9, 0x0A7C, 0}, "unknown enable"},
    {true, 0, {0x40, 0xC8, 0, 0, 4}, "flash write without enable 3"},
    {true, 1, {0x40, 0xC8, 0, 0, 4}, "flash write without enable 3"},
    {false, 3, {0x40, 0xC8, 0, 0, 4}, "flash write where code runs"},
    {true, 3, {0x40, 0xC8, 0, 0, 4}, "flash write would set bits"},
    {true, 3, {0x40, 0xC8, 0xFFFF, 3, 2}, "flash write outside"},
    {true, 3, {0x40, 0xC8, 0, 0, 4097}, "flash request too long"},
    {false, 0, {0xC0, 0xD8, 0, 0, 4097}, "flash request too long"},
    {true, 3, {0x40, 0xC8, 0, 0, 0}, "wrong data stage"},
    {true, 0, {0x40, 0xE8, 0, 0, 0}, "erase without enable 1"},
    {true, 3, {0x40, 0xE8, 0, 0, 0}, "erase without enable 1"},
    {true, 1, {0x40, 0xE8, 0, 0, 0}, "erase not prepared: register 0xD820"},
    {true, 1, {0x40, 0xE8, 0x1000, 0, 0}, "erase elsewhere"},
    {false, 0, {0x40, 0x0E, 0, 0xD820, 1}, "memory write without enable"},
    {true, 0, {0x40, 0xD9, 1, 0, 0}, "no code here that validates"},
    {false, 0, {0x40, 0xE9, 0x0100, 0, 0}, "unknown reset"},
    {false, 0, {0xC0, 0xD6, 0, 0, 4}, "I2C read before"},
    {false, 0, {0x40, 0xF6, 0x1234, 0x0080, 0}, "I2C configuration without"},
    {false, 0, {0x40, 0xDC, 0x0166, 0, 5}, "block write out of frame"},
};

using HubMisuse = SimHubTest;

TEST_F(HubMisuse, IsStalledAndCounted)
{
    for (const Abuse& abuse : kAbuses) {
        Build();
        if (abuse.bRom)
            ToRom();
        ASSERT_EQ(Enable(abuse.usEnable), 0u);
        const CSimHubBanks::Kept before = Hub().Keep();
        Bytes data(0xFFFF, 0xFF);
        EXPECT_EQ(Hub().Control(abuse.setup, data.data(), kTimeoutMs).dwError, kErrGenFailure);
        ASSERT_EQ(Hub().Misuse().Count(), 1u) << abuse.pszReason;
        EXPECT_EQ(Hub().Misuse().Text().find(abuse.pszReason), 0u) << Hub().Misuse().Text();
        EXPECT_EQ(Hub().Keep().flash, before.flash);
    }
}

struct Target : ISimI2cTarget
{
    SimI2cResult Write(BYTE, USHORT, const BYTE*, BYTE) override { return answer; }
    SimI2cResult Read(BYTE, USHORT, BYTE*, BYTE) override { return answer; }
    SimI2cResult answer;
};

using HubI2c = SimHubTest;

TEST_F(HubI2c, TargetsRefuseStretchOrHoldTheBus)
{
    const std::tuple<SimI2cResult, DWORD, CSimClock::Micros> kAnswers[] = {
        {{SimI2cAnswer::Nak, 0}, kErrGenFailure, 0},
        {{SimI2cAnswer::Ack, 3'000'000}, kErrNone, 3'000'000},
        {{SimI2cAnswer::Stuck, 0}, kErrSemTimeout, 5'000'000},
        {{SimI2cAnswer::Ack, 0}, kErrSemTimeout, 5'000'000}, // still stuck
    };
    Build();
    Target target;
    Hub().AttachI2cTarget(0x66, &target);
    for (const auto& [answer, dwError, usTaken] : kAnswers) {
        target.answer = answer;
        const auto usBefore = m_clock.Now();
        EXPECT_EQ(Out(REQ_BLOCK_OUT, 0x1366, 0, {0, 0, 0}), dwError);
        EXPECT_GE(m_clock.Now() - usBefore, usTaken);
    }
    Hub().PowerUp();
    EXPECT_EQ(Out(REQ_BLOCK_OUT, 0x1366, 0, {0, 0, 0}), 0u);
}

TEST_F(HubI2c, MemoryEndsWhereItEnds)
{
    Build();
    Hub().AttachI2cMemory(std::make_shared<CSimI2cMemory>(0x20000));
    ASSERT_EQ(Out(REQ_I2C_CONFIG, 0x1122, 0x80B3), 0u);
    EXPECT_EQ(Out(REQ_I2C_WRITE, 0x0010, 0x0001, {1, 2, 3}), 0u);
    EXPECT_EQ(In(REQ_I2C_READ, 0x0011, 0x0001, 2), (Bytes{2, 3}));
    EXPECT_TRUE(In(REQ_I2C_READ, 0xFFFF, 0x0001, 2).empty());
}

/// A hub of two banks that downloads into the one that does not run.
class HubOfTwoBanks : public SimHubTest
{
protected:
    void SetUp() override
    {
        SimHubSettings settings;
        settings.bDualBank = true;
        Build(settings);
    }
};

TEST_F(HubOfTwoBanks, LoseTheBusAndNotTheOldImageWithTheirPower)
{
    ASSERT_EQ(Enable(3), 0u);
    Hub().LosePowerAt(Hub().FlashOperations() + 2);
    EXPECT_EQ(WriteImage(m_new), kErrDeviceGone);
    EXPECT_FALSE(Hub().IsOnBus());
    Hub().PowerUp();
    EXPECT_TRUE(Hub().Runs(m_old));
}

TEST_F(HubOfTwoBanks, ResetWithoutADownloadKeepsTheBank)
{
    Hub().Banks().Load(1, m_new);
    ToFlash();
    EXPECT_TRUE(Hub().Runs(m_old));
}

TEST_F(HubOfTwoBanks, ValidationSeesADifferenceOfOneBit)
{
    Bytes bad = m_new;
    bad[0x4000] ^= 0x01;
    ASSERT_EQ(Enable(3), 0u);
    ASSERT_EQ(WriteImage(bad), 0u);
    EXPECT_EQ(Out(REQ_ISP_VALIDATION, 1), kErrGenFailure);
    EXPECT_EQ(Out(REQ_ISP_VALIDATION, 0), 0u);
    ToFlash();
    EXPECT_TRUE(Hub().Runs(m_old));
}

/// A hub in ROM code that is prepared to be erased.
class HubErase : public SimHubTest
{
protected:
    void SetUp() override
    {
        Build();
        ToRom();
        PrepareErase();
    }
};

TEST_F(HubErase, NeedsEveryUnlockRegister)
{
    const std::pair<USHORT, BYTE> spoilt[] = {{0xD820, 0}, {0xD825, 1}, {0xD826, 0},
                                              {0xD900, 1}, {0xD800, 1}, {0xD800, 0x40}};
    for (const auto& [usRegister, by] : spoilt) {
        SetUp();
        EXPECT_EQ(Out(REQ_WRITE_MEM, 0, usRegister, {by}), 0u);
        m_clock.Advance(20'000);
        EXPECT_EQ(Erase(), kErrGenFailure);
        ASSERT_EQ(Hub().Misuse().Count(), 1u);
        EXPECT_NE(Hub().Misuse().Text().find(CSimMisuse::Hex(usRegister, 4)), std::string::npos);
        EXPECT_TRUE(Hub().Banks().IsComplete(0));
    }
}

TEST_F(HubErase, NeedsTheUnlockToSettle)
{
    EXPECT_EQ(Out(REQ_WRITE_MEM, 0, 0xD800, {0x41}), 0u);
    m_clock.Advance(15'000);
    EXPECT_EQ(Erase(), kErrGenFailure);
    m_clock.Advance(5'000);
    EXPECT_EQ(Erase(), 0u);
}

TEST_F(HubErase, LocksItselfAgain)
{
    EXPECT_EQ(Erase(), 0u);
    EXPECT_EQ(Erase(), kErrGenFailure);
}

TEST_F(HubErase, WorkThatOutlastsTheTimeOutGoesOnBehindIt)
{
    EXPECT_EQ(Send(0x40, REQ_ERASE_FLASH, 0, 0, nullptr, 0, 10).dwError, kErrSemTimeout);
    const auto usBefore = m_clock.Now();
    EXPECT_EQ(Enable(3), 0u);
    EXPECT_GT(m_clock.Now() - usBefore, 100'000u);
    EXPECT_EQ(Write(0, {1, 2, 3}), 0u);
}

TEST_F(HubErase, LetsBitsBeClearedOnceAndTheSameDataComeAgain)
{
    ASSERT_EQ(Erase(), 0u);
    ASSERT_EQ(Enable(3), 0u);
    const auto nBefore = Hub().FlashOperations();
    EXPECT_EQ(Write(0, {0x12, 0x34}), 0u);
    EXPECT_EQ(Write(0, {0x12, 0x34}), 0u);
    EXPECT_EQ(Write(0, {0x02, 0x30}), 0u);
    EXPECT_EQ(Write(0, {0x12, 0x34}), kErrGenFailure);
    EXPECT_EQ(Hub().FlashOperations() - nBefore, 3u);
    EXPECT_EQ(Read(0, 3), (Bytes{0x02, 0x30, 0xFF}));
}

TEST_F(HubOfTwoBanks, ErasesASectorOncePerEnable)
{
    ASSERT_EQ(Enable(3), 0u);
    EXPECT_EQ(Write(0, {0x00}), 0u);
    EXPECT_EQ(Write(0, {0x01}), kErrGenFailure);
    ASSERT_EQ(Enable(3), 0u);
    EXPECT_EQ(Write(0, {0x01}), 0u);
    EXPECT_EQ(Write(4095, {0x01, 0x02}), 0u); // the next sector erases itself as well
    EXPECT_EQ(Read(4095, 2), (Bytes{0x01, 0x02}));
}

} // namespace
