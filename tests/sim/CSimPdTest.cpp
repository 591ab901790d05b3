#include "sim/models/CSimPd.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using Bytes = std::vector<BYTE>;
constexpr USHORT kKey = 0x0A7C;
constexpr auto kAck = SimI2cAnswer::Ack;
constexpr auto kNak = SimI2cAnswer::Nak;

/// A PD controller on a bench, as the bus behind a hub reaches it.
class Pd : public testing::Test
{
protected:
    void Build(const SimPdSettings& settings = {})
    {
        m_pPd = std::make_unique<CSimPd>(m_clock, settings);
        m_pPd->LoadImage(m_old, 0);
    }

    SimI2cAnswer Out(BYTE cmd, USHORT offset, const Bytes& data = {})
    {
        const auto res = m_pPd->Write(cmd, offset, data.data(), static_cast<BYTE>(data.size()));
        m_clock.Advance(res.usTaken);
        return res.eAnswer;
    }
    Bytes In(BYTE cmd, USHORT offset, BYTE cb)
    {
        Bytes data(cb, 0xCC);
        const auto res = m_pPd->Read(cmd, offset, data.data(), cb);
        m_clock.Advance(res.usTaken);
        data.resize(res.eAnswer == kAck ? cb : 0);
        return data;
    }
    SimI2cAnswer Enable(std::size_t nLevel)
    {
        Bytes data(nLevel, 0);
        if (nLevel != 0)
            data[0] = 1;
        return Out(0x01, kKey, data);
    }
    /// Writes the bank that does not run.
    bool WriteImage(const Bytes& image)
    {
        for (std::size_t at = 0; at < image.size(); at += 16) {
            const Bytes unit(&image[at], &image[at] + std::min<std::size_t>(16, image.size() - at));
            const BYTE cmd = at < 0x10000 ? 0x13 : 0x14;
            if (Out(cmd, static_cast<USHORT>(at & 0xFFFF), unit) != kAck)
                return false;
        }
        return true;
    }
    /// @param cmd 2: to ROM code, 5: to flash code
    void Reset(BYTE cmd)
    {
        EXPECT_EQ(Out(cmd, kKey, {1}), kAck);
        m_clock.Advance(1'000'000);
        EXPECT_TRUE(m_pPd->IsOnBus());
    }

    const Bytes m_old = CSimImage(0x10000).Version(0x0102).Seed(3).Build();
    const Bytes m_new = CSimImage(0x11234).Version(0x0304).Seed(4).Build();
    CSimClock m_clock;
    std::unique_ptr<CSimPd> m_pPd;
};

TEST_F(Pd, WithoutTheMarkTheOldBankStartsAgain)
{
    Build();
    ASSERT_EQ(Enable(3), kAck);
    ASSERT_TRUE(WriteImage(m_new));
    Reset(5);
    EXPECT_TRUE(m_pPd->Runs(m_old));
}

TEST_F(Pd, ValidationOfAnIncompleteImageMarksNothing)
{
    SimPdSettings settings;
    settings.bIspValidation = true;
    Build(settings);
    ASSERT_EQ(Enable(3), kAck);
    ASSERT_EQ(Out(0x13, 0, {0}), kAck);
    ASSERT_EQ(Enable(1), kAck);
    EXPECT_EQ(Out(0x16, 1), kNak);
    EXPECT_FALSE(m_pPd->Banks().IsMarked(0));
}

TEST_F(Pd, CrcCheckTellsGoodBadAndNothing)
{
    Build();
    EXPECT_EQ(In(0x35, 0, 1), Bytes{CSimPdBanks::kCrcGood});
    EXPECT_EQ(In(0x35, 0x100, 1), Bytes{CSimPdBanks::kCrcNoImage});
    Bytes bad = m_new;
    bad[5] ^= 1;
    ASSERT_EQ(Enable(3), kAck);
    ASSERT_TRUE(WriteImage(bad));
    EXPECT_EQ(In(0x35, 0x100, 1), Bytes{CSimPdBanks::kCrcBad});
    m_pPd->Banks().SetNextCrcResult(7);
    EXPECT_EQ(In(0x35, 0, 1), Bytes{7});
}

TEST_F(Pd, EraseSparesTheRunningBankButNotInRom)
{
    Build();
    m_pPd->LoadImage(m_new, 1);
    ASSERT_EQ(Enable(1), kAck);
    EXPECT_EQ(Out(0x03, kKey), kAck);
    EXPECT_TRUE(m_pPd->Banks().IsComplete(0));
    EXPECT_EQ(m_pPd->Banks().Bank(1), Bytes(CSimPdBanks::kBankSize, 0xFF));
    Reset(2);
    ASSERT_EQ(Enable(1), kAck);
    EXPECT_EQ(Out(0x03, kKey), kAck);
    EXPECT_EQ(m_pPd->Banks().Bank(0), Bytes(CSimPdBanks::kBankSize, 0xFF));
    Reset(5);
    EXPECT_FALSE(m_pPd->Banks().RunsFlash());
}

/// One bus write or read that no controller forgives.
struct PdAbuse
{
    std::size_t nEnable;
    bool bRead;
    BYTE cmd;
    USHORT offset;
    Bytes data;
    const char* pszReason;
};

