#include "sim/models/CSimBillboard.h"
#include "wire/HubRequests.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<BYTE>;

DWORD Enable(CSimBillboard& device, USHORT usValue)
{
    const SETUP_PACKET enable = {0x40, REQ_VDCMD_ENABLE, usValue, VDCMD_ENABLE_KEY, 0};
    return device.Control(enable, nullptr, 5000).dwError;
}

TEST(Billboard, IsGoneWhenItsPowerFailsInAWrite)
{
    CSimClock clock;
    CSimBillboard device(clock);
    device.LosePowerAt(0);
    ASSERT_EQ(Enable(device, 3), 0u);
    BYTE data[4] = {};
    EXPECT_EQ(device.Control({0x40, REQ_WRITE_FLASH, 0, 2, 4}, data, 5000).dwError, kErrDeviceGone);
    EXPECT_FALSE(device.IsOnBus());
}

struct BillboardAbuse
{
    USHORT usEnable;
    SETUP_PACKET setup;
    const char* pszReason;
};

const BillboardAbuse kBillboardAbuses[] = {
    {0, {0xC0, 0x09, 0, 0, 20}, "unknown request"},
    {1, {0x40, 0xC8, 0, 2, 4}, "flash write without enable 3"},
    {3, {0x40, 0xC8, 0, 0, 4}, "flash write where code runs"},
    {3, {0x40, 0xC8, 0x7EF0, 0, 2}, "mark before"},
    {3, {0x40, 0xC8, 0, 2, 4097}, "flash request too long"},
    {3, {0x40, 0xC8, 0xFFFF, 3, 2}, "flash write over the bank's end"},
    {3, {0x40, 0xC8, 0, 4, 2}, "outside of the flash"},
    {3, {0x40, 0xE8, 0, 2, 0}, "erase without enable 1"},
    {1, {0x40, 0xE8, 0, 0, 0}, "erase where code runs"},
    {1, {0x40, 0xE8, 0, 1, 0}, "erase elsewhere"},
    {0, {0x40, 0xE9, 0x0001, 0, 0}, "unknown reset"},
    {0, {0xC0, 0xF4, 0, 0, 2}, "unknown check"},
    {0, {0x40, 0x02, 1, 0, 0}, "enable without its key"},
};

TEST(Billboard, MisuseIsStalledAndCounted)
{
    const Bytes image = CSimImage(0x10000).Build();
    for (const BillboardAbuse& abuse : kBillboardAbuses) {
        CSimClock clock;
        CSimBillboard device(clock);
        device.LoadImage(image);
        ASSERT_EQ(Enable(device, abuse.usEnable), 0u);
        Bytes data(0x2000, 0);
        EXPECT_EQ(device.Control(abuse.setup, data.data(), 5000).dwError, kErrGenFailure);
        ASSERT_EQ(device.Misuse().Count(), 1u) << abuse.pszReason;
        EXPECT_EQ(device.Misuse().Text().find(abuse.pszReason), 0u) << device.Misuse().Text();
        EXPECT_TRUE(device.Runs(image));
    }
}

} // namespace
