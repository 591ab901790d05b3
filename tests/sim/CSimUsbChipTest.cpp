#include "SimHubFixture.h"

namespace
{

class Faults : public SimHubTest
{
protected:
    void SetUp() override { Build(); }

    static SimFault Of(SimFaultKind eKind, DWORD dwCode = 0)
    {
        SimFault fault;
        fault.eKind = eKind;
        fault.dwCode = dwCode;
        return fault;
    }
};

TEST_F(Faults, HitTheCountedTransferAlone)
{
    Hub().Faults().At(1, Of(SimFaultKind::Fail, kErrBusy));
    EXPECT_EQ(Enable(1), 0u);
    EXPECT_EQ(Enable(3), kErrBusy);
    EXPECT_EQ(Hub().Enable(), 1);
    EXPECT_EQ(Enable(3), 0u);
    EXPECT_EQ(Hub().Transfers(), 3u);
}

TEST_F(Faults, CanBeTiedToARequestAndRepeat)
{
    SimFault fault = Of(SimFaultKind::Stall);
    fault.nTimes = 2;
    Hub().Faults().OnRequest(REQ_VDCMD_ENABLE, 1, fault);
    (void)Status();
    EXPECT_EQ(Enable(1), 0u);
    EXPECT_EQ(Enable(1), kErrGenFailure);
    EXPECT_EQ(Status().size(), 20u);
    EXPECT_EQ(Enable(1), kErrGenFailure);
    EXPECT_EQ(Enable(1), 0u);
}

TEST_F(Faults, TimeOutLetsItsWholeTimePass)
{
    Hub().Faults().At(0, Of(SimFaultKind::TimeOut));
    const auto usBefore = m_clock.Now();
    EXPECT_EQ(Enable(1), kErrSemTimeout);
    EXPECT_GE(m_clock.Now() - usBefore, 5'000'000u);
    EXPECT_EQ(Hub().Enable(), 0);
}

TEST_F(Faults, AnswerMayBeLostAfterTheDeed)
{
    SimFault fault = Of(SimFaultKind::TimeOut);
    fault.bActs = true;
    Hub().Faults().At(0, fault);
    EXPECT_EQ(Enable(1), kErrSemTimeout);
    EXPECT_EQ(Hub().Enable(), 1);
}

TEST_F(Faults, UrbStatusIsCarriedWithoutAnError)
{
    Hub().Faults().At(0, Of(SimFaultKind::UrbStatus, 0xC0000011));
    const auto res = Send(0x40, REQ_VDCMD_ENABLE, 1, VDCMD_ENABLE_KEY, nullptr, 0);
    EXPECT_EQ(res.dwError, 0u);
    EXPECT_EQ(res.dwUsbdStatus, 0xC0000011u);
    EXPECT_EQ(Hub().Enable(), 0);
}

TEST_F(Faults, LieReportsAllBytesAndTouchesNothing)
{
    Hub().Faults().At(0, Of(SimFaultKind::Lie));
    EXPECT_EQ(Status(), Bytes(20, 0xCC));
}

TEST_F(Faults, CorruptChangesOneByteEitherWay)
{
    const Bytes good = Read(0, 64);
    SimFault fault = Of(SimFaultKind::Corrupt);
    fault.dwOffset = 5;
    fault.byMask = 0x80;
    Hub().Faults().OnRequest(REQ_READ_FLASH, 1, fault);
    Bytes bad = good;
    bad[5] ^= 0x80;
    EXPECT_EQ(Read(0, 64), bad);

    ToRom();
    PrepareErase();
    ASSERT_EQ(Erase(), 0u);
    ASSERT_EQ(Enable(3), 0u);
    fault.dwOffset = 1;
    Hub().Faults().OnRequest(REQ_WRITE_FLASH, 0, fault);
    Bytes sent = {1, 2, 3};
    EXPECT_EQ(Write(0, sent), 0u);
    EXPECT_EQ(Read(0, 3), (Bytes{1, 0x82, 3}));
}

TEST_F(Faults, VanishedHubComesBackWhenSetOrByHand)
{
    SimFault fault = Of(SimFaultKind::Vanish);
    fault.dwBackMs = 300;
    Hub().Faults().At(0, fault);
    EXPECT_EQ(Enable(1), kErrDeviceGone);
    EXPECT_FALSE(Hub().IsOnBus());
    m_clock.Advance(300'000);
    EXPECT_TRUE(Hub().IsOnBus());

    fault.dwBackMs = 0;
    Hub().Faults().At(1, fault);
    EXPECT_EQ(Enable(1), kErrDeviceGone);
    m_clock.Advance(100'000'000);
    EXPECT_FALSE(Hub().IsOnBus());
    Hub().PowerUp(true);
    EXPECT_TRUE(m_port.bNew);
    EXPECT_EQ(Enable(1), 0u);
}

TEST_F(Faults, HubThatDiesLeavesNoEventBehind)
{
    ASSERT_EQ(Out(REQ_FW_RESET, 0), 0u);
    m_pHub.reset();
    m_clock.Advance(10'000'000);
    EXPECT_EQ(m_port.nLeft, 0);
}

} // namespace