const PdAbuse kPdAbuses[] = {
    {0, false, 0x77, 0, {1}, "unknown write: command 0x77"},
    {0, true, 0x77, 0, {1}, "unknown read: command 0x77"},
    {0, false, 0x01, 0, {1}, "enable without its key"},
    {0, false, 0x01, kKey, {2}, "enable without its key"},
    {0, false, 0x03, kKey, {}, "erase without enable 1"},
    {1, false, 0x03, 0, {}, "erase without its key"},
    {1, false, 0x02, 0, {1}, "reset without its key"},
    {1, false, 0x05, kKey, {}, "reset without its key"},
    {1, false, 0x13, 0, {1}, "flash write without enable 3"},
    {3, false, 0x04, 0, {1}, "flash write where code runs"},
    {3, false, 0x04, 0x7EF0, {0, 0}, "mark before"},
    {3, false, 0x04, 0x7EF0, {0, 1}, "flash write where code runs"},
    {3, false, 0x13, 0, Bytes(30, 0), "no unit of 1 to 29"},
    {3, false, 0x13, 0, {}, "no unit of 1 to 29"},
    {3, false, 0x13, 0xFFF0, Bytes(29, 0), "unit over"},
    {0, true, 0x24, 0, Bytes(32, 0), "no unit of 1 to 31"},
    {0, true, 0x24, 0xFFF0, Bytes(31, 0), "unit over"},
    {0, true, 0x35, 0x200, {0}, "unknown check"},
    {1, false, 0x16, 1, {}, "no code here that validates"},
};

using PdMisuse = Pd;

TEST_F(PdMisuse, IsNotAcknowledgedAndCounted)
{
    for (const PdAbuse& abuse : kPdAbuses) {
        Build();
        ASSERT_EQ(Enable(abuse.nEnable), kAck);
        if (abuse.bRead)
            EXPECT_TRUE(In(abuse.cmd, abuse.offset, static_cast<BYTE>(abuse.data.size())).empty());
        else
            EXPECT_EQ(Out(abuse.cmd, abuse.offset, abuse.data), kNak);
        ASSERT_EQ(m_pPd->Misuse().Count(), 1u) << abuse.pszReason;
        EXPECT_EQ(m_pPd->Misuse().Text().find(abuse.pszReason), 0u) << m_pPd->Misuse().Text();
        EXPECT_TRUE(m_pPd->Runs(m_old));
    }
}

TEST_F(Pd, MarkNeedsAGoodCheckOfTheOtherBankAfterTheLastWrite)
{
    Build();
    ASSERT_EQ(Enable(3), kAck);
    ASSERT_TRUE(WriteImage(m_new));
    ASSERT_EQ(In(0x35, 0, 1), Bytes{2}); // the running bank's own check does not count
    EXPECT_EQ(Out(0x04, 0x7EF0, {0, 0}), kNak);
    ASSERT_EQ(In(0x35, 0x100, 1), Bytes{2});
    ASSERT_EQ(Out(0x13, 0x8000, {m_new[0x8000]}), kAck);
    EXPECT_EQ(Out(0x04, 0x7EF0, {0, 0}), kNak);
    ASSERT_EQ(In(0x35, 0x100, 1), Bytes{2});
    EXPECT_EQ(Out(0x04, 0x7EF0, {0, 0}), kAck);
}

TEST_F(Pd, UnwrittenBitsNeedANewEnable)
{
    Build();
    ASSERT_EQ(Enable(3), kAck);
    EXPECT_EQ(Out(0x13, 0, {0x00}), kAck);
    EXPECT_EQ(Out(0x13, 0, {0x00}), kAck);
    EXPECT_EQ(Out(0x13, 0, {0x01}), kNak);
    ASSERT_EQ(Enable(3), kAck);
    EXPECT_EQ(Out(0x13, 0, {0x01}), kAck);
}

TEST_F(Pd, BusFaultsNakStretchHoldAndCorrupt)
{
    Build();
    SimFault fault;
    fault.eKind = SimFaultKind::Stall;
    m_pPd->Faults().At(0, fault);
    EXPECT_EQ(Enable(1), kNak);
    EXPECT_EQ(m_pPd->Banks().Enable(), 0u);

    fault.eKind = SimFaultKind::TimeOut;
    m_pPd->Faults().At(1, fault);
    EXPECT_EQ(Enable(1), SimI2cAnswer::Stuck);

    fault.eKind = SimFaultKind::Lie;
    m_pPd->Faults().At(2, fault);
    EXPECT_EQ(Enable(1), kAck);
    EXPECT_EQ(m_pPd->Banks().Enable(), 0u);

    fault.eKind = SimFaultKind::Corrupt;
    m_pPd->Faults().At(3, fault);
    EXPECT_EQ(In(0x24, 0, 2), (Bytes{static_cast<BYTE>(m_old[0] ^ 1), m_old[1]}));

    fault.eKind = SimFaultKind::Vanish;
    fault.dwBackMs = 100;
    m_pPd->Faults().At(4, fault);
    EXPECT_EQ(Enable(1), kNak);
    EXPECT_EQ(Enable(1), kNak);
    m_clock.Advance(100'000);
    m_pPd->SetStretch(70'000);
    const auto usBefore = m_clock.Now();
    EXPECT_EQ(Enable(1), kAck);
    EXPECT_GE(m_clock.Now() - usBefore, 70'000u);
}

} // namespace
