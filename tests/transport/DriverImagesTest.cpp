#include "platform/IFileSystem.h"
#include "transport/StandInDriver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace
{
bool IsStandIn(std::span<const BYTE> image, size_t cb)
{
    static constexpr std::array<BYTE, 4> kSignature = {0xBD, 0x04, 0xEF, 0xFE};
    const auto at = std::search(image.begin(), image.end(), kSignature.begin(), kSignature.end());
    if (image.size() != cb || image.end() - at < std::ptrdiff_t(sizeof(FIXED_FILE_INFO)))
        return false;
    FIXED_FILE_INFO info = {};
    std::memcpy(&info, &*at, sizeof(info));
    return info.dwFileVersionMS == 0 && info.dwFileVersionLS == 0;
}

USHORT MachineOf(std::span<const BYTE> image)
{
    DWORD dwPe = 0;
    std::memcpy(&dwPe, image.data() + 0x3C, sizeof(dwPe));
    USHORT wMachine = 0;
    std::memcpy(&wMachine, image.data() + dwPe + 4, sizeof(wMachine));
    return wMachine;
}
constexpr auto kFileX86 = stand_in::MakeFile<35912>(stand_in::kX86);
constexpr auto kFileX64 = stand_in::MakeFile<38472>(stand_in::kX64);
constexpr auto kFileArm64 = stand_in::MakeFile<39496>(stand_in::kArm64);
} // namespace

TEST(StandInDriver, IsAnExecutableOfItsFamilyThatNeverCountsAsNewer)
{
    const struct
    {
        std::span<const BYTE> image;
        size_t cb;
        USHORT wMachine;
    } kFamilies[] = {
        {kFileX86, 35912, 0x014C}, {kFileX64, 38472, 0x8664}, {kFileArm64, 39496, 0xAA64}};
    for (const auto& family : kFamilies) {
        EXPECT_EQ(MachineOf(family.image), family.wMachine);
        EXPECT_TRUE(IsStandIn(family.image, family.cb));
    }
}
