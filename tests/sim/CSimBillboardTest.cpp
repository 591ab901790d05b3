#include "sim/CSimBillboard.h"
#include "wire/HubRequests.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using Bytes = std::vector<BYTE>;

/// A billboard device on a desk, driven with bare requests.
class Billboard : public testing::Test
{
protected:
    void Build(const SimBillboardSettings& settings = {})
    {
        m_pDevice = std::make_unique<CSimBillboard>(m_clock, settings);
        m_pDevice->LoadImage(m_old);
    }
    DWORD Out(BYTE req, DWORD dwAddr, Bytes data = {})
    {
        const SETUP_PACKET setup = {0x40, req, static_cast<USHORT>(dwAddr),
                                    static_cast<USHORT>(dwAddr >> 16),
                                    static_cast<USHORT>(data.size())};
        return m_pDevice->Control(setup, data.data(), 5000).dwError;
    }
    Bytes In(BYTE req, DWORD dwAddr, USHORT cb)
    {
        Bytes data(cb, 0xCC);
        const SETUP_PACKET setup = {0xC0, req, static_cast<USHORT>(dwAddr),
                                    static_cast<USHORT>(dwAddr >> 16), cb};
        const auto res = m_pDevice->Control(setup, data.data(), 5000);
        data.resize(res.dwError == 0 ? res.cbDone : 0);
        return data;
    }
    DWORD Enable(USHORT us) { return Out(REQ_VDCMD_ENABLE, us | 0x0A7Cu << 16); }
    DWORD WriteImage(DWORD dwBase, const Bytes& image)
    {
        for (std::size_t at = 0; at < image.size(); at += 4096) {
            const std::size_t end = std::min(at + 4096, image.size());
            const DWORD dwError = Out(REQ_WRITE_FLASH, dwBase + static_cast<DWORD>(at),
                                      {image.begin() + static_cast<std::ptrdiff_t>(at),
                                       image.begin() + static_cast<std::ptrdiff_t>(end)});
            if (dwError != 0)
                return dwError;
        }
        return 0;
    }

    const Bytes m_old = CSimImage(0x10000).Version(0x0506).Seed(5).Build();
    const Bytes m_new = CSimImage(0x20000).Version(0x0708).Seed(6).Build();
    CSimClock m_clock;
    std::unique_ptr<CSimBillboard> m_pDevice;
};

TEST_F(Billboard, StatusTellsVersionAndBank)
{
    Build();
    const Bytes status = In(REQ_BB_STATUS, 0, 20);
    ASSERT_EQ(status.size(), 20u);
    EXPECT_NE(status[0], 0);
    EXPECT_EQ(status[3], 5);
    EXPECT_EQ(status[4], 6);
    EXPECT_EQ(status[14] & 0x10, 0);
}

