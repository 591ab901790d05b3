#include <gtest/gtest.h>

#include "CMockUsbNode.h"
#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxPlatform.h"
#include "transport/CPropertyEx.h"
#include "wire/DriverNames.h"
#include "wire/HubRequests.h"
#include "wire/ProxyIoctl.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace
{
/// The library's transport on the whole Linux platform, with one of the maker's hubs.
class HubOnLinux : public testing::Test
{
protected:
    HubOnLinux() { SetCurrentPlatform(&m_platform); }
    ~HubOnLinux() override { SetCurrentPlatform(nullptr); }

    void SetUp() override { ASSERT_NE(m_transport.InitProxyDriver(), 0); }
    void TearDown() override { m_transport.XH_UnInitProxyDriver(); }

    MOCK_ANSWER Answer(const MOCK_REQUEST& request)
    {
        if ((request.setup.bmRequestType & REQTYPE_VENDOR_OUT) != 0)
            return m_answer;
        return {0, {14, 3, 'V', 0, 'o', 0, ' ', 0, 'H', 0, 'u', 0, 'b', 0}};
    }

    /// The last node of a class: where hubs are asked for, the root hub comes first.
    DWORD NodeOf(const GUID& guidClass)
    {
        IDeviceTree& tree = m_platform.DeviceTree();
        HANDLE const hSet =
            tree.GetClassDevs(&guidClass, nullptr, kSetPresent | kSetDeviceInterface);
        DEVINFO_DATA node = {sizeof node, {}, 0, 0};
        for (DWORD i = 0; tree.EnumDeviceInfo(hSet, i, &node); ++i) {
        }
        tree.DestroySet(hSet);
        return node.DevInst;
    }
    DWORD OpenHub() { return m_transport.KyHub_OpenDeviceByDevInst(NodeOf(kGuidUsbHub)); }

    DWORD Read(DWORD dwLength = 64, DWORD dwTimeoutMs = 5000)
    {
        return m_transport.KyHub_SendVDCmd(REQTYPE_VENDOR_IN, REQ_READ_FLASH, 1, 2, m_data.data(),
                                           dwLength, dwTimeoutMs);
    }
    DWORD Write(BYTE byRequest, DWORD dwLength)
    {
        return m_transport.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, byRequest, 3, 4,
                                           dwLength == 0 ? nullptr : m_data.data(), dwLength, 5000);
    }
    auto Count(BYTE byValue) { return std::count(m_data.begin(), m_data.end(), byValue); }

    /// How often this process has the hub's device node open.
    unsigned OpenNodes() const
    {
        unsigned n = 0;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            n += std::filesystem::read_symlink(entry, ignored).string().ends_with(m_node.Path());
        return n;
    }

    MOCK_ANSWER m_answer; ///< to vendor requests
    CMockUsbNode m_node{[this](const MOCK_REQUEST& request) { return Answer(request); }};
    CLinuxPlatform m_platform;
    CPropertyEx m_transport;
    std::vector<BYTE> m_data = std::vector<BYTE>(8192, 0xEE);
};

TEST_F(HubOnLinux, IsRecognisedByTwoRequestsAndLetGo)
{
    EXPECT_EQ(m_transport.KyHub_IsVoHub(NodeOf(kGuidUsbHub), 0), 1);
    EXPECT_EQ(m_node.Seen().requests.size() + m_node.Seen().nOwn, 2u);
    EXPECT_EQ(OpenNodes(), 0u);
}

TEST_F(HubOnLinux, IsKeptAwakeByItsOpenNodeUntilItIsClosed)
{
    ASSERT_EQ(OpenHub(), 0u);
    EXPECT_EQ(OpenNodes(), 1u);
    EXPECT_EQ(m_transport.KyHub_CloseDevice(), 0u);
    EXPECT_EQ(OpenNodes(), 0u);
    EXPECT_EQ(Read(), kErrInvalidHandle);
}

TEST_F(HubOnLinux, CarriesRequestsInBothDirections)
{
    ASSERT_EQ(OpenHub(), 0u);
    m_answer.data.assign(8192, 0x5A);
    EXPECT_EQ(Read(FLASH_REQUEST_MAX), 0u);
    EXPECT_EQ(Count(0x5A), FLASH_REQUEST_MAX);
    EXPECT_EQ(Write(REQ_WRITE_FLASH, 64), 0u);
    EXPECT_EQ(Write(REQ_ERASE_FLASH, 0), 0u);
    EXPECT_EQ(Read(FLASH_REQUEST_MAX + 1), kErrInvalidParameter) << "more than the kernel takes";

    const auto requests = m_node.Seen().requests;
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].setup.bRequest, REQ_READ_FLASH);
    EXPECT_EQ(requests[1].data, std::vector<BYTE>(64, 0x5A));
    EXPECT_EQ(requests[2].setup.wValue, 3u);
    EXPECT_EQ(requests[2].setup.wIndex, 4u);
}

