#include "tools/zelhub/CCommandLine.h"

#include <cstdio>
#include <exception>

int main(int nArguments, char** ppArguments)
{
    try {
        return CCommandLine(ZELHUB_CARRIED_DRIVERS).Run(nArguments, ppArguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
}
