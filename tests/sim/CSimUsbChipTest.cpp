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

/// One fault at the second of three requests, and whether the request acted all the same.
struct FaultCase
{
    const char* pszCase;
    SimFaultKind eKind;
    DWORD dwCode;
    bool bActs;
    DWORD dwError;
    DWORD dwUsbdStatus;
};

class FaultOfARequest : public Faults, public testing::WithParamInterface<FaultCase>
{};

TEST_P(FaultOfARequest, HitsTheCountedTransferAlone)
{
    SimFault fault = Of(GetParam().eKind, GetParam().dwCode);
    fault.bActs = GetParam().bActs;
    Hub().Faults().At(1, fault);
    EXPECT_EQ(Enable(1), 0u);
    const auto usBefore = m_clock.Now();
    const auto res = Send(0x40, REQ_VDCMD_ENABLE, 3, VDCMD_ENABLE_KEY, nullptr, 0);
    EXPECT_EQ(res.dwError, GetParam().dwError);
    EXPECT_EQ(res.dwUsbdStatus, GetParam().dwUsbdStatus);
    EXPECT_EQ(m_clock.Now() - usBefore >= 5'000'000, res.dwError == kErrSemTimeout);
    EXPECT_EQ(Hub().Enable(), GetParam().bActs ? 3 : 1);
    EXPECT_EQ(Enable(3), 0u);
    EXPECT_EQ(Hub().Transfers(), 3u);
}

const FaultCase kFaultCases[] = {
    {"Fail", SimFaultKind::Fail, kErrBusy, false, kErrBusy, 0},
    {"TimeOut", SimFaultKind::TimeOut, 0, false, kErrSemTimeout, 0},
    {"AnswerLostAfterTheDeed", SimFaultKind::TimeOut, 0, true, kErrSemTimeout, 0},
    {"UrbStatus", SimFaultKind::UrbStatus, 0xC0000011, false, 0, 0xC0000011},
    {"Lie", SimFaultKind::Lie, 0, false, 0, 0},
    {"SlowerThanTheTimeOut", SimFaultKind::Slow, 5001, false, kErrSemTimeout, 0},
    {"SlowWithinTheTimeOut", SimFaultKind::Slow, 4000, true, 0, 0},
};

INSTANTIATE_TEST_SUITE_P(Kinds, FaultOfARequest, testing::ValuesIn(kFaultCases),
                         [](const auto& fault) { return std::string(fault.param.pszCase); });

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
