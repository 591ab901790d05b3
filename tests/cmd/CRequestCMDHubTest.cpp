#include <gmock/gmock.h>

#include "cmd/CRequestCMD.h"
#include "support/CFakeTransport.h"

using testing::ElementsAre;

namespace
{
class HubCommands : public testing::Test
{
protected:
    HubCommands()
    {
        m_pCmd->XH_InitProxyDriver(&m_transport);
        m_transport.calls.clear();
    }
    ~HubCommands() override
    {
        m_transport.answer = nullptr;
        m_pCmd->XH_UnInitProxyDriver();
    }

    CFakeTransport m_transport;
    CRequestCMD* m_pCmd = CRequestCMD::GetRequestObj();
};

BYTE g_buffer[20000];
BYTE g_setup[8] = {0x40, 0xF6};
_myUSB_DEVICE_SPEED g_eSpeed;
HANDLE g_hInterface;
const GUID g_guid = {0xABCD, 0, 0, {}};

DWORD Bits(int n)
{
    return static_cast<DWORD>(n);
}

const std::pair<DWORD (*)(CRequestCMD& cmd), const char*> kCommands[] = {
    {[](CRequestCMD& c) { return c.KyHub_FWReset(0x0102); }, "vd 40/00 v=0102 i=0000 len=0 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_FWReset(1, 10); }, "vd 40/00 v=0001 i=000A len=0 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_VdCmdEnable(3); }, "vd 40/02 v=0003 i=0A7C len=0 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_Status(g_buffer, 20); },
     "vd C0/09 v=0000 i=0000 len=20 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_ReadFlash2(0x00027EF0, g_buffer, 4096); },
     "vd C0/D8 v=7EF0 i=0002 len=4096 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_EraseFlash2(0x00020000, 12000); },
     "vd 40/E8 v=0000 i=0002 len=0 t=12000"},
    {[](CRequestCMD& c) { return c.KyHub_ResetCode(0x12, 0x34); },
     "vd 40/E9 v=3412 i=0000 len=0 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_ReadMem(0x1F123, g_buffer, 2); },
     "vd C0/0D v=0000 i=F123 len=2 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_WriteMem(0x1F123, g_buffer, 3); },
     "vd 40/0E v=0000 i=F123 len=3 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_ISPValidation(0xAB); },
     "vd 40/D9 v=00AB i=0000 len=0 t=50000"},
    {[](CRequestCMD& c) { return c.KyHub_SetDLSlaveAddr(2, 0xCE); },
     "vd 40/08 v=CE02 i=0000 len=0 t=5000"},
    {[](CRequestCMD& c) { return c.KyHub_SetDLSlaveAddrSub(2, 0xCE); },
     "vd 40/0F v=CE02 i=0000 len=0 t=5000"},
    // What is only handed down:
    {[](CRequestCMD& c) { return Bits(c.XH_CloseDevice()); }, "close"},
    {[](CRequestCMD& c) { return c.KyHub_SendVDCmd(0xC0, 0xEC, 1, 2, g_buffer, 3, 4); },
     "vd C0/EC v=0001 i=0002 len=3 t=4"},
    {[](CRequestCMD& c) { return c.KyHub_CtlPipeNoDataOut(g_setup); }, "ctl F6"},
    {[](CRequestCMD& c) { return c.KyHub_CtlPipeOut(g_setup, g_buffer); }, "ctlout F6"},
    {[](CRequestCMD& c) { return c.KyHub_CtlPipeIn(g_setup, g_buffer); }, "ctlin F6"},
    {[](CRequestCMD& c) { return c.KyHub_Speed(g_eSpeed); }, "speed"},
    {[](CRequestCMD& c) { return c.KyHub_WritePortUCHAR(0x66, 0x81); }, "out 66=81"},
    {[](CRequestCMD& c) { return c.KyHub_ReadPortUCHAR(0x62, g_buffer[0]); }, "in 62"},
    {[](CRequestCMD& c) { return c.KyHub_WriteMemoryUCHAR(0x1000, g_buffer, 7); },
     "writemem 1000 len=7"},
    // One byte, at the sum:
    {[](CRequestCMD& c) { return c.KyHub_ReadMemoryUCHAR(0xFE000000, 0x123, g_buffer); },
     "readmem FE000123 len=1"},
    {[](CRequestCMD& c) { return Bits(c.KyHub_IsVoHub(5, 1)); }, "isvohub 5 1"},
    {[](CRequestCMD& c) { return Bits(c.KyHub_TurnOnHubSS(5)); }, "turnon 5"},
    {[](CRequestCMD& c) { return Bits(c.KyHid_IsITEHid(6)); }, "ishid 6"},
    {[](CRequestCMD& c) { return c.HidGetDevInstInterfaceHandle(7, &g_guid, &g_hInterface); },
     "hidhandle 7 ABCD"},
};

