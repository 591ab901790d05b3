#pragma once

#include <memory>

#include "platform/linux/CDescriptor.h"
#include "platform/linux/CUsbContext.h"
#include "platform/linux/CUsbTransfer.h"
#include "wire/SetupPacket.h"

struct libusb_device_handle;

/// A USB device through its open device node. The kernel keeps the device awake as long as the
/// node is open. Nothing is claimed: transfers go to the default pipe only, beside whatever
/// driver has the device. What was opened stays bound to the device that was there then; one that
/// left and came back is another.
class CUsbNode
{
public:
    CUsbNode(std::shared_ptr<CUsbContext> pContext, CDescriptor descriptor);
    CUsbNode(const CUsbNode&) = delete;
    CUsbNode& operator=(const CUsbNode&) = delete;
    ~CUsbNode();

    /// Hands the node to libusb; a second call does nothing, every other operation needs it. libusb
    /// asks the device for its configuration once. @return 0, or an error code
    DWORD Attach();

    /// Carries one control transfer of at most 4,096 bytes. The device descriptor is not asked of
    /// the device: the kernel has read it.
    /// @param dwTimeoutMs 0 = without limit
    /// @param pcbDone bytes that moved, 0 after a failure
    /// @return 0, or an error code
    DWORD Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs, DWORD* pcbDone);

    /// A transfer of its own, for what is not waited for at once. After Attach; the node must
    /// outlive it.
    std::unique_ptr<CUsbTransfer> MakeTransfer();

private:
    DWORD KnownDeviceDescriptor(BYTE* pData, DWORD cb, DWORD* pcbDone) const;

    std::shared_ptr<CUsbContext> m_pContext;
    CDescriptor m_descriptor;
    libusb_device_handle* m_pDevice = nullptr;
    std::unique_ptr<CUsbTransfer> m_pTransfer; ///< of Control
};
