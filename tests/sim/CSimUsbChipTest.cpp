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
        fault.dwLateMs = dwCode;
        return fault;
    }
};

/// One fault at the second of three requests, and whether the request acted all the same.
struct FaultCase
{
    SimFaultKind eKind;
    DWORD dwCode;
    bool bActs;
    DWORD dwError;
    DWORD dwUsbdStatus;
};

const FaultCase kFaultCases[] = {
    {SimFaultKind::Fail, kErrBusy, false, kErrBusy, 0},
    {SimFaultKind::TimeOut, 0, false, kErrSemTimeout, 0},
    {SimFaultKind::TimeOut, 0, true, kErrSemTimeout, 0},
    {SimFaultKind::UrbStatus, 0xC0000011, false, 0, 0xC0000011},
    {SimFaultKind::Lie, 0, false, 0, 0},
    {SimFaultKind::Slow, 5001, false, kErrSemTimeout, 0},
    {SimFaultKind::Slow, 4000, true, 0, 0},
};

TEST_F(Faults, HitTheCountedTransferAlone)
{
    for (const FaultCase& given : kFaultCases) {
        Build();
        SimFault fault = Of(given.eKind, given.dwCode);
        fault.bActs = given.bActs;
        Hub().Faults().At(1, fault);
        EXPECT_EQ(Enable(1), 0u);
        const auto usBefore = m_clock.Now();
        const auto res = Send(0x40, REQ_VDCMD_ENABLE, 3, VDCMD_ENABLE_KEY, nullptr, 0);
        EXPECT_EQ(res.dwError, given.dwError);
        EXPECT_EQ(res.dwUsbdStatus, given.dwUsbdStatus);
        EXPECT_EQ(m_clock.Now() - usBefore >= 5'000'000, res.dwError == kErrSemTimeout);
        EXPECT_EQ(Hub().Enable(), given.bActs ? 3 : 1);
        EXPECT_EQ(Enable(3), 0u);
        EXPECT_EQ(Hub().Transfers(), 3u);
    }
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
