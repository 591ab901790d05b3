#include "api/zelhub_bench.h"

void ZEL_CALL ZelSetPlatform(Platform* pPlatform) noexcept
{
    SetCurrentPlatform(pPlatform);
}
