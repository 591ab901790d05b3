#include "TransportBench.h"

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TransportMessage);

TEST_P(TransportMessage, IsSaid)
{
    CBench bench;
    GetParam().pfnProvoke(bench);
    EXPECT_TRUE(bench.log.Has(GetParam().eLevel, GetParam().pszFunction, GetParam().pszText))
        << bench.log.Dump();
}
