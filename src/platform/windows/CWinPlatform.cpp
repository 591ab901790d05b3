#include "platform/windows/CWinPlatform.h"

Platform& RealPlatform()
{
    // Never destroyed: singletons that report at exit may still use it.
    static CWinPlatform& s_platform = *new CWinPlatform;
    return s_platform;
}
