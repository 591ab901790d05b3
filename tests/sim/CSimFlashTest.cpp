#include "sim/CSimFlash.h"

#include <gtest/gtest.h>

namespace
{
using Bytes = std::vector<BYTE>;

Bytes Head(const CSimFlash& flash)
{
    return {flash.Bytes().begin(), flash.Bytes().begin() + 4};
}

/// What stands in flash when the power fails in the middle of something.
struct Cut
{
    const char* pszCase;
    SimPowerCut eWhen;
    Bytes programmed; ///< four zeros over a blank sector
    BYTE byErased[3]; ///< first, middle and last byte of a sector of zeros
};

class PowerCut : public testing::TestWithParam<Cut>
{};

TEST_P(PowerCut, LeavesAnOperationUndoneHalfDoneOrDone)
{
    const Bytes zeros(CSimFlash::kSectorSize, 0);
    CSimFlash flash(CSimFlash::kSectorSize);
    flash.LosePowerAt(1, GetParam().eWhen);
    EXPECT_EQ(flash.Erase(0, CSimFlash::kSectorSize), SimFlashResult::Done);
    EXPECT_EQ(flash.Program(0, zeros.data(), 4), SimFlashResult::PowerLost);
    EXPECT_EQ(Head(flash), GetParam().programmed);
    EXPECT_EQ(flash.Program(0, zeros.data(), CSimFlash::kSectorSize), SimFlashResult::Done);
    flash.LosePowerAt(3, GetParam().eWhen);
    EXPECT_EQ(flash.Erase(0, CSimFlash::kSectorSize), SimFlashResult::PowerLost);
    EXPECT_EQ(flash.Bytes().front(), GetParam().byErased[0]);
    EXPECT_EQ(flash.Bytes()[CSimFlash::kSectorSize / 2], GetParam().byErased[1]);
    EXPECT_EQ(flash.Bytes().back(), GetParam().byErased[2]);
    EXPECT_EQ(flash.Operations(), 4u);
}

const Cut kCuts[] = {
    {"Before", SimPowerCut::Before, Bytes(4, 0xFF), {0, 0, 0}},
    {"Middle", SimPowerCut::Middle, {0, 0, 0xA5, 0xFF}, {0xFF, 0xA5, 0}},
    {"After", SimPowerCut::After, Bytes(4, 0), {0xFF, 0xFF, 0xFF}},
};

INSTANTIATE_TEST_SUITE_P(Flash, PowerCut, testing::ValuesIn(kCuts),
                         [](const auto& cut) { return std::string(cut.param.pszCase); });
} // namespace
