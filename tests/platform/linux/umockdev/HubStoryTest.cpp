#include <gtest/gtest.h>

#include "CMockUsbNode.h"
#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxPlatform.h"
#include "transport/CPropertyEx.h"
#include "wire/HubRequests.h"

#include <cerrno>

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
        if (request.setup.bmRequestType == REQTYPE_VENDOR_OUT)
            return m_answer;
        return {0, {14, 3, 'V', 0, 'o', 0, ' ', 0, 'H', 0, 'u', 0, 'b', 0}};
    }

    /// The first node of a class.
    DWORD NodeOf(const GUID& guidClass)
    {
        IDeviceTree& tree = m_platform.DeviceTree();
        HANDLE const hSet =
            tree.GetClassDevs(&guidClass, nullptr, kSetPresent | kSetDeviceInterface);
        DWORD devInst = 0;
        DEVINFO_DATA node = {sizeof node, {}, 0, 0};
        // The root hub comes first where hubs are asked for.
        for (DWORD i = 0; tree.EnumDeviceInfo(hSet, i, &node); ++i)
            devInst = node.DevInst;
        tree.DestroySet(hSet);
        return devInst;
    }

    MOCK_ANSWER m_answer;
    CMockUsbNode m_node{[this](const MOCK_REQUEST& request) { return Answer(request); }};
    CLinuxPlatform m_platform;
    CPropertyEx m_transport;
};

TEST_F(HubOnLinux, IsRecognisedByTwoRequestsAndLeftAlone)
{
    EXPECT_EQ(m_transport.KyHub_IsVoHub(NodeOf(kGuidUsbHub), 0), 1);
    EXPECT_EQ(m_node.Requests().size() + m_node.OwnRequests(), 2u);
}

TEST_F(HubOnLinux, IsOpenedAndLosesATransferWithItsNumber)
{
    ASSERT_EQ(m_transport.KyHub_OpenDeviceByDevInst(NodeOf(kGuidUsbHub)), 0u);
    BYTE data[32] = {};
    EXPECT_EQ(m_transport.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, 1, 2, data, 32, 500),
              0u);
    m_answer.nError = -EPIPE;
    EXPECT_EQ(m_transport.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, 1, 2, data, 32, 500),
              kErrGenFailure);
    m_answer = {0, {}, false, 0, 2};
    EXPECT_EQ(m_transport.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, 1, 2, data, 32, 500),
              kErrDeviceGone);
    EXPECT_EQ(m_transport.KyHub_CloseDevice(), 0u);
}

TEST_F(HubOnLinux, HidCollectionIsToldAndCarriesVendorRequests)
{
    m_node.BeNoHub();
    const DWORD devInst = NodeOf(kGuidHid);
    EXPECT_EQ(m_transport.KyHid_IsITEHid(devInst), 1);
    ASSERT_EQ(m_transport.KyHub_OpenHidDeviceByDevInst(devInst), 0u);
    EXPECT_EQ(
        m_transport.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_ERASE_FLASH, 1, 2, nullptr, 0, 500),
        0u);
    EXPECT_EQ(m_node.Requests().back().setup.bRequest, REQ_ERASE_FLASH);
    EXPECT_EQ(m_transport.KyHub_CloseDevice(), 0u);
}
} // namespace