TEST_F(HubOnLinux, EachEndOfATransferHasItsNumber)
{
    const std::tuple<const char*, MOCK_ANSWER, DWORD> ends[] = {
        {"short", {0, std::vector<BYTE>(10, 1)}, kErrNone},
        {"stall", {-EPIPE}, kErrGenFailure},
        {"bus error", {-EPROTO}, kErrIoDevice},
        {"too much came", {-EOVERFLOW}, kErrIoDevice},
        {"never answered", {0, {}, true}, kErrSemTimeout},
        {"not taken", {0, {}, false, EIO}, kErrIoDevice},
        {"not permitted", {0, {}, false, EPERM}, kErrAccessDenied},
        {"busy", {0, {}, false, EBUSY}, kErrBusy},
        {"about to leave", {0, {}, false, ENOENT}, kErrDeviceGone},
        {"gone as it is sent", {0, {}, false, ENODEV}, kErrDeviceGone},
        {"gone in the middle", {0, {}, false, 0, 3}, kErrDeviceGone}, // the last: it stays away
    };
    ASSERT_EQ(OpenHub(), 0u);
    for (const auto& [pszCase, answer, dwError] : ends) {
        m_answer = answer;
        // Where it is the device that leaves, no limit of time ends the transfer.
        const DWORD dwTimeoutMs = answer.bNever ? 1 : 0;
        EXPECT_EQ(Read(64, dwTimeoutMs), dwError) << pszCase;
        EXPECT_EQ(Count(1), 10) << pszCase;
    }
    EXPECT_EQ(m_node.Seen().nCancelled, 1u) << "a late answer would belong to nobody";
    EXPECT_EQ(Read(), kErrDeviceGone);
    EXPECT_EQ(m_transport.KyHub_CloseDevice(), 0u);
}

TEST_F(HubOnLinux, ThatLeavesWhileItIsOpenedIsGone)
{
    m_node.Leave();
    EXPECT_EQ(OpenHub(), kErrDeviceGone);
    EXPECT_EQ(m_transport.KyHub_IsVoHub(NodeOf(kGuidUsbHub), 0), 0);
    EXPECT_TRUE(m_node.Seen().requests.empty());
    EXPECT_EQ(OpenNodes(), 0u);
}

TEST_F(HubOnLinux, HidCollectionIsToldAndCarriesVendorRequests)
{
    m_node.BeNoHub();
    const DWORD devInst = NodeOf(kGuidHid);
    EXPECT_EQ(m_transport.KyHid_IsITEHid(devInst), 1);
    ASSERT_EQ(m_transport.KyHub_OpenHidDeviceByDevInst(devInst), 0u);
    EXPECT_EQ(Write(REQ_ERASE_FLASH, 0), 0u);
    EXPECT_EQ(m_node.Seen().requests.back().setup.bRequest, REQ_ERASE_FLASH);
}

TEST_F(HubOnLinux, ControlDeviceTakesNoOtherHandles)
{
    IDeviceFile& files = m_platform.DeviceFile();
    const HANDLE hDriver = files.Open(ZELUPX_DEVICE_PATH, 0, 0, kOpenExisting, 0);
    const auto Ask = [&](DWORD dwCode, HANDLE hNode, ULONGLONG spoilt) {
        PROXY_DEVICE_REQUEST open = {spoilt, reinterpret_cast<ULONGLONG>(hNode), 0, 0};
        DWORD cbDone = 0;
        EXPECT_FALSE(
            files.Control(hDriver, dwCode, &open, sizeof open, &open, sizeof open, &cbDone));
        return m_platform.Process().LastError();
    };
    EXPECT_EQ(Ask(IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, nullptr, 0), kErrInvalidHandle);
    EXPECT_EQ(Ask(IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, hDriver, 0), kErrInvalidHandle);
    EXPECT_EQ(Ask(IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, nullptr, 1), kErrInvalidParameter);
    EXPECT_EQ(Ask(0x00220060, nullptr, 0), 1u);
    EXPECT_TRUE(files.Close(hDriver));
    EXPECT_FALSE(files.Close(hDriver));
}
} // namespace
