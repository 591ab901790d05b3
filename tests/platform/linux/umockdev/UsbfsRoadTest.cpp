#include "UsbfsFixture.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr SETUP_PACKET kRead = {REQTYPE_VENDOR_IN, REQ_READ_FLASH, 0x1000, 2, 64};
constexpr SETUP_PACKET kWrite = {REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, 0x1000, 2, 64};

/// What the library does with a hub: node and control device open, the hub opened by its handle.
class UsbfsRoad : public UsbfsFixture
{
protected:
    void SetUp() override { OpenHub(); }

    void OpenHub()
    {
        m_hDriver = OpenDriver();
        m_hNode = OpenNode();
        ASSERT_NE(m_hNode, InvalidHandle());
        ASSERT_EQ(OpenByHandle(m_hNode), 0u);
    }

    DWORD Ask(DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut = nullptr, DWORD cbOut = 0)
    {
        DWORD cbDone = 0;
        return m_files.Control(m_hDriver, dwCode, pIn, cbIn, pOut, cbOut, &cbDone)
                   ? kErrNone
                   : ThreadLastError();
    }

    DWORD OpenByHandle(HANDLE hNode)
    {
        PROXY_DEVICE_REQUEST open = {0, reinterpret_cast<ULONGLONG>(hNode), 0, 0};
        const DWORD dwError =
            Ask(IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, &open, sizeof open, &open, sizeof open);
        m_device = open.deviceHandle;
        return dwError;
    }

    DWORD CloseHub()
    {
        const PROXY_DEVICE_REQUEST close = {0, 0, m_device, 0};
        return Ask(IOCTL_KYPROXY_CLOSE_DEVICE, &close, sizeof close);
    }

    DWORD Send(const SETUP_PACKET& setup, DWORD dwTimeoutMs = 5000)
    {
        const bool bIn = (setup.bmRequestType & 0x80) != 0;
        m_urb = {};
        m_urb.Transfer.Hdr.Length = URB_LENGTH;
        m_urb.Transfer.Hdr.Function = URB_FUNCTION_CONTROL_TRANSFER;
        m_urb.Transfer.TransferFlags =
            USBD_DEFAULT_PIPE_TRANSFER | (bIn ? USBD_TRANSFER_DIRECTION_IN : 0u);
        m_urb.Transfer.TransferBufferLength = setup.wLength;
        m_urb.Transfer.TransferBuffer = reinterpret_cast<ULONGLONG>(m_buffer.data());
        m_urb.Request.SetupPacket = setup;
        const PROXY_URB_REQUEST send = {
            0, 0, m_device, reinterpret_cast<ULONGLONG>(&m_urb), dwTimeoutMs, 0};
        return Ask(IOCTL_KYPROXY_SEND_URB, &send, sizeof send);
    }
    DWORD Moved() const { return m_urb.Transfer.TransferBufferLength; }

    HANDLE m_hDriver = nullptr;
    HANDLE m_hNode = nullptr;
    ULONGLONG m_device = 0;
    URB m_urb = {};
    std::vector<BYTE> m_buffer = std::vector<BYTE>(8192, 0xEE);
};

TEST_F(UsbfsRoad, CarriesBothDirections)
{
    m_answer.data.assign(64, 0x5A);
    EXPECT_EQ(Send(kRead), 0u);
    EXPECT_EQ(Moved(), 64u);
    EXPECT_EQ(std::count(m_buffer.begin(), m_buffer.end(), 0x5A), 64);
    EXPECT_EQ(Send(kWrite), 0u);
    EXPECT_EQ(Send({REQTYPE_VENDOR_OUT, REQ_ERASE_FLASH, 7, 8, 0}), 0u);

    const auto requests = m_node.Requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].setup.bRequest, REQ_READ_FLASH);
    EXPECT_EQ(requests[1].data, std::vector<BYTE>(64, 0x5A));
    EXPECT_EQ(requests[2].setup.wValue, 7u);
    EXPECT_EQ(requests[2].setup.wIndex, 8u);
}

struct TransferEnd
{
    const char* pszCase;
    MOCK_ANSWER answer;
    DWORD dwError;
    DWORD cbMoved;
};

