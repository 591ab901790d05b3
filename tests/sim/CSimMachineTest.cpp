#include "sim/CSimMachine.h"

#include "transport/CPropertyEx.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
/// Answers every request; keeps what was sent.
class CEchoDevice : public ISimUsbDevice
{
public:
    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData,
                              DWORD /*dwTimeoutMs*/) override
    {
        last = setup;
        if (pData != nullptr && (setup.bmRequestType & 0x80) != 0)
            for (unsigned i = 0; i < setup.wLength; ++i)
                pData[i] = static_cast<BYTE>(i + 1);
        return {kErrNone, 0, setup.wLength};
    }
    SETUP_PACKET last = {};
};

/// The library's own transport on a machine with one hub.
class MachineUnderTheTransport : public testing::Test
{
protected:
    void SetUp() override { SetCurrentPlatform(&m_machine); }

    CSimMachine m_machine;
    CEchoDevice m_device;
    CSimNode& m_hub = m_machine.Tree().AddHub(m_machine.RootHub(), 3, {}, &m_device);
    CPropertyEx m_transport;
};

TEST_F(MachineUnderTheTransport, InstallsOpensAndCarriesARequest)
{
    ASSERT_NE(m_transport.InitProxyDriver(), 0);
    ASSERT_EQ(m_transport.KyHub_OpenDeviceByDevInst(m_hub.DevInst()), 0u);

    BYTE data[4] = {};
    EXPECT_EQ(m_transport.KyHub_SendVDCmd(0xC0, 0x09, 0x1122, 0x3344, data, 4, 5000), 0u);

    EXPECT_THAT(data, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(m_device.last.bRequest, 0x09);
    EXPECT_EQ(m_device.last.wValue, 0x1122);
    EXPECT_EQ(m_device.last.wIndex, 0x3344);
    EXPECT_EQ(m_machine.Driver().Lines().back(), "urb C0/09 v=1122 i=3344 len=4 t=5000 -> ok");
    EXPECT_THAT(m_machine.Driver().Rejections(), IsEmpty());
    EXPECT_FALSE(m_hub.PowerSaving());
}

TEST_F(MachineUnderTheTransport, LeavesNothingOpenBehind)
{
    ASSERT_NE(m_transport.InitProxyDriver(), 0);
    ASSERT_EQ(m_transport.KyHub_OpenDeviceByDevInst(m_hub.DevInst()), 0u);
    m_transport.KyHub_CloseDevice();
    m_transport.XH_UnInitProxyDriver();

    EXPECT_EQ(m_machine.Handles().Describe(), "");
    EXPECT_THAT(m_machine.Handles().Misuses(), IsEmpty());
    EXPECT_EQ(m_machine.Driver().OpenDevices(), 0u);
    EXPECT_EQ(m_machine.Services().Find(WTEXT("ZelUpx")), nullptr);
    EXPECT_FALSE(m_machine.Volume().Exists(WTEXT("C:\\Temp\\ZelUpx.flag")));
    EXPECT_EQ(m_machine.PowerSwitch().ComDepth(), 0);
}

TEST_F(MachineUnderTheTransport, SharesTheDriverBetweenTwoProcesses)
{
    ASSERT_NE(m_transport.InitProxyDriver(), 0);
    CSimMachine other(m_machine.System());
    SetCurrentPlatform(&other);
    CPropertyEx otherTransport;
    ASSERT_NE(otherTransport.InitProxyDriver(), 0);
    otherTransport.XH_UnInitProxyDriver();
    EXPECT_TRUE(other.Services().IsRunning(WTEXT("ZelUpx")));

    SetCurrentPlatform(&m_machine);
    m_transport.XH_UnInitProxyDriver();
    EXPECT_EQ(m_machine.Services().Find(WTEXT("ZelUpx")), nullptr);
}
} // namespace
