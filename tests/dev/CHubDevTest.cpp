#include "dev/CHubDev.h"

#include <gtest/gtest.h>

namespace
{
TEST(HubDev, ReadsTheImagesVersionWhereTheChipHasIt)
{
    // Image bytes, chip, which version, and the version (-1: refused).
    const std::tuple<std::size_t, USHORT, int, int> kCases[] = {
        {0, 0, 1, -1},
        {32624, 0x6560, 1, 0x7EF9},
        {32624, 0x6551, 2, 0x7F52},
        {32624, 0x6560, 2, 0x7F6E},
        {32624, 0x6552, 0, 0x7F5E},
        {32507, 0, 1, 0x7EF9}, // just there
        {32506, 0, 1, -1},
        {32508, 0, 2, -1}, // no whole chip number
        {32623, 0x6560, 2, -1}};
    for (const auto& [cbImage, wChipId, nWhich, nVersion] : kCases) {
        SCOPED_TRACE(testing::Message() << cbImage << " bytes of " << wChipId);
        std::vector<BYTE> image(40000);
        for (const unsigned wAt : {0x7EF9u, 0x7F52u, 0x7F6Eu, 0x7F5Eu}) { // each holds its offset
            image[wAt] = static_cast<BYTE>(wAt >> 8);
            image[wAt + 1] = static_cast<BYTE>(wAt);
        }
        image[0x7EFB] = static_cast<BYTE>(wChipId >> 8);
        image[0x7EFC] = static_cast<BYTE>(wChipId);
        image.resize(cbImage);
        CHubDev dev;
        dev.SetFwBuf(image);
        USHORT wVersion = 0x5555;
        EXPECT_EQ(dev.DevReadBINVersion(wVersion, nWhich), nVersion >= 0);
        EXPECT_EQ(wVersion, nVersion >= 0 ? nVersion : 0x5555);
    }
}
} // namespace
