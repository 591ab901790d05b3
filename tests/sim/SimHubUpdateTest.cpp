#include "SimHubFixture.h"

namespace
{

class HubUpdate : public SimHubTest
{
protected:
    bool UpdateSingle()
    {
        ToRom();
        PrepareErase();
        const bool bDone = Erase() == 0 && Enable(3) == 0 && WriteImage(m_new) == 0;
        ToFlash();
        return bDone;
    }
    bool UpdateDual()
    {
        const bool bDone = Enable(3) == 0 && WriteImage(m_new) == 0;
        ToFlash();
        return bDone;
    }
};

TEST_F(HubUpdate, SingleBankIsErasedAndWrittenInRom)
{
    Build();
    EXPECT_TRUE(UpdateSingle());
    EXPECT_TRUE(Hub().Runs(m_new));
    EXPECT_EQ(Hub().Version(), 0x0220);
    EXPECT_EQ(Hub().Misuse().Count(), 0u) << Hub().Misuse().Text();
}

TEST_F(HubUpdate, DualBankGoesToTheOtherBankAndKeepsTheOld)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    Build(settings);
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

TEST_F(HubUpdate, ResetWithoutADownloadKeepsTheBank)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    Build(settings);
    Hub().Banks().Load(1, m_new);
    ToFlash();
    EXPECT_TRUE(Hub().Runs(m_old));
}

TEST_F(HubUpdate, ValidationSeesADifferenceOfOneBit)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    Build(settings);
    Bytes bad = m_new;
    bad[0x4000] ^= 0x01;
    ASSERT_EQ(Enable(3), 0u);
    ASSERT_EQ(WriteImage(bad), 0u);
    EXPECT_EQ(Out(REQ_ISP_VALIDATION, 1), kErrGenFailure);
    EXPECT_EQ(Out(REQ_ISP_VALIDATION, 0), 0u);
    ToFlash();
    EXPECT_TRUE(Hub().Runs(m_old));
}

TEST_F(HubUpdate, SurvivesAPowerCutAtEveryFlashOperation)
{
    for (const bool bDual : {false, true}) {
        SimHubSettings settings;
        settings.bDualBank = bDual;
        Build(settings);
        const auto nBefore = Hub().FlashOperations();
        ASSERT_TRUE(bDual ? UpdateDual() : UpdateSingle());
        const auto nOperations = Hub().FlashOperations() - nBefore;
        ASSERT_GT(nOperations, 10u);
        for (const auto eWhen : {SimPowerCut::Before, SimPowerCut::Middle, SimPowerCut::After}) {
            for (std::uint64_t n = 0; n < nOperations; ++n) {
                SCOPED_TRACE(testing::Message() << "dual " << bDual << " operation " << n);
                Build(settings);
                Hub().LosePowerAt(n, eWhen);
                EXPECT_EQ(Enable(3), 0u);
                if (bDual) {
                    EXPECT_EQ(WriteImage(m_new), kErrDeviceGone);
                } else {
                    ToRom();
                    PrepareErase();
                    EXPECT_TRUE(Erase() != 0 || Enable(3) != 0 || WriteImage(m_new) != 0);
                }
                EXPECT_FALSE(Hub().IsOnBus());
                Hub().PowerUp();
                const bool bUntouched = n == 0 && eWhen == SimPowerCut::Before;
                EXPECT_EQ(Hub().Runs(m_old), bDual || bUntouched);
                EXPECT_TRUE(bDual ? UpdateDual() : UpdateSingle());
                EXPECT_TRUE(Hub().Runs(m_new));
            }
        }
    }
}

TEST_F(HubUpdate, WhatIsKeptSurvivesTheProcess)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    Build(settings);
    ASSERT_TRUE(UpdateDual());
    CSimHub other(m_clock, settings);
    other.Restore(Hub().Keep(), false);
    EXPECT_TRUE(other.Runs(m_new));
    EXPECT_FALSE(other.IsOnBus());
}