TEST_F(HubCommands, EveryCommandIsOneCallWhoseStatusComesBackUnchanged)
{
    m_transport.answer = [](const std::string&) { return 0x1234u; };
    for (const auto& [pfnSend, pszCall] : kCommands) {
        m_transport.calls.clear();
        EXPECT_EQ(pfnSend(*m_pCmd), 0x1234u) << pszCall;
        EXPECT_THAT(m_transport.calls, ElementsAre(pszCall));
    }
}

TEST_F(HubCommands, WritesGoOutInBlocksOf4096EachTwice)
{
    EXPECT_EQ(m_pCmd->KyHub_WriteFlash2(0x0001F000, g_buffer, 10000), 0u);
    EXPECT_THAT(m_transport.calls, ElementsAre("vd 40/C8 v=F000 i=0001 len=4096 t=5000",
                                               "vd 40/C8 v=F000 i=0001 len=4096 t=5000",
                                               "vd 40/C8 v=0000 i=0002 len=4096 t=5000",
                                               "vd 40/C8 v=0000 i=0002 len=4096 t=5000",
                                               "vd 40/C8 v=1000 i=0002 len=1808 t=5000",
                                               "vd 40/C8 v=1000 i=0002 len=1808 t=5000"));
    EXPECT_EQ(m_transport.lastBuffer, g_buffer + 8192);
}

TEST_F(HubCommands, OneByteMoreThanABlockIsASecondRequest)
{
    EXPECT_EQ(m_pCmd->KyHub_ReadFlash2(0, g_buffer, 4097), 0u);
    EXPECT_THAT(m_transport.calls, ElementsAre("vd C0/D8 v=0000 i=0000 len=4096 t=5000",
                                               "vd C0/D8 v=1000 i=0000 len=1 t=5000"));
}

TEST_F(HubCommands, OpensGiveOneForSuccessAndZeroForAnyFailure)
{
    DWORD dwOldSS = 0;
    m_transport.savedValue = [](DWORD& dwSaved) { dwSaved = 0xFFFFFFFF; };
    EXPECT_EQ(m_pCmd->XH_OpenDevice(9), 1);
    EXPECT_EQ(m_pCmd->XH_OpenDevice(9, dwOldSS), 1);
    EXPECT_EQ(dwOldSS, 0xFFFFFFFF);
    EXPECT_EQ(m_pCmd->XH_OpenHidDevice(9), 1);
    m_transport.answer = [](const std::string&) { return 3u; };
    EXPECT_EQ(m_pCmd->XH_OpenDevice(9), 0);
    EXPECT_EQ(m_pCmd->XH_OpenDevice(9, dwOldSS), 0);
    EXPECT_EQ(m_pCmd->XH_OpenHidDevice(9), 0);
    EXPECT_THAT(m_transport.calls, ElementsAre("open 9", "open2 9 ss=0", "openhid 9", "open 9",
                                               "open2 9 ss=ffffffff", "openhid 9"));
}

TEST_F(HubCommands, FreeReachesTheTransport)
{
    _KYHUB_INST* pInstance = reinterpret_cast<_KYHUB_INST*>(&m_transport);
    m_pCmd->KyHub_Free(&pInstance);
    EXPECT_EQ(pInstance, nullptr);
    EXPECT_THAT(m_transport.calls, ElementsAre("free"));
}

TEST(Binding, StartsTheDriverAndSucceedsWhateverCameOfIt)
{
    CFakeTransport transport; // its InitProxyDriver answers 0: no driver
    CRequestCMD* const pCmd = CRequestCMD::GetRequestObj();
    EXPECT_EQ(pCmd->XH_InitProxyDriver(&transport), 1);
    EXPECT_THAT(transport.calls, ElementsAre("init"));
    EXPECT_EQ(pCmd->GetProxy()->GetTransport(), &transport);

    CFakeTransport other;
    EXPECT_EQ(pCmd->XH_InitProxyDriver(&other), 1);
    EXPECT_EQ(pCmd->GetProxy()->GetTransport(), &other);
    EXPECT_THAT(transport.calls, ElementsAre("init"));

    other.answer = [](const std::string&) { return 7u; };
    EXPECT_EQ(pCmd->XH_UnInitProxyDriver(), 7);
    EXPECT_THAT(other.calls, ElementsAre("init", "uninit"));
    EXPECT_EQ(pCmd->GetProxy(), nullptr);
    EXPECT_EQ(pCmd->XH_UnInitProxyDriver(), 1) << "unbound";
    EXPECT_EQ(other.calls.size(), 2u);
}
} // namespace
