#include "sim/machine/CSimProxyDriver.h"

#include "sim/machine/CSimAddressSpace.h"

#include <cstring>
#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::SizeIs;

namespace
{
/// Counts what reaches it.
class CCountingDevice : public ISimUsbDevice
{
public:
    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* /*pData*/,
                              DWORD /*dwTimeoutMs*/) override
    {
        ++nCalls;
        return {kErrNone, 0, setup.wLength};
    }
    unsigned nCalls = 0;
};

/// A caller in this process with one file handle, 0x1234.
class CCaller : public ISimDriverCaller
{
public:
    explicit CCaller(std::shared_ptr<ISimUsbDevice> pDevice) : m_pDevice(std::move(pDevice)) {}
    std::shared_ptr<ISimUsbDevice> DeviceBehind(ULONGLONG fileHandle) override
    {
        return fileHandle == 0x1234 ? m_pDevice : nullptr;
    }
    void* Memory(ULONGLONG address, size_t /*cb*/) override
    {
        return reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
    }

private:
    std::shared_ptr<ISimUsbDevice> m_pDevice;
};

/// A buffer of a request, open for mutilation.
struct Request
{
    DWORD dwCode = 0;
    std::vector<BYTE> in;
    std::vector<BYTE> out;
    DWORD cbDone = 0;
};

class ProxyDriver : public testing::Test
{
protected:
    DWORD Send(Request& request)
    {
        SimControlRequest raw = {request.dwCode, request.in.data(),
                                 static_cast<DWORD>(request.in.size()), request.out.data(),
                                 static_cast<DWORD>(request.out.size())};
        const DWORD dwError = m_driver.Control(m_caller, raw);
        request.cbDone = raw.cbDone;
        return dwError;
    }
    ULONGLONG OpenDevice()
    {
        PROXY_DEVICE_REQUEST open = {0, 0x1234, 0, 0};
        Request request = Of(IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, open, sizeof open);
        EXPECT_EQ(Send(request), 0u);
        EXPECT_EQ(request.cbDone, 32u);
        std::memcpy(&open, request.out.data(), sizeof open);
        return open.deviceHandle;
    }
    template<class T>
    static Request Of(DWORD dwCode, const T& record, size_t cbOut)
    {
        Request request = {dwCode, std::vector<BYTE>(sizeof record), std::vector<BYTE>(cbOut)};
        std::memcpy(request.in.data(), &record, sizeof record);
        return request;
    }
    DWORD SendUrb(URB& urb, ULONGLONG deviceHandle)
    {
        const PROXY_URB_REQUEST send = {0,   0, deviceHandle, reinterpret_cast<ULONGLONG>(&urb),
                                        777, 0};
        Request request = Of(IOCTL_KYPROXY_SEND_URB, send, 0);
        return Send(request);
    }
    URB VendorIn(BYTE* pData, DWORD cb)
    {
        URB urb = {};
        urb.Transfer.Hdr.Length = URB_LENGTH;
        urb.Transfer.Hdr.Function = URB_FUNCTION_VENDOR_DEVICE;
        urb.Transfer.TransferFlags = USBD_TRANSFER_DIRECTION_IN;
        urb.Transfer.TransferBufferLength = cb;
        urb.Transfer.TransferBuffer = reinterpret_cast<ULONGLONG>(pData);
        urb.Request.Vendor = {0xC0, 0xD8, 0x1111, 0x2222, 0};
        return urb;
    }

    CSimAddressSpace m_ports{true};
    CSimAddressSpace m_memory{true};
    CSimProxyDriver m_driver{&m_ports, &m_memory};
    std::shared_ptr<CCountingDevice> m_pDevice = std::make_shared<CCountingDevice>();
    CCaller m_caller{m_pDevice};
    BYTE m_data[8] = {};
};

TEST_F(ProxyDriver, RefusesEveryReservedByteOfAUrb)
{
    const ULONGLONG device = OpenDevice();
    // Everything but Length, Function, TransferFlags, length, buffer and the request's fields.
    unsigned nRefused = 0;
    URB good = VendorIn(m_data, 8);
    EXPECT_EQ(SendUrb(good, device), kErrNone);
    for (size_t i = 4; i < 136; ++i) {
        const bool bReserved = i < 32 || (i >= 48 && i < 128) || i >= 134;
        if (!bReserved)
            continue;
        SCOPED_TRACE(i);
        URB urb = VendorIn(m_data, 8);
        reinterpret_cast<BYTE*>(&urb)[i] = 1;
        EXPECT_EQ(SendUrb(urb, device), kErrInvalidParameter);
        ++nRefused;
    }
    EXPECT_THAT(m_driver.Rejections(), SizeIs(nRefused));
    EXPECT_EQ(m_pDevice->nCalls, 1u);
}

/// A URB of eight bytes with one thing wrong.
struct SpoiledUrb
{
    USHORT wLength;
    USHORT wFunction;
    DWORD dwFlags;
    DWORD cb;
    bool bBuffer;
    BYTE request[8];
};

