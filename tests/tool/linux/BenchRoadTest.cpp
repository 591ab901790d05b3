#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

TEST(BenchRoad, OfTheDriverNeedsWindows)
{
    CBenchFolder bench;
    bench.UseHub();
    bench.Expect(
        2, "--bench-road driver list",
        "--bench-road driver needs Windows: its driver is started by the service manager there",
        "Leave it out: the bench is then simulated inside the tool.");
    bench.Expect(0, "--bench-road simulated list");
}
