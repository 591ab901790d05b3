#include "dev/CHubDev.h"

#include <gtest/gtest.h>

namespace
{
using Bytes = std::vector<BYTE>;

struct VersionCase
{
    const char* pszCase;
    std::size_t cbImage;
    USHORT wChipId;
    int nWhich;
    int nVersion; ///< -1: refused
};

const VersionCase kVersionCases[] = {
    {"Empty", 0, 0, 1, -1},
    {"First", 32624, 0x6560, 1, 0x7EF9},
    {"Chip6551", 32624, 0x6551, 2, 0x7F52},
    {"Chip6560", 32624, 0x6560, 2, 0x7F6E},
    {"OtherChip", 32624, 0x6552, 0, 0x7F5E},
    {"FirstJustThere", 32507, 0, 1, 0x7EF9},
    {"FirstCutOff", 32506, 0, 1, -1},
    {"ChipIdCutOff", 32508, 0, 2, -1},
    {"OtherCutOff", 32623, 0x6560, 2, -1},
};

class ImageVersion : public testing::TestWithParam<VersionCase>
{};

TEST_P(ImageVersion, IsWhereTheChipHasIt)
{
    const VersionCase& c = GetParam();
    Bytes image(40000);
    for (const unsigned wAt : {0x7EF9u, 0x7F52u, 0x7F6Eu, 0x7F5Eu}) { // each holds its own offset
        image[wAt] = static_cast<BYTE>(wAt >> 8);
        image[wAt + 1] = static_cast<BYTE>(wAt);
    }
    image[0x7EFB] = static_cast<BYTE>(c.wChipId >> 8);
    image[0x7EFC] = static_cast<BYTE>(c.wChipId);
    image.resize(c.cbImage);
    CHubDev dev;
    dev.SetFwBuf(image);
    USHORT wVersion = 0x5555;

    EXPECT_EQ(dev.DevReadBINVersion(wVersion, c.nWhich), c.nVersion >= 0);

    EXPECT_EQ(wVersion, c.nVersion >= 0 ? c.nVersion : 0x5555);
}

INSTANTIATE_TEST_SUITE_P(Hub, ImageVersion, testing::ValuesIn(kVersionCases),
                         [](const auto& test) { return test.param.pszCase; });
} // namespace
