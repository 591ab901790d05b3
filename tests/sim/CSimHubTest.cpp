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

TEST_F(HubReset, ForeignImagesCountWhenOnlyBlanknessIsChecked)
{
    SimHubSettings settings;
    settings.eImageCheck = SimImageCheck::NotBlank;
    Build(settings);
    Bytes foreign(0x8000, 0x5A);
    foreign[0x7EF9] = 0x03;
    foreign[0x7EFA] = 0x04;
    Hub().LoadImage(foreign);
    EXPECT_TRUE(Hub().RunsFlash());
    EXPECT_EQ(Hub().Version(), 0x0304);
}

/// What a chip refuses, and what it says about it.
struct Abuse
{
    const char* pszCase;
    bool bRom;
    USHORT usEnable;
    SETUP_PACKET setup;
    const char* pszReason;
};

class HubMisuse : public SimHubTest, public testing::WithParamInterface<Abuse>
{};

TEST_P(HubMisuse, IsStalledAndCounted)
{
    Build();
    if (GetParam().bRom)
        ToRom();
    ASSERT_EQ(Enable(GetParam().usEnable), 0u);
    const CSimHubBanks::Kept before = Hub().Keep();
    Bytes data(0xFFFF, 0xFF);
    EXPECT_EQ(Hub().Control(GetParam().setup, data.data(), kTimeoutMs).dwError, kErrGenFailure);
    ASSERT_EQ(Hub().Misuse().Count(), 1u);
    EXPECT_EQ(Hub().Misuse().Reasons()[0].find(GetParam().pszReason), 0u) << Hub().Misuse().Text();
    EXPECT_EQ(Hub().Keep().flash, before.flash);
}

const Abuse kAbuses[] = {
    {"UnknownRequest", false, 0, {0x40, 0x77, 0, 0, 0}, "unknown request: request 0x40/0x77"},
    {"WrongDirection", false, 0, {0xC0, 0xC8, 0, 0, 4}, "unknown request: request 0xC0/0xC8"},
    {"EnableWithoutKey", false, 0, {0x40, 0x02, 3, 0, 0}, "enable without its key"},
    {"UnknownEnable", false, 0, {0x40, 0x02, 9, 0x0A7C, 0}, "unknown enable"},
    {"WriteLocked", true, 0, {0x40, 0xC8, 0, 0, 4}, "flash write without enable 3"},
    {"WriteAtEraseEnable", true, 1, {0x40, 0xC8, 0, 0, 4}, "flash write without enable 3"},
    {"WriteRunningCode", false, 3, {0x40, 0xC8, 0, 0, 4}, "flash write where code runs"},
    {"WriteSetsBits", true, 3, {0x40, 0xC8, 0, 0, 4}, "flash write would set bits"},
    {"WriteOutside", true, 3, {0x40, 0xC8, 0xFFFF, 3, 2}, "flash write outside"},
    {"WriteTooLong", true, 3, {0x40, 0xC8, 0, 0, 4097}, "flash request too long"},
    {"ReadTooLong", false, 0, {0xC0, 0xD8, 0, 0, 4097}, "flash request too long"},
    {"WriteOfNothing", true, 3, {0x40, 0xC8, 0, 0, 0}, "wrong data stage"},
    {"EraseLocked", true, 0, {0x40, 0xE8, 0, 0, 0}, "erase without enable 1"},
    {"EraseAtWriteEnable", true, 3, {0x40, 0xE8, 0, 0, 0}, "erase without enable 1"},
    {"EraseUnprepared", true, 1, {0x40, 0xE8, 0, 0, 0}, "erase not prepared: register 0xD820"},
    {"EraseElsewhere", true, 1, {0x40, 0xE8, 0x1000, 0, 0}, "erase elsewhere"},
    {"MemoryLocked", false, 0, {0x40, 0x0E, 0, 0xD820, 1}, "memory write without enable"},
    {"ValidationInRom", true, 0, {0x40, 0xD9, 1, 0, 0}, "no code here that validates"},
    {"UnknownReset", false, 0, {0x40, 0xE9, 0x0100, 0, 0}, "unknown reset"},
    {"I2cUnconfigured", false, 0, {0xC0, 0xD6, 0, 0, 4}, "I2C read before"},
    {"I2cConfigBits", false, 0, {0x40, 0xF6, 0x1234, 0x0080, 0}, "I2C configuration without"},
    {"BlockOutOfFrame", false, 0, {0x40, 0xDC, 0x0166, 0, 5}, "block write out of frame"},
};

INSTANTIATE_TEST_SUITE_P(Hub, HubMisuse, testing::ValuesIn(kAbuses),
                         [](const auto& abuse) { return std::string(abuse.param.pszCase); });