TEST_F(Billboard, OtherBankIsWrittenCheckedAndStarted)
{
    Build();
    EXPECT_EQ(In(REQ_BB_CRC, 0x0100, 1), Bytes{CSimPdBanks::kCrcNoImage});
    ASSERT_EQ(Enable(1), 0u);
    ASSERT_EQ(Out(REQ_ERASE_FLASH, 0x20000), 0u);
    ASSERT_EQ(Enable(3), 0u);
    ASSERT_EQ(WriteImage(0x20000, m_new), 0u);
    EXPECT_EQ(In(REQ_READ_FLASH, 0x20010, 16), Bytes(m_new.begin() + 16, m_new.begin() + 32));
    EXPECT_EQ(In(REQ_BB_CRC, 0x0103, 1), Bytes{CSimPdBanks::kCrcGood});
    ASSERT_EQ(Out(REQ_WRITE_FLASH, 0x7EF0, {0, 0}), 0u);
    ASSERT_EQ(Out(REQ_RESET_CODE, 0x0101), 0u);
    m_clock.Advance(100'000);
    EXPECT_FALSE(m_pDevice->IsOnBus());
    m_clock.Advance(2'000'000);
    EXPECT_TRUE(m_pDevice->Runs(m_new));
    EXPECT_EQ(m_pDevice->Misuse().Count(), 0u) << m_pDevice->Misuse().Text();
}

TEST_F(Billboard, ValidationNeedsACompleteImageAndThenMarks)
{
    SimBillboardSettings settings;
    settings.pd.bIspValidation = true;
    Build(settings);
    ASSERT_EQ(Enable(1), 0u);
    EXPECT_EQ(Out(REQ_ISP_VALIDATION, 1), kErrGenFailure);
    EXPECT_EQ(m_pDevice->Misuse().Count(), 0u);
    m_pDevice->Banks().Load(1, m_new);
    EXPECT_EQ(Out(REQ_ISP_VALIDATION, 1), 0u);
    EXPECT_TRUE(m_pDevice->Banks().IsMarked(0));
}

TEST_F(Billboard, PowerCutTakesItOffTheBusUntilPlugged)
{
    Build();
    ASSERT_EQ(Enable(3), 0u);
    m_pDevice->LosePowerAt(3);
    EXPECT_EQ(WriteImage(0x20000, m_new), kErrDeviceGone);
    EXPECT_FALSE(m_pDevice->IsOnBus());
    m_pDevice->PowerUp();
    EXPECT_TRUE(m_pDevice->Runs(m_old));
}

struct BillboardAbuse
{
    const char* pszCase;
    USHORT usEnable;
    SETUP_PACKET setup;
    const char* pszReason;
};

class BillboardMisuse : public Billboard, public testing::WithParamInterface<BillboardAbuse>
{};

TEST_P(BillboardMisuse, IsStalledAndCounted)
{
    Build();
    ASSERT_EQ(Enable(GetParam().usEnable), 0u);
    Bytes data(0x2000, 0);
    EXPECT_EQ(m_pDevice->Control(GetParam().setup, data.data(), 5000).dwError, kErrGenFailure);
    ASSERT_EQ(m_pDevice->Misuse().Count(), 1u);
    EXPECT_EQ(m_pDevice->Misuse().Reasons()[0].find(GetParam().pszReason), 0u)
        << m_pDevice->Misuse().Text();
    EXPECT_TRUE(m_pDevice->Runs(m_old));
}

const BillboardAbuse kBillboardAbuses[] = {
    {"HubStatus", 0, {0xC0, 0x09, 0, 0, 20}, "unknown request"},
    {"WriteLocked", 1, {0x40, 0xC8, 0, 2, 4}, "flash write without enable 3"},
    {"WriteRunningCode", 3, {0x40, 0xC8, 0, 0, 4}, "flash write where code runs"},
    {"MarkUnchecked", 3, {0x40, 0xC8, 0x7EF0, 0, 2}, "mark before"},
    {"WriteTooLong", 3, {0x40, 0xC8, 0, 2, 4097}, "flash request too long"},
    {"WriteOverTheEnd", 3, {0x40, 0xC8, 0xFFFF, 3, 2}, "flash write over the bank's end"},
    {"WriteBeyond", 3, {0x40, 0xC8, 0, 4, 2}, "outside of the flash"},
    {"EraseLocked", 3, {0x40, 0xE8, 0, 2, 0}, "erase without enable 1"},
    {"EraseRunningCode", 1, {0x40, 0xE8, 0, 0, 0}, "erase where code runs"},
    {"EraseElsewhere", 1, {0x40, 0xE8, 0, 1, 0}, "erase elsewhere"},
    {"UnknownReset", 0, {0x40, 0xE9, 0x0001, 0, 0}, "unknown reset"},
    {"CheckOfTwoBytes", 0, {0xC0, 0xF4, 0, 0, 2}, "unknown check"},
    {"EnableWithoutKey", 0, {0x40, 0x02, 1, 0, 0}, "enable without its key"},
};

INSTANTIATE_TEST_SUITE_P(Device, BillboardMisuse, testing::ValuesIn(kBillboardAbuses),
                         [](const auto& abuse) { return std::string(abuse.param.pszCase); });

} // namespace
