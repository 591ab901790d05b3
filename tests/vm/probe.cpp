// One control transfer to a device node, without the library: what the stories compare with.
// Usage: probe NODE reset       (of the device's port)
//        probe NODE TYPE REQUEST VALUE INDEX LENGTH [TIMEOUT-MS]      (hexadecimal but for the
// last) Prints the bytes that came, or "error NUMBER" (of the system) and fails.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

int main(int nArguments, char** ppArguments)
{
    if (nArguments == 3) {
        const int nReset = ::open(ppArguments[1], O_RDWR | O_CLOEXEC);
        return nReset >= 0 && ::ioctl(nReset, USBDEVFS_RESET) == 0 ? 0 : 1;
    }
    if (nArguments < 7)
        return 2;
    const auto number = [&](int n, int nBase) {
        return static_cast<unsigned>(std::strtoul(ppArguments[n], nullptr, nBase));
    };
    std::array<unsigned char, 4096> data = {};
    usbdevfs_ctrltransfer transfer = {};
    transfer.bRequestType = static_cast<unsigned char>(number(2, 16));
    transfer.bRequest = static_cast<unsigned char>(number(3, 16));
    transfer.wValue = static_cast<unsigned short>(number(4, 16));
    transfer.wIndex = static_cast<unsigned short>(number(5, 16));
    transfer.wLength = static_cast<unsigned short>(number(6, 16));
    transfer.timeout = nArguments > 7 ? number(7, 10) : 5000;
    transfer.data = data.data();
    const int nNode = ::open(ppArguments[1], O_RDWR | O_CLOEXEC);
    const int n = nNode < 0 ? -1 : ::ioctl(nNode, USBDEVFS_CONTROL, &transfer);
    if (n < 0) {
        std::printf("error %d\n", errno);
        return 1;
    }
    for (int i = 0; i < n && (transfer.bRequestType & 0x80) != 0; ++i)
        std::printf("%02x", data[static_cast<std::size_t>(i)]);
    std::printf("\n");
    ::close(nNode);
    return 0;
}