TEST_F(UsbfsRoad, EachEndOfATransferHasItsNumber)
{
    const std::vector<BYTE> some(10, 1);
    const TransferEnd ends[] = {
        {"short", {0, some}, kErrNone, 10},
        {"empty", {}, kErrNone, 0},
        {"stall", {-EPIPE}, kErrGenFailure, 0},
        {"bus error", {-EPROTO}, kErrGenFailure, 0},
        {"too much came", {-EOVERFLOW}, kErrGenFailure, 0},
        {"never answered", {0, {}, true}, kErrSemTimeout, 0},
        {"not taken", {0, {}, false, EIO}, kErrGenFailure, 0},
        {"gone as it is sent", {0, {}, false, ENODEV}, kErrDeviceGone, 0},
    };
    for (const TransferEnd& end : ends) {
        SCOPED_TRACE(end.pszCase);
        m_answer = end.answer;
        EXPECT_EQ(Send(kRead, end.answer.bNever ? 1 : 5000), end.dwError);
        EXPECT_EQ(Moved(), end.cbMoved);
        EXPECT_EQ(m_urb.Transfer.Hdr.Status, 0u) << "the I/O control says it, never the status";
    }
    EXPECT_EQ(m_node.Cancelled(), 1u) << "a late answer would belong to nobody";
}

TEST_F(UsbfsRoad, DeviceThatLeavesEndsTheTransferAtOnce)
{
    m_answer.nGoneAfter = 3;
    EXPECT_EQ(Send(kRead, 0), kErrDeviceGone) << "without a limit, and yet it ends";
    EXPECT_EQ(Send(kRead, 0), kErrDeviceGone);
    EXPECT_EQ(CloseHub(), 0u);
}

TEST_F(UsbfsRoad, LongestTransferIsAPage)
{
    m_answer.data.assign(8192, 0x33);
    SETUP_PACKET setup = kRead;
    setup.wLength = FLASH_REQUEST_MAX;
    EXPECT_EQ(Send(setup), 0u);
    EXPECT_EQ(Moved(), 4096u);
    setup.wLength = FLASH_REQUEST_MAX + 1;
    EXPECT_EQ(Send(setup), kErrInvalidParameter);
    EXPECT_EQ(m_node.Requests().size(), 1u);
}

TEST_F(UsbfsRoad, IdentityCostsTheDeviceTwoRequests)
{
    EXPECT_EQ(Send({0x80, 6, USB_DESCRIPTOR_DEVICE << 8, 0, USB_DEVICE_DESCRIPTOR_LENGTH}), 0u);
    EXPECT_EQ(Moved(), 18u);
    EXPECT_EQ(m_buffer[8], 0x09);
    EXPECT_EQ(m_buffer[9], 0x12);
    EXPECT_EQ(Send({0x80, 6, USB_DESCRIPTOR_STRING << 8 | HUB_IDENTITY_STRING_INDEX, 0, 255}), 0u);
    EXPECT_EQ(m_node.Requests().size(), 1u);
    EXPECT_EQ(m_node.OwnRequests(), 1u);
}

TEST_F(UsbfsRoad, HubStaysOpenWhenItsNodeIsClosed)
{
    EXPECT_TRUE(m_files.Close(m_hNode));
    EXPECT_EQ(Send(kWrite), 0u);
    EXPECT_EQ(CloseHub(), 0u);
    EXPECT_EQ(Send(kWrite), kErrInvalidHandle);
    EXPECT_EQ(CloseHub(), kErrInvalidHandle);
    EXPECT_EQ(OpenByHandle(m_hNode), kErrInvalidHandle);
    EXPECT_FALSE(m_files.Close(m_hNode));
}

TEST_F(UsbfsRoad, ControlDeviceTakesNothingThatIsNotExact)
{
    PROXY_DEVICE_REQUEST open = {1, reinterpret_cast<ULONGLONG>(m_hNode), 0, 0};
    EXPECT_EQ(Ask(IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, &open, sizeof open, &open, sizeof open),
              kErrInvalidParameter);
    EXPECT_EQ(Ask(IOCTL_KYPROXY_SEND_URB, &open, sizeof open), kErrInvalidParameter);
    EXPECT_EQ(Ask(0x00220060, nullptr, 0), 1u);
    EXPECT_EQ(OpenByHandle(nullptr), kErrInvalidHandle);
    EXPECT_EQ(OpenByHandle(m_hDriver), kErrInvalidHandle);
}
} // namespace
