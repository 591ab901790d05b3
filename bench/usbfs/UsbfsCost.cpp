// Reads flash N times, through the library on the Linux platform or by a bare loop of libusb's
// calls, so that the instructions of both can be counted. The kernel's side of usbfs is played by
// two functions that stand before the system's. Usage: usbfs_cost library|bare N
#include "cmd/CRequestCMD.h"
#include "platform/IDeviceTree.h"
#include "platform/linux/CDescriptor.h"
#include "platform/linux/CLinuxPlatform.h"
#include "platform/linux/CUsbContext.h"
#include "tests/platform/linux/CSysfsTree.h"
#include "transport/CPropertyEx.h"
#include "wire/HubRequests.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <libusb.h>
#include <linux/usbdevice_fs.h>
#include <poll.h>
#include <sys/ioctl.h>

namespace
{
constexpr const char* kTree = R"(
pci0000:00
  0000:00:14.0
    usb1 1d6b:0002 hub 480
      1-1 1209:0010 hub 480 power/control=on
)";
constexpr BYTE kDescriptors[] = {
    18, 1, 0x10, 2, 9, 0, 0,  64,   9, 0x12, 0x10, 0, 0, 1, 1, 2, 0, 1, // device
    9,  2, 25,   0, 1, 1, 0,  0xE0, 0,                                  // configuration
    9,  4, 0,    0, 1, 9, 0,  0,    0,                                  // interface
    7,  5, 0x81, 3, 1, 0, 12,                                           // endpoint
};
constexpr int kSetupLength = 8;
constexpr DWORD kTimeoutMs = 5000;

usbdevfs_urb* g_pUrb = nullptr; ///< under way
int g_nNode = -1;               ///< whose descriptor is always ready

BYTE g_buffer[FLASH_REQUEST_MAX];

int Answer(int nNode, unsigned long nRequest, void* pArgument)
{
    switch (nRequest) {
    case USBDEVFS_GET_CAPABILITIES:
        *static_cast<unsigned*>(pArgument) = USBDEVFS_CAP_ZERO_PACKET;
        return 0;
    case USBDEVFS_CONNECTINFO:
        *static_cast<usbdevfs_connectinfo*>(pArgument) = {2, 0};
        return 0;
    case USBDEVFS_CONTROL:
        *static_cast<BYTE*>(static_cast<usbdevfs_ctrltransfer*>(pArgument)->data) = 1;
        g_nNode = nNode;
        return 1;
    case USBDEVFS_SUBMITURB:
        g_pUrb = static_cast<usbdevfs_urb*>(pArgument);
        g_pUrb->status = 0;
        g_pUrb->actual_length = g_pUrb->buffer_length - kSetupLength;
        return 0;
    case USBDEVFS_REAPURBNDELAY:
        if (g_pUrb == nullptr)
            break;
        *static_cast<usbdevfs_urb**>(pArgument) = g_pUrb;
        g_pUrb = nullptr;
        return 0;
    default:
        break;
    }
    errno = nRequest == USBDEVFS_REAPURBNDELAY ? EAGAIN : ENOTTY;
    return -1;
}

/// The hub is the last of all: the root hub stands before it.
DWORD FindHub(IDeviceTree& tree)
{
    HANDLE const hSet = tree.GetClassDevs(&kGuidUsbHub, nullptr, kSetPresent | kSetDeviceInterface);
    DEVINFO_DATA node = {sizeof node, {}, 0, 0};
    for (DWORD i = 0; tree.EnumDeviceInfo(hSet, i, &node); ++i) {
    }
    tree.DestroySet(hSet);
    return node.DevInst;
}

bool ReadThroughLibrary(const CSysfsTree& tree, int nTimes)
{
    CLinuxPlatform platform({tree.SysRoot(), tree.DevRoot()});
    SetCurrentPlatform(&platform);
    CPropertyEx transport;
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    cmd.XH_InitProxyDriver(&transport);
    bool bRead = cmd.XH_OpenDevice(FindHub(platform.DeviceTree())) == 1;
    for (int i = 0; i < nTimes && bRead; ++i)
        bRead = cmd.KyHub_ReadFlash2(static_cast<DWORD>(i) * FLASH_REQUEST_MAX, g_buffer,
                                     FLASH_REQUEST_MAX) == 0;
    cmd.XH_CloseDevice();
    cmd.XH_UnInitProxyDriver();
    SetCurrentPlatform(nullptr);
    return bRead;
}

bool ReadBare(const std::string& strNode, int nTimes)
{
    const CUsbContext context;
    const CDescriptor node(::open(strNode.c_str(), O_RDWR | O_CLOEXEC));
    libusb_device_handle* pDevice = nullptr;
    bool bRead = ::libusb_wrap_sys_device(context.Get(), node.Get(), &pDevice) == LIBUSB_SUCCESS;
    for (int i = 0; i < nTimes && bRead; ++i) {
        const auto dwAddress = static_cast<DWORD>(i) * FLASH_REQUEST_MAX;
        bRead = ::libusb_control_transfer(pDevice, REQTYPE_VENDOR_IN, REQ_READ_FLASH,
                                          static_cast<USHORT>(dwAddress & 0xFFFF),
                                          static_cast<USHORT>(dwAddress >> 16), g_buffer,
                                          FLASH_REQUEST_MAX, kTimeoutMs) == FLASH_REQUEST_MAX;
    }
    if (pDevice != nullptr)
        ::libusb_close(pDevice);
    return bRead;
}
} // namespace

extern "C" [[gnu::visibility("default")]] int ioctl(int nNode, unsigned long nRequest, ...) noexcept
{
    va_list arguments;
    va_start(arguments, nRequest);
    void* const pArgument = va_arg(arguments, void*);
    va_end(arguments);
    return Answer(nNode, nRequest, pArgument);
}

extern "C" [[gnu::visibility("default")]] int poll(pollfd* pGiven, nfds_t nDescriptors, int)
{
    // The system declares that poll only writes what it is given; the compiler believes that.
    pollfd* volatile const pHidden = pGiven;
    pollfd* const pDescriptors = pHidden;
    int nReady = 0;
    for (nfds_t i = 0; i < nDescriptors; ++i) {
        pDescriptors[i].revents = pDescriptors[i].fd == g_nNode ? POLLOUT : 0;
        nReady += pDescriptors[i].revents != 0 ? 1 : 0;
    }
    return nReady;
}

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    const int nTimes = std::atoi(argv[2]);
    const CSysfsTree tree(kTree);
    const std::string strNode = tree.DevRoot() + "/bus/usb/001/002";
    std::filesystem::create_directories(tree.DevRoot() + "/bus/usb/001");
    std::ofstream(strNode, std::ios::binary)
        .write(reinterpret_cast<const char*>(kDescriptors), sizeof kDescriptors);
    const bool bRead = std::strcmp(argv[1], "library") == 0 ? ReadThroughLibrary(tree, nTimes)
                                                            : ReadBare(strNode, nTimes);
    return bRead ? 0 : 1;
}
