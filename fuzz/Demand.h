#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program where something does not hold; the fuzzer then keeps the input.
inline void Demand(bool bHolds, const char* pszWhat)
{
    if (bHolds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", pszWhat);
    std::abort();
}
