#include "sim/models/CSimHidDevice.h"

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<BYTE>;

TEST(HidDevice, SimpleReportGivesItsCapabilities)
{
    const auto caps =
        CSimHidDevice::Capabilities(CSimHidDevice::SimpleReport(0xFF89, 0x00CC, 16, 64, 0));
    ASSERT_TRUE(caps);
    EXPECT_EQ(caps->UsagePage, 0xFF89);
    EXPECT_EQ(caps->Usage, 0x00CC);
    EXPECT_EQ(caps->InputReportByteLength, 17);
    EXPECT_EQ(caps->OutputReportByteLength, 65);
    EXPECT_EQ(caps->FeatureReportByteLength, 0);
}

TEST(HidDevice, LongestOfSeveralReportsCounts)
{
    const Bytes report = {0x05, 0x01, 0x09, 0x06, 0xA1, 0x01,             // keyboard
                          0x85, 0x01, 0x75, 0x01, 0x95, 0x0C, 0x81, 0x02, // ID 1: 12 bits
                          0x85, 0x02, 0x75, 0x08, 0x95, 0x03, 0x81, 0x02, // ID 2: 3 bytes
                          0xC0};
    const auto caps = CSimHidDevice::Capabilities(report);
    ASSERT_TRUE(caps);
    EXPECT_EQ(caps->UsagePage, 1);
    EXPECT_EQ(caps->Usage, 6);
    EXPECT_EQ(caps->InputReportByteLength, 4);
}

TEST(HidDevice, UsageOfFourBytesCarriesItsPage)
{
    const Bytes report = {0x05, 0x01, 0x0B, 0xCC, 0x00, 0x89, 0xFF, 0xA1, 0x01, 0xC0};
    const auto caps = CSimHidDevice::Capabilities(report);
    ASSERT_TRUE(caps);
    EXPECT_EQ(caps->UsagePage, 0xFF89);
    EXPECT_EQ(caps->Usage, 0x00CC);
}

TEST(HidDevice, BrokenDescriptorsGiveNothing)
{
    const Bytes broken[] = {
        {},                                   // no collection
        {0xA1, 0x01},                         // never closed
        {0xC0},                               // closed before it was opened
        {0xA1},                               // breaks off in an item
        {0xFE, 0x05, 0x00, 0x01},             // breaks off in a long item
        {0x75, 0x08, 0x95, 0x01, 0x81, 0x02}, // a field outside of any collection
        {0xA1, 0x01, 0x85, 0x00, 0xC0},       // report ID 0
        {0xA1, 0x01, 0x77, 0xFF, 0xFF, 0xFF, 0xFF, 0x97, 0xFF, 0xFF, 0xFF, 0xFF, 0x81, 0x02, 0xC0},
    };
    for (const Bytes& report : broken)
        EXPECT_FALSE(CSimHidDevice::Capabilities(report)) << testing::PrintToString(report);
}

} // namespace