class HubErase : public SimHubTest
{
protected:
    /// Prepares, spoils one register, and erases.
    std::string EraseWith(USHORT usRegister, BYTE by)
    {
        PrepareErase();
        EXPECT_EQ(Out(REQ_WRITE_MEM, 0, usRegister, {by}), 0u);
        m_clock.Advance(20'000);
        EXPECT_EQ(Erase(), kErrGenFailure);
        return Hub().Misuse().Count() == 1 ? Hub().Misuse().Reasons()[0] : "";
    }
};

TEST_F(HubErase, NeedsEveryUnlockRegister)
{
    const std::pair<USHORT, BYTE> spoilt[] = {{0xD820, 0}, {0xD825, 1}, {0xD826, 0},
                                              {0xD900, 1}, {0xD800, 1}, {0xD800, 0x40}};
    for (const auto& [usRegister, by] : spoilt) {
        SCOPED_TRACE(CSimMisuse::Hex(usRegister, 4));
        Build();
        ToRom();
        EXPECT_NE(EraseWith(usRegister, by).find(CSimMisuse::Hex(usRegister, 4)),
                  std::string::npos);
        EXPECT_TRUE(Hub().Banks().IsComplete(0));
    }
}

TEST_F(HubErase, NeedsTheUnlockToSettle)
{
    Build();
    ToRom();
    PrepareErase();
    EXPECT_EQ(Out(REQ_WRITE_MEM, 0, 0xD800, {0x41}), 0u);
    m_clock.Advance(15'000);
    EXPECT_EQ(Erase(), kErrGenFailure);
    m_clock.Advance(5'000);
    EXPECT_EQ(Erase(), 0u);
}

TEST_F(HubErase, LocksItselfAgain)
{
    Build();
    ToRom();
    PrepareErase();
    EXPECT_EQ(Erase(), 0u);
    EXPECT_EQ(Erase(), kErrGenFailure);
}

TEST_F(HubErase, ForgivingChipErasesAndRemembers)
{
    SimHubSettings settings;
    settings.bRefuseUnpreparedErase = false;
    Build(settings);
    ToRom();
    ASSERT_EQ(Enable(1), 0u);
    EXPECT_EQ(Erase(), 0u);
    EXPECT_EQ(Hub().Misuse().Count(), 1u);
    EXPECT_EQ(Hub().Banks().Bank(0), Bytes(Hub().Banks().BankSize(), 0xFF));
}

TEST_F(HubErase, TakesLongButStaysBelowTheTimeOut)
{
    Build();
    ToRom();
    PrepareErase();
    const auto usBefore = m_clock.Now();
    EXPECT_EQ(Erase(), 0u);
    EXPECT_GT(m_clock.Now() - usBefore, 100'000u);
    EXPECT_LT(m_clock.Now() - usBefore, 4'000'000u);
}

TEST_F(HubErase, WorkThatOutlastsTheTimeOutGoesOnBehindIt)
{
    Build();
    ToRom();
    PrepareErase();
    EXPECT_EQ(Send(0x40, REQ_ERASE_FLASH, 0, 0, nullptr, 0, 10).dwError, kErrSemTimeout);
    const auto usBefore = m_clock.Now();
    EXPECT_EQ(Enable(3), 0u);
    EXPECT_GT(m_clock.Now() - usBefore, 100'000u);
    EXPECT_EQ(Write(0, {1, 2, 3}), 0u);
}

using HubFlash = SimHubTest;

TEST_F(HubFlash, SameDataAgainIsAcceptedAndCosts)
{
    Build();
    ToRom();
    PrepareErase();
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

TEST_F(HubFlash, DownloadBankErasesASectorOncePerEnable)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    Build(settings);
    ASSERT_EQ(Enable(3), 0u);
    EXPECT_EQ(Write(0, {0x00}), 0u);
    EXPECT_EQ(Write(0, {0x01}), kErrGenFailure);
    ASSERT_EQ(Enable(3), 0u);
    EXPECT_EQ(Write(0, {0x01}), 0u);
    EXPECT_EQ(Write(4095, {0x01, 0x02}), 0u); // the next sector erases itself as well
    EXPECT_EQ(Read(4095, 2), (Bytes{0x01, 0x02}));
}

TEST_F(HubFlash, ReadsNeedNoEnableButAnAddress)
{
    Build();
    EXPECT_EQ(Read(0xFFF0, 16), Bytes(m_old.end() - 16, m_old.end()));
    EXPECT_TRUE(Read(0x3FFFF, 2).empty());
}

} // namespace
