#include <gmock/gmock.h>

#include <deque>

#include "cmd/CRequestCMD.h"
#include "sim/machine/CSimMachine.h"
#include "support/CBoundRequestObj.h"
#include "support/CFakeTransport.h"

using testing::ElementsAre;

namespace
{
constexpr DWORD kCmd = 0x66;
constexpr DWORD kData = 0x62;

/// Status bytes are played from a list (the last one stays); the data port answers 0x5C.
class EcConversation : public testing::Test
{
protected:
    EcConversation()
    {
        SetCurrentPlatform(&m_machine);
        m_machine.Polls().SetLimit(10'000);
        m_transport.readPort = [this](DWORD dwPort, BYTE& byValue) {
            if (dwPort == kData) {
                byValue = 0x5C;
            } else if (!m_status.empty()) {
                byValue = m_status.front();
                if (m_status.size() > 1)
                    m_status.pop_front();
            }
        };
        m_transport.calls.clear();
    }
    ~EcConversation() override { SetCurrentPlatform(nullptr); }

    void Write() { CRequestCMD::GetRequestObj()->WriteGeneralECReg(kCmd, kData, 0x10, 0x77); }
    BYTE Read()
    {
        BYTE byValue = 0xEE;
        CRequestCMD::GetRequestObj()->ReadGeneralECReg(kCmd, kData, 0x10, byValue);
        return byValue;
    }

    CSimMachine m_machine;
    CFakeTransport m_transport;
    CBoundRequestObj m_bound{m_transport};
    std::deque<BYTE> m_status;
};

TEST_F(EcConversation, AWriteIsCommandRegisterAndValueWithAWaitAroundEach)
{
    for (const BYTE byStatus : {BYTE{0x00}, BYTE{0x12}}) { // burst mode ends each wait at once
        m_status = {byStatus};
        m_transport.calls.clear();
        Write();
        EXPECT_THAT(m_transport.calls, ElementsAre("in 66", "out 66=81", "in 66", "out 62=10",
                                                   "in 66", "out 62=77", "in 66"));
    }
}

TEST_F(EcConversation, AReadIsCommandAndRegisterThenTheAnswer)
{
    m_status = {0x01, 0x01, 0x01, 0x10, 0x11}; // the answer's wait takes no notice of burst mode
    EXPECT_EQ(Read(), 0x5C);
    EXPECT_THAT(m_transport.calls, ElementsAre("in 66", "out 66=80", "in 66", "out 62=10", "in 66",
                                               "in 66", "in 66", "in 62"));
}

TEST_F(EcConversation, AFullInputBufferIsPolledAMicrosecondApart)
{
    m_status = {0x02, 0x02, 0x00};
    const auto start = m_machine.Time().Now();
    Write();
    EXPECT_THAT(m_transport.calls, ElementsAre("in 66", "in 66", "in 66", "out 66=81", "in 66",
                                               "out 62=10", "in 66", "out 62=77", "in 66"));
    EXPECT_GE(m_machine.Time().Now() - start, 2u);
}

TEST_F(EcConversation, ACounterBelowOneMegahertzGivesNoWait)
{
    m_machine.Clock().SetFrequency(999'999);
    m_machine.Faults().ResetCounts();
    m_status = {0x02, 0x02, 0x00};
    Write();
    EXPECT_EQ(m_machine.Faults().Calls("IClock::Counter"), 0u);
}

TEST_F(EcConversation, AMissingControllerHoldsTheCallerForEver)
{
    m_status = {0x02};
    EXPECT_THROW(Write(), CWouldBlockForever);
    m_status = {0x00};
    EXPECT_THROW(Read(), CWouldBlockForever);
}

TEST_F(EcConversation, AFailedStatusReadLeavesTheOneBefore)
{
    // The first reads fail (0 stays), one brings 0x01, and again they fail.
    m_transport.answer = [](const std::string&) { return 31u; };
    m_transport.readPort = [this](DWORD dwPort, BYTE& byValue) {
        if (dwPort == kCmd && m_transport.calls.size() == 5)
            byValue = 0x01;
    };
    EXPECT_EQ(Read(), 0xEE) << "the data port could not be read either";
    EXPECT_EQ(m_transport.calls.back(), "in 62");
}
} // namespace
