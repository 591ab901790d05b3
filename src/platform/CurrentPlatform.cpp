#include "platform/Platform.h"

namespace
{
Platform* g_pPlatform = nullptr;
}

Platform& CurrentPlatform()
{
    return g_pPlatform != nullptr ? *g_pPlatform : RealPlatform();
}

void SetCurrentPlatform(Platform* pPlatform)
{
    g_pPlatform = pPlatform;
}