const SpoiledUrb kSpoiledUrbs[] = {
    {128, 0x0017, 1, 8, true, {0xC0, 0xD8}},
    {136, 0x0009, 1, 8, true, {0xC0, 0xD8}},
    {136, 0x0017, 0, 8, true, {0xC0, 0xD8}},
    {136, 0x0017, 1, 8, false, {0xC0, 0xD8}},
    {136, 0x0017, 1, 0x10000, true, {0xC0, 0xD8}},
    {136, 0x0008, 1, 8, true, {0xC0, 9, 0, 0, 0, 0, 8, 0}},
    {136, 0x0008, 9, 8, true, {0xC0, 9, 0, 0, 0, 0, 7, 0}},
    {136, 0x0008, 9, 8, true, {0x40, 9, 0, 0, 0, 0, 8, 0}},
    {136, 0x000B, 1, 8, true, {0, 0, 0, 1}},
};

TEST_F(ProxyDriver, RefusesASpoiledUrbWithAReason)
{
    const ULONGLONG device = OpenDevice();
    for (const SpoiledUrb& spoilt : kSpoiledUrbs) {
        URB urb = VendorIn(spoilt.bBuffer ? m_data : nullptr, spoilt.cb);
        urb.Transfer.Hdr.Length = spoilt.wLength;
        urb.Transfer.Hdr.Function = spoilt.wFunction;
        urb.Transfer.TransferFlags = spoilt.dwFlags;
        std::memcpy(&urb.Request, spoilt.request, 8);
        EXPECT_EQ(SendUrb(urb, device), kErrInvalidParameter) << &spoilt - kSpoiledUrbs;
    }
    EXPECT_THAT(m_driver.Rejections(), SizeIs(std::size(kSpoiledUrbs)));
    EXPECT_EQ(m_pDevice->nCalls, 0u);
}

/// A good request of each kind, and the input bytes that may hold something.
struct Layout
{
    DWORD dwCode;
    BYTE byLengthAt16;
    size_t cbIn;
    size_t cbOut;
    size_t nFreeFrom[2];
    size_t nFreeTo[2];
};

const Layout kLayouts[] = {
    {IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, 0, 32, 32, {8, 0}, {16, 0}},
    {IOCTL_KYPROXY_CLOSE_DEVICE, 0, 32, 0, {16, 0}, {24, 0}},
    {IOCTL_KYPROXY_SEND_URB, 0, 40, 0, {16, 0}, {36, 0}},
    {IOCTL_KYPROXY_WRITE_PORT_UCHAR, 0, 24, 0, {8, 16}, {12, 17}},
    {IOCTL_KYPROXY_READ_PORT_UCHAR, 0, 24, 1, {8, 0}, {12, 0}},
    {IOCTL_KYPROXY_WRITE_MEMORY_UCHAR, 5, 29, 0, {8, 16}, {12, 25}},
    {IOCTL_KYPROXY_READ_MEMORY_UCHAR, 5, 24, 5, {8, 16}, {12, 20}},
};

TEST_F(ProxyDriver, RefusesEveryOtherLengthAndEveryReservedByte)
{
    unsigned nRefused = 0;
    const auto refuse = [&](Request request, const char* pszReason) {
        EXPECT_EQ(Send(request), kErrInvalidParameter);
        ASSERT_THAT(m_driver.Rejections(), SizeIs(++nRefused));
        EXPECT_THAT(m_driver.Rejections().back(), HasSubstr(pszReason));
    };
    for (const Layout& layout : kLayouts) {
        Request good = {layout.dwCode, std::vector<BYTE>(layout.cbIn),
                        std::vector<BYTE>(layout.cbOut)};
        good.in[16] = layout.byLengthAt16;
        for (const int nMore : {-1, 1}) {
            Request request = good;
            request.in.resize(request.in.size() + static_cast<size_t>(nMore));
            refuse(request, "length");
        }
        Request request = good;
        request.out.resize(request.out.size() + 1);
        refuse(request, "length");
        for (size_t i = 0; i < layout.cbIn; ++i) {
            SCOPED_TRACE(testing::Message() << layout.dwCode << ", byte " << i);
            if ((i >= layout.nFreeFrom[0] && i < layout.nFreeTo[0]) ||
                (i >= layout.nFreeFrom[1] && i < layout.nFreeTo[1]))
                continue;
            Request spoilt = good;
            spoilt.in[i] = 1;
            refuse(spoilt, "not zero");
        }
    }
}

TEST_F(ProxyDriver, KnowsOnlyTheHandlesThatItGaveOut)
{
    URB urb = VendorIn(m_data, 8);
    EXPECT_EQ(SendUrb(urb, 0), kErrInvalidHandle);
    PROXY_DEVICE_REQUEST open = {0, 0x9999, 0, 0};
    Request request = Of(IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, open, sizeof open);
    EXPECT_EQ(Send(request), kErrInvalidHandle);

    const ULONGLONG device = OpenDevice();
    const PROXY_DEVICE_REQUEST close = {0, 0, device, 0};
    request = Of(IOCTL_KYPROXY_CLOSE_DEVICE, close, 0);
    EXPECT_EQ(Send(request), 0u);
    EXPECT_EQ(Send(request), kErrInvalidHandle);
    EXPECT_EQ(m_driver.OpenDevices(), 0u);
}

} // namespace