class HubI2c : public SimHubTest
{
protected:
    struct Target : ISimI2cTarget
    {
        SimI2cResult Write(BYTE cmd, USHORT offset, const BYTE* p, BYTE cb) override
        {
            log = {cmd, static_cast<BYTE>(offset & 0xFF), static_cast<BYTE>(offset >> 8), cb};
            log.insert(log.end(), p, p + cb);
            return answer;
        }
        SimI2cResult Read(BYTE cmd, USHORT offset, BYTE* p, BYTE cb) override
        {
            std::fill_n(p, cb, static_cast<BYTE>(cmd + offset));
            return answer;
        }
        Bytes log;
        SimI2cResult answer;
    };
    DWORD Block(Bytes data) { return Out(REQ_BLOCK_OUT, 0x1366, 0, std::move(data)); }

    Target m_target;
};

TEST_F(HubI2c, BlockWritesReachTheAddressedTarget)
{
    Build();
    Hub().AttachI2cTarget(0x66, &m_target);
    EXPECT_EQ(Block({0x34, 0x12, 2, 0xAA, 0xBB}), 0u);
    EXPECT_EQ(m_target.log, (Bytes{0x13, 0x34, 0x12, 2, 0xAA, 0xBB}));
    EXPECT_EQ(In(REQ_BLOCK_IN, 0x2466, 0x0003, 4), Bytes(4, 0x27));
    EXPECT_TRUE(In(REQ_BLOCK_IN, 0x2468, 0x0003, 4).empty());
    EXPECT_EQ(Hub().Misuse().Count(), 0u);
}

TEST_F(HubI2c, TargetsRefuseStretchOrHoldTheBus)
{
    Build();
    Hub().AttachI2cTarget(0x66, &m_target);
    m_target.answer = {SimI2cAnswer::Nak, 0};
    EXPECT_EQ(Block({0, 0, 0}), kErrGenFailure);

    m_target.answer = {SimI2cAnswer::Ack, 3'000'000};
    auto usBefore = m_clock.Now();
    EXPECT_EQ(Block({0, 0, 0}), 0u);
    EXPECT_GE(m_clock.Now() - usBefore, 3'000'000u);

    m_target.answer = {SimI2cAnswer::Stuck, 0};
    usBefore = m_clock.Now();
    EXPECT_EQ(Block({0, 0, 0}), kErrSemTimeout);
    EXPECT_GE(m_clock.Now() - usBefore, 5'000'000u);
    m_target.answer = {};
    EXPECT_EQ(Block({0, 0, 0}), kErrSemTimeout);
    Hub().PowerUp();
    EXPECT_EQ(Block({0, 0, 0}), 0u);
}

TEST_F(HubI2c, MemoryIsReachedAfterConfiguration)
{
    Build();
    Hub().AttachI2cMemory(std::make_shared<CSimI2cMemory>(0x20000));
    ASSERT_EQ(Out(REQ_I2C_CONFIG, 0x1122, 0x80B3), 0u);
    EXPECT_EQ(Out(REQ_I2C_WRITE, 0x0010, 0x0001, {1, 2, 3}), 0u);
    EXPECT_EQ(In(REQ_I2C_READ, 0x0011, 0x0001, 2), (Bytes{2, 3}));
    EXPECT_TRUE(In(REQ_I2C_READ, 0xFFFF, 0x0001, 2).empty());
    EXPECT_EQ(Hub().I2cConfig(), (std::pair<USHORT, USHORT>{0x1122, 0x80B3}));
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

TEST_F(HubOfTwoBanks, DownloadsToTheOtherAndKeepsTheOld)
{
    Hub().Banks().Load(1, CSimImage(0x20000).Seed(9).Build()); // must erase itself
    EXPECT_EQ(Read(0x100, 16), Bytes(m_old.begin() + 0x100, m_old.begin() + 0x110));
    ASSERT_EQ(Enable(3), 0u);
    ASSERT_EQ(WriteImage(m_new), 0u);
    EXPECT_EQ(Read(0x100, 16), Bytes(m_new.begin() + 0x100, m_new.begin() + 0x110));
    EXPECT_EQ(Out(REQ_ISP_VALIDATION, 1), 0u);
    EXPECT_TRUE(Hub().Runs(m_old));
    ToFlash();
    EXPECT_TRUE(Hub().Runs(m_new));
    EXPECT_TRUE(Hub().Banks().IsComplete(0));
    EXPECT_EQ(Hub().Misuse().Count(), 0u) << Hub().Misuse().Text();
}

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
