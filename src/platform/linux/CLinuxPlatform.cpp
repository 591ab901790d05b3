#include "platform/linux/CLinuxPlatform.h"

Platform& RealPlatform()
{
    // Never destroyed: singletons that report at exit may still use it.
    static CLinuxPlatform& s_platform = *new CLinuxPlatform;
    return s_platform;
}
