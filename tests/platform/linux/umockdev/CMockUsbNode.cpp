#include "CMockUsbNode.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <linux/usbdevice_fs.h>
#include <stdexcept>
#include <sys/ioctl.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wpedantic"
#include <umockdev.h>

namespace
{
// A hub at the root hub of a controller: device descriptor, then its one configuration. The HID
// collection counts when the device stops being a hub.
constexpr const char* kTree =
    "P: /devices/pci0000:00/0000:00:14.0\nE: SUBSYSTEM=pci\nA: vendor=0x8086\\n\n"
    "A: device=0xa12f\\n\nA: class=0x0c0330\\n\n\n"

    "P: /devices/pci0000:00/0000:00:14.0/usb1\nN: bus/usb/001/001\nE: DEVTYPE=usb_device\n"
    "E: SUBSYSTEM=usb\nA: busnum=1\\n\nA: devnum=1\\n\nA: idVendor=1d6b\\n\n"
    "A: idProduct=0002\\n\nA: bDeviceClass=09\\n\nA: speed=480\\n\n\n"

    "P: /devices/pci0000:00/0000:00:14.0/usb1/1-1\n"
    "N: bus/usb/001/002="
    "12011002090000400912100000010102000109021900010100E0000904000001090000000705810301000C\n"
    "E: DEVNAME=/dev/bus/usb/001/002\nE: DEVTYPE=usb_device\nE: SUBSYSTEM=usb\n"
    "A: busnum=1\\n\nA: devnum=2\\n\nA: idVendor=1209\\n\nA: idProduct=0010\\n\n"
    "A: bcdDevice=0100\\n\nA: bDeviceClass=09\\n\nA: speed=480\\n\nA: power/control=auto\\n\n\n"

    "P: /devices/pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0/0003:1209:0010.0001\n"
    "E: SUBSYSTEM=hid\nH: report_descriptor=0670FF0920A1017508952009018102C0\n\n"

    "P: /devices/pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0/0003:1209:0010.0001/hidraw/hidraw0\n"
    "N: hidraw0\nE: DEVNAME=/dev/hidraw0\nE: SUBSYSTEM=hidraw\nL: device=../..\n";
constexpr const char* kNode = "/dev/bus/usb/001/002";

template<class T>
void Put(UMockdevIoctlData* pData, gsize offset, const T& value)
{
    T copy = value;
    umockdev_ioctl_data_update(pData, offset, reinterpret_cast<guint8*>(&copy), sizeof copy);
}

struct UNDER_WAY
{
    UMockdevIoctlData* pUrb;
    UMockdevIoctlData* pBuffer;
    bool bIn;
    MOCK_ANSWER answer;
    bool bDone;
};
} // namespace

struct CMockUsbNode::Impl
{
    Script script;
    UMockdevTestbed* pTestbed = nullptr;
    UMockdevIoctlBase* pHandler = nullptr;
    mutable std::mutex lock;
    std::deque<UNDER_WAY> urbs;
    MOCK_SEEN seen;
    bool bGone = false;

    static gboolean Complete(UMockdevIoctlClient* pClient, int nError)
    {
        umockdev_ioctl_client_complete(pClient, nError == 0 ? 0 : -1, nError);
        return TRUE;
    }

    gboolean Submit(UMockdevIoctlClient* pClient, UMockdevIoctlData* pArg)
    {
        UMockdevIoctlData* const pUrb =
            umockdev_ioctl_data_resolve(pArg, 0, sizeof(usbdevfs_urb), nullptr);
        usbdevfs_urb urb;
        std::memcpy(&urb, pUrb->data, sizeof urb);
        UMockdevIoctlData* const pBuffer = umockdev_ioctl_data_resolve(
            pUrb, offsetof(usbdevfs_urb, buffer), static_cast<gsize>(urb.buffer_length), nullptr);
        MOCK_REQUEST request;
        std::memcpy(&request.setup, pBuffer->data, sizeof request.setup);
        const bool bIn = (request.setup.bmRequestType & 0x80) != 0;
        if (!bIn)
            request.data.assign(pBuffer->data + sizeof request.setup,
                                pBuffer->data + urb.buffer_length);
        seen.requests.push_back(request);
        MOCK_ANSWER answer = script(request);
        if (bGone)
            answer.nRefuse = ENODEV;
        if (answer.nRefuse == 0)
            urbs.push_back({pUrb, pBuffer, bIn, answer, !answer.bNever && answer.nGoneAfter == 0});
        return Complete(pClient, answer.nRefuse);
    }

