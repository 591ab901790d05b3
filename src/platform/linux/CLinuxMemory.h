#pragma once

#include "platform/Types.h"
#include "platform/linux/LinuxRoots.h"

/// Physical memory through /dev/mem, as far as the kernel permits it.
class CLinuxMemory
{
public:
    explicit CLinuxMemory(const LINUX_ROOTS& roots) : m_strPath(roots.strDev + "/mem") {}

    /// Bytes one by one, or one 32-bit word when cb is 4 and the address a multiple of it: device
    /// registers see nothing else. @return 0, or an error code
    DWORD Read(ULONGLONG address, void* pData, DWORD cb) const;
    DWORD Write(ULONGLONG address, const void* pData, DWORD cb) const;

private:
    std::string m_strPath;
};
