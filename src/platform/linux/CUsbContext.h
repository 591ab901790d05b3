#pragma once

struct libusb_context;

/// libusb without its own search for devices: they are opened by device node, so neither a
/// device manager nor a look at any other device is needed.
class CUsbContext
{
public:
    CUsbContext();
    CUsbContext(const CUsbContext&) = delete;
    CUsbContext& operator=(const CUsbContext&) = delete;
    ~CUsbContext();

    libusb_context* Get() const { return m_pContext; } ///< null when there is none

private:
    libusb_context* m_pContext = nullptr;
};
