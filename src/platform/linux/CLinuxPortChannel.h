#pragma once

#include "platform/linux/CLinuxChannel.h"
#include "platform/linux/CLinuxMemory.h"
#include "platform/linux/CLinuxPorts.h"

/// Stands for the port-I/O driver's control device.
class CLinuxPortChannel : public CLinuxChannel
{
public:
    explicit CLinuxPortChannel(const LINUX_ROOTS& roots) : m_ports(roots), m_memory(roots) {}

    /// Whether ports can be reached at all. @return 0, or an error code
    DWORD Open() { return m_ports.Open(); }

    DWORD Control(CONTROL_REQUEST& request) override;

private:
    CLinuxPorts m_ports;
    CLinuxMemory m_memory;
};