    gboolean Reap(UMockdevIoctlClient* pClient, UMockdevIoctlData* pArg)
    {
        for (UNDER_WAY& way : urbs) {
            if (way.answer.nGoneAfter == 0 || --way.answer.nGoneAfter != 0)
                continue;
            way.bDone = bGone = true;
            way.answer.nError = -ESHUTDOWN;
        }
        const auto it =
            std::find_if(urbs.begin(), urbs.end(), [](const UNDER_WAY& way) { return way.bDone; });
        if (it == urbs.end())
            return Complete(pClient, bGone ? ENODEV : EAGAIN);
        const UNDER_WAY way = *it;
        urbs.erase(it);
        int nMoved = way.pBuffer->data_len - static_cast<int>(sizeof(SETUP_PACKET));
        if (way.bIn) {
            nMoved = std::min<int>(nMoved, static_cast<int>(way.answer.data.size()));
            std::vector<BYTE> data = way.answer.data;
            umockdev_ioctl_data_update(way.pBuffer, sizeof(SETUP_PACKET), data.data(), nMoved);
        }
        Put(way.pUrb, offsetof(usbdevfs_urb, status), way.answer.nError);
        Put(way.pUrb, offsetof(usbdevfs_urb, actual_length), way.answer.nError == 0 ? nMoved : 0);
        UMockdevIoctlData* const pOut =
            umockdev_ioctl_data_resolve(pArg, 0, sizeof(void*), nullptr);
        umockdev_ioctl_data_set_ptr(pOut, 0, way.pUrb);
        return Complete(pClient, 0);
    }

    gboolean Discard(UMockdevIoctlClient* pClient, UMockdevIoctlData* pArg)
    {
        UMockdevIoctlData* const pUrb =
            umockdev_ioctl_data_resolve(pArg, 0, sizeof(usbdevfs_urb), nullptr);
        for (UNDER_WAY& way : urbs) {
            if (way.pUrb->client_addr != pUrb->client_addr || way.bDone)
                continue;
            way.bDone = true;
            way.answer = {};
            way.answer.nError = -ENOENT;
            ++seen.nCancelled;
            return Complete(pClient, 0);
        }
        return Complete(pClient, EINVAL);
    }

    gboolean Control(UMockdevIoctlClient* pClient, UMockdevIoctlData* pArg)
    {
        ++seen.nOwn;
        if (bGone)
            return Complete(pClient, ENODEV);
        UMockdevIoctlData* const pTransfer =
            umockdev_ioctl_data_resolve(pArg, 0, sizeof(usbdevfs_ctrltransfer), nullptr);
        UMockdevIoctlData* const pData = umockdev_ioctl_data_resolve(
            pTransfer, offsetof(usbdevfs_ctrltransfer, data), 1, nullptr);
        if (pData != nullptr)
            Put<BYTE>(pData, 0, 1); // the configuration in use
        umockdev_ioctl_client_complete(pClient, 1, 0);
        return TRUE;
    }

    gboolean Handle(UMockdevIoctlClient* pClient)
    {
        const std::lock_guard<std::mutex> guard(lock);
        UMockdevIoctlData* const pArg = umockdev_ioctl_client_get_arg(pClient);
        switch (umockdev_ioctl_client_get_request(pClient)) {
        case USBDEVFS_GET_CAPABILITIES:
            Put<guint32>(umockdev_ioctl_data_resolve(pArg, 0, 4, nullptr), 0,
                         USBDEVFS_CAP_ZERO_PACKET);
            return Complete(pClient, 0);
        case USBDEVFS_CONNECTINFO:
            Put(umockdev_ioctl_data_resolve(pArg, 0, sizeof(usbdevfs_connectinfo), nullptr), 0,
                usbdevfs_connectinfo{2, 0});
            return Complete(pClient, 0);
        case USBDEVFS_CONTROL:
            return Control(pClient, pArg);
        case USBDEVFS_SUBMITURB:
            return Submit(pClient, pArg);
        case USBDEVFS_REAPURB:
        case USBDEVFS_REAPURBNDELAY:
            return Reap(pClient, pArg);
        case USBDEVFS_DISCARDURB:
            return Discard(pClient, pArg);
        default:
            return Complete(pClient, ENOTTY);
        }
    }
};

namespace
{
gboolean OnIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* pClient, gpointer pUser)
{
    return static_cast<CMockUsbNode::Impl*>(pUser)->Handle(pClient);
}
} // namespace

CMockUsbNode::CMockUsbNode(Script script) : m_pImpl(std::make_unique<Impl>())
{
    m_pImpl->script = std::move(script);
    m_pImpl->pTestbed = umockdev_testbed_new();
    GError* pError = nullptr;
    if (!umockdev_testbed_add_from_string(m_pImpl->pTestbed, kTree, &pError))
        throw std::runtime_error(pError->message);
    m_pImpl->pHandler = umockdev_ioctl_base_new();
    g_signal_connect(m_pImpl->pHandler, "handle-ioctl", G_CALLBACK(OnIoctl), m_pImpl.get());
    umockdev_testbed_attach_ioctl(m_pImpl->pTestbed, kNode, m_pImpl->pHandler, nullptr);
}

CMockUsbNode::~CMockUsbNode()
{
    umockdev_testbed_detach_ioctl(m_pImpl->pTestbed, kNode, nullptr);
    g_object_unref(m_pImpl->pHandler);
    g_object_unref(m_pImpl->pTestbed);
}
#pragma GCC diagnostic pop

void CMockUsbNode::BeNoHub()
{
    umockdev_testbed_set_attribute(
        m_pImpl->pTestbed, "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1", "bDeviceClass", "00\n");
}

void CMockUsbNode::Leave()
{
    const std::lock_guard<std::mutex> guard(m_pImpl->lock);
    m_pImpl->bGone = true;
}

std::string CMockUsbNode::Path() const
{
    return kNode;
}

MOCK_SEEN CMockUsbNode::Seen() const
{
    const std::lock_guard<std::mutex> guard(m_pImpl->lock);
    return m_pImpl->seen;
}
