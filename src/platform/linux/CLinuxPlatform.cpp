#include "platform/linux/CLinuxPlatform.h"

#include <unistd.h>

CLinuxPlatform::CLinuxPlatform(const LINUX_ROOTS& roots)
    : m_nodes(roots.strSys, roots.strDev),
      m_deviceFile(m_handles, roots),
      m_powerSwitch(m_nodes, ::geteuid() == 0)
{}

Platform& RealPlatform()
{
    // Never destroyed: singletons that report at exit may still use it.
    static CLinuxPlatform& s_platform = *new CLinuxPlatform;
    return s_platform;
}
