#include "sim/CSimBillboard.h"
#include "wire/HubRequests.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<BYTE>;

TEST(Billboard, IsGoneWhenItsPowerFailsInAWrite)
{
    CSimClock clock;
    CSimBillboard device(clock);
    device.LosePowerAt(0);
    ASSERT_EQ(
        device.Control({0x40, REQ_VDCMD_ENABLE, 3, VDCMD_ENABLE_KEY, 0}, nullptr, 5000).dwError,
        0u);
    BYTE data[4] = {};
    EXPECT_EQ(device.Control({0x40, REQ_WRITE_FLASH, 0, 2, 4}, data, 5000).dwError, kErrDeviceGone);
    EXPECT_FALSE(device.IsOnBus());
}

struct BillboardAbuse
{
    const char* pszCase;
    USHORT usEnable;
    SETUP_PACKET setup;
    const char* pszReason;
};

class BillboardMisuse : public testing::TestWithParam<BillboardAbuse>
{};

TEST_P(BillboardMisuse, IsStalledAndCounted)
{
    CSimClock clock;
    CSimBillboard device(clock);
    const Bytes image = CSimImage(0x10000).Build();
    device.LoadImage(image);
    const SETUP_PACKET enable = {0x40, REQ_VDCMD_ENABLE, GetParam().usEnable, VDCMD_ENABLE_KEY, 0};
    ASSERT_EQ(device.Control(enable, nullptr, 5000).dwError, 0u);
    Bytes data(0x2000, 0);
    EXPECT_EQ(device.Control(GetParam().setup, data.data(), 5000).dwError, kErrGenFailure);
    ASSERT_EQ(device.Misuse().Count(), 1u);
    EXPECT_EQ(device.Misuse().Text().find(GetParam().pszReason), 0u) << device.Misuse().Text();
    EXPECT_TRUE(device.Runs(image));
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
