#include "platform/linux/CUsbNode.h"

#include <algorithm>
#include <cerrno>
#include <libusb.h>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"
#include "wire/HubRequests.h"

namespace
{
constexpr DWORD kControlMax = 4096; // the kernel takes no more in one control transfer

bool AsksForDeviceDescriptor(const SETUP_PACKET& setup)
{
    return setup.bmRequestType == LIBUSB_ENDPOINT_IN &&
           setup.bRequest == LIBUSB_REQUEST_GET_DESCRIPTOR &&
           setup.wValue == USB_DESCRIPTOR_DEVICE << 8 && setup.wIndex == 0;
}
} // namespace

CUsbNode::CUsbNode(std::shared_ptr<CUsbContext> pContext, CDescriptor descriptor)
    : m_pContext(std::move(pContext)), m_descriptor(std::move(descriptor))
{}

CUsbNode::~CUsbNode()
{
    m_pTransfer.reset();
    if (m_pDevice != nullptr)
        ::libusb_close(m_pDevice);
}

DWORD CUsbNode::Attach()
{
    if (m_pDevice != nullptr)
        return kErrNone;
    if (m_pContext->Get() == nullptr)
        return kErrNotSupported;
    const int nError = ::libusb_wrap_sys_device(m_pContext->Get(), m_descriptor.Get(), &m_pDevice);
    if (nError == LIBUSB_SUCCESS)
        m_pTransfer = MakeTransfer();
    return ErrorFromUsb(nError);
}

std::unique_ptr<CUsbTransfer> CUsbNode::MakeTransfer()
{
    return std::make_unique<CUsbTransfer>(m_pContext->Get(), m_pDevice);
}

DWORD CUsbNode::Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs, DWORD* pcbDone)
{
    *pcbDone = 0;
    if (setup.wLength > kControlMax)
        return kErrInvalidParameter;
    if (AsksForDeviceDescriptor(setup))
        return KnownDeviceDescriptor(pData, setup.wLength, pcbDone);
    m_pTransfer->Start(setup, pData, dwTimeoutMs);
    m_pTransfer->Wait();
    return m_pTransfer->Finish(pcbDone);
}

/// Reading the node gives the descriptors as the kernel knows them, or fails when the device has
/// gone, without a word to the device.
DWORD CUsbNode::KnownDeviceDescriptor(BYTE* pData, DWORD cb, DWORD* pcbDone) const
{
    const DWORD cbWanted = std::min<DWORD>(cb, USB_DEVICE_DESCRIPTOR_LENGTH);
    const ssize_t n = ::pread(m_descriptor.Get(), pData, cbWanted, 0);
    if (n < 0)
        return ErrorFromErrno(errno);
    *pcbDone = static_cast<DWORD>(n);
    return kErrNone;
}
