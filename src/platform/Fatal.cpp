#include "platform/Fatal.h"

#include <cstdio>
#include <cstdlib>

[[noreturn]] void Fatal(const char* pszReason) noexcept
{
    std::fprintf(stderr, "Zelhublib64: %s\n", pszReason);
    std::fflush(stderr);
    std::abort();
}
