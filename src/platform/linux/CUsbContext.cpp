#include "platform/linux/CUsbContext.h"

#include <libusb.h>

CUsbContext::CUsbContext()
{
#if LIBUSB_API_VERSION >= 0x0100010A
    const libusb_init_option option = {LIBUSB_OPTION_NO_DEVICE_DISCOVERY, {0}};
    const int nError = ::libusb_init_context(&m_pContext, &option, 1);
#else
    // This libusb knows the option for all contexts to come only.
    ::libusb_set_option(nullptr, LIBUSB_OPTION_NO_DEVICE_DISCOVERY);
    const int nError = ::libusb_init(&m_pContext);
#endif
    if (nError != LIBUSB_SUCCESS)
        m_pContext = nullptr;
}

CUsbContext::~CUsbContext()
{
    if (m_pContext != nullptr)
        ::libusb_exit(m_pContext);
}
