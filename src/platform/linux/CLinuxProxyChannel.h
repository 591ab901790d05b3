#pragma once

#include <map>
#include <memory>

#include "platform/linux/CLinuxChannel.h"
#include "platform/linux/CLinuxMemory.h"
#include "platform/linux/CLinuxPorts.h"
#include "platform/linux/CUsbNode.h"

/// Stands for the proxy driver's control device: takes its I/O control buffers and URBs, strictly,
/// and carries them out through usbfs. What fails fails the I/O control; a URB's own status stays
/// 0. A device opened here keeps its node open, and so the device awake, until it is closed or
/// the channel is.
class CLinuxProxyChannel : public CLinuxChannel
{
public:
    /// @param handles where device handles are looked up; must outlive the channel
    CLinuxProxyChannel(const CLinuxHandles& handles, const LINUX_ROOTS& roots)
        : m_handles(handles), m_ports(roots), m_memory(roots)
    {}

    DWORD Control(CONTROL_REQUEST& request) override;

private:
    DWORD OpenDevice(CONTROL_REQUEST& request);
    DWORD CloseDevice(const CONTROL_REQUEST& request);
    DWORD SendUrb(const CONTROL_REQUEST& request);
    DWORD WritePort(const CONTROL_REQUEST& request);
    DWORD ReadPort(CONTROL_REQUEST& request);
    DWORD WriteMemory(const CONTROL_REQUEST& request) const;
    DWORD ReadMemory(CONTROL_REQUEST& request) const;

    const CLinuxHandles& m_handles;
    CLinuxPorts m_ports;
    CLinuxMemory m_memory;
    std::map<ULONGLONG, std::shared_ptr<CUsbNode>> m_devices;
    ULONGLONG m_nextDevice = 1;
};
