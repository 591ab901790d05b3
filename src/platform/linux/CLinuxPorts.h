#pragma once

#include <string>

#include "platform/Types.h"
#include "platform/linux/CDescriptor.h"
#include "platform/linux/LinuxRoots.h"

/// I/O ports through /dev/port, which moves single bytes. The two ports of PCI configuration
/// space, which only answer to whole words, are served from the configuration files in sysfs
/// instead; a function that is not there reads as ones and swallows writes, as on the bus.
class CLinuxPorts
{
public:
    explicit CLinuxPorts(LINUX_ROOTS roots) : m_roots(std::move(roots)) {}

    /// Opens /dev/port; done by the first access otherwise. @return 0, or an error code
    DWORD Open();

    /// cb is 1 or 4. @return 0, or an error code
    DWORD Read(DWORD dwPort, DWORD cb, DWORD* pdwValue);
    DWORD Write(DWORD dwPort, DWORD cb, DWORD dwValue);

private:
    DWORD AccessConfig(DWORD dwPort, DWORD cb, DWORD* pdwValue, bool bWrite) const;

    LINUX_ROOTS m_roots;
    CDescriptor m_ports;
    DWORD m_dwConfigAddress = 0; ///< what was last written to 0xCF8
};
