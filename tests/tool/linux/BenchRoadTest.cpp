#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

TEST(BenchRoad, OfTheDriverNeedsWindows)
{
    CBenchFolder bench;
    bench.UseHub();
    const ToolResult result = bench.Run({"--bench-road", "driver", "list"});
    EXPECT_EQ(result.nExit, 2);
    EXPECT_THAT(result.strErr, HasSubstr("--bench-road driver needs Windows"));
    EXPECT_EQ(bench.Run({"--bench-road", "simulated", "list"}).nExit, 0);
}
