#include "sim/models/CSimFlash.h"

#include <gtest/gtest.h>

namespace
{
using Bytes = std::vector<BYTE>;

/// What stands in flash when the power fails in the middle of something.
struct Cut
{
    SimPowerCut eWhen;
    Bytes programmed; ///< four zeros over a blank sector
    BYTE byErased[3]; ///< first, middle and last byte of a sector of zeros
};

const Cut kCuts[] = {
    {SimPowerCut::Before, Bytes(4, 0xFF), {0, 0, 0}},
    {SimPowerCut::Middle, {0, 0, 0xA5, 0xFF}, {0xFF, 0xA5, 0}},
    {SimPowerCut::After, Bytes(4, 0), {0xFF, 0xFF, 0xFF}},
};

TEST(PowerCut, LeavesAnOperationUndoneHalfDoneOrDone)
{
    const Bytes zeros(CSimFlash::kSectorSize, 0);
    for (const Cut& cut : kCuts) {
        SCOPED_TRACE(&cut - kCuts);
        CSimFlash flash(CSimFlash::kSectorSize);
        flash.LosePowerAt(1, cut.eWhen);
        EXPECT_EQ(flash.Erase(0, CSimFlash::kSectorSize), SimFlashResult::Done);
        EXPECT_EQ(flash.Program(0, zeros.data(), 4), SimFlashResult::PowerLost);
        EXPECT_EQ(Bytes(flash.Bytes().begin(), flash.Bytes().begin() + 4), cut.programmed);
        EXPECT_EQ(flash.Program(0, zeros.data(), CSimFlash::kSectorSize), SimFlashResult::Done);
        flash.LosePowerAt(3, cut.eWhen);
        EXPECT_EQ(flash.Erase(0, CSimFlash::kSectorSize), SimFlashResult::PowerLost);
        EXPECT_EQ(flash.Bytes().front(), cut.byErased[0]);
        EXPECT_EQ(flash.Bytes()[CSimFlash::kSectorSize / 2], cut.byErased[1]);
        EXPECT_EQ(flash.Bytes().back(), cut.byErased[2]);
        EXPECT_EQ(flash.Operations(), 4u);
    }
}
} // namespace
