#include "sim/usbip/CUsbipSession.h"

#include <gtest/gtest.h>

namespace
{

constexpr BYTE kVendorIn = 0xC0;
constexpr BYTE kVendorOut = 0x40;
constexpr BYTE kStatus = 0x09;
constexpr BYTE kWrite = 0xC8;

/// Answers 0xA0, 0xA1... and takes its time.
class CSlowDevice : public ISimUsbDevice
{
public:
    explicit CSlowDevice(CSimClock& clock) : m_clock(clock) {}

    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData,
                              DWORD /*dwTimeoutMs*/) override
    {
        ++nTransfers;
        m_clock.Advance(1000);
        if (error != 0)
            return {error, 0, 0};
        for (BYTE i = 0; i < setup.wLength; ++i) {
            if ((setup.bmRequestType & 0x80) != 0)
                pData[i] = static_cast<BYTE>(0xA0 + i);
            else
                written.push_back(pData[i]);
        }
        return {kErrNone, 0, cbShort != 0 ? cbShort : setup.wLength};
    }

    int nTransfers = 0;
    DWORD error = 0;
    DWORD cbShort = 0;
    std::vector<BYTE> written;

private:
    CSimClock& m_clock;
};

using Bytes = std::vector<BYTE>;

Bytes Joined(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes Numbers(std::initializer_list<std::uint32_t> numbers)
{
    Bytes bytes;
    for (const std::uint32_t n : numbers)
        for (int nShift = 24; nShift >= 0; nShift -= 8)
            bytes.push_back(static_cast<BYTE>(n >> nShift));
    return bytes;
}

Bytes Submit(std::uint32_t nSequence, BYTE byType, BYTE byRequest, const Bytes& data, BYTE cb,
             BYTE byEndpoint = 0)
{
    return Joined(Joined(Numbers({1, nSequence, 1, byType >= 0x80, byEndpoint, 0, cb, 0, 0, 0}),
                         {byType, byRequest, 0, 0, 0, 0, cb, 0}),
                  data);
}

Bytes Unlink(std::uint32_t nSequence, std::uint32_t nVictim)
{
    return Numbers({2, nSequence, 1, 0, 0, nVictim, 0, 0, 0, 0, 0, 0});
}

/// An answer: command, sequence number, status, length, the padding; then the data.
Bytes Answer(std::uint32_t nCommand, std::uint32_t nSequence, std::int32_t nStatus,
             std::uint32_t cb, const Bytes& data = {})
{
    return Joined(Numbers({nCommand, nSequence, 0, 0, 0, static_cast<std::uint32_t>(nStatus), cb, 0,
                           0, 0, 0, 0}),
                  data);
}

class UsbipSession : public testing::Test
{
protected:
    bool Receive(const Bytes& bytes) { return m_session.Receive(bytes.data(), bytes.size()); }
    Bytes OutputAt(CSimClock::Micros now)
    {
        m_session.Run(now);
        return m_session.TakeOutput();
    }

    CSimClock m_clock;
    CSlowDevice m_device{m_clock};
    int m_nSeen = 0;
    CUsbipSession m_session{m_device, m_clock,
                            [this](const SETUP_PACKET&, const SimTransferResult&) { ++m_nSeen; }};
};

TEST_F(UsbipSession, AnswersWhenTheTimeOfTheTransferHasPassed)
{
    ASSERT_TRUE(Receive(Submit(7, kVendorIn, kStatus, {}, 3)));
    EXPECT_EQ(OutputAt(0), Bytes{});
    EXPECT_EQ(m_session.NextDue(), 1000u);
    EXPECT_EQ(OutputAt(999), Bytes{});
    EXPECT_EQ(OutputAt(1000), Answer(3, 7, 0, 3, {0xA0, 0xA1, 0xA2}));
    EXPECT_EQ(m_session.NextDue(), std::nullopt);
    EXPECT_EQ(m_nSeen, 1);
}

TEST_F(UsbipSession, PutsPiecesTogether)
{
    for (const BYTE by :
         Joined(Submit(1, kVendorOut, kWrite, {5, 6}, 2), Submit(2, kVendorIn, kStatus, {}, 1)))
        ASSERT_TRUE(m_session.Receive(&by, 1));
    EXPECT_EQ(OutputAt(0), Bytes{});
    EXPECT_EQ(m_device.nTransfers, 1) << "the second waits until the first is answered";
    EXPECT_EQ(OutputAt(1000), Answer(3, 1, 0, 2));
    EXPECT_EQ(m_device.written, (Bytes{5, 6}));
    EXPECT_EQ(OutputAt(2000), Answer(3, 2, 0, 1, {0xA0}));
}

TEST_F(UsbipSession, SaysHowMuchOfAShortTransferCame)
{
    m_device.cbShort = 1;
    ASSERT_TRUE(Receive(Submit(1, kVendorIn, kStatus, {}, 3)));
    m_session.Run(0);
    EXPECT_EQ(OutputAt(1000), Answer(3, 1, 0, 1, {0xA0}));
}

TEST_F(UsbipSession, TellsFailuresApart)
{
    const std::pair<DWORD, std::int32_t> failures[] = {{kErrGenFailure, -32}, {5, -71}};
    std::uint32_t nSequence = 0;
    for (const auto& [error, nStatus] : failures) {
        m_device.error = error;
        ASSERT_TRUE(Receive(Submit(++nSequence, kVendorIn, kStatus, {}, 3)));
        m_session.Run(0);
        EXPECT_EQ(OutputAt(m_clock.Now()), Answer(3, nSequence, nStatus, 0)) << error;
    }
}

TEST_F(UsbipSession, LeavesATimedOutTransferToTheKernel)
{
    m_device.error = kErrSemTimeout;
    ASSERT_TRUE(Receive(Submit(1, kVendorIn, kStatus, {}, 3)));
    ASSERT_TRUE(Receive(Submit(2, kVendorIn, kStatus, {}, 1)));
    EXPECT_EQ(OutputAt(9'000'000), Bytes{});
    m_device.error = 0;
    ASSERT_TRUE(Receive(Unlink(3, 1)));
    EXPECT_EQ(OutputAt(9'000'000), Joined(Answer(4, 3, -104, 0), Answer(3, 2, 0, 1, {0xA0})));
}

TEST_F(UsbipSession, ForgetsWhatWaitsAndKnowsWhatWasAnswered)
{
    constexpr BYTE kInterrupt = 1;
    ASSERT_TRUE(Receive(Submit(1, kVendorIn, 0, {}, 1, kInterrupt)));
    ASSERT_TRUE(Receive(Submit(2, kVendorIn, kStatus, {}, 1)));
    m_session.Run(0);
    EXPECT_EQ(OutputAt(1000), Answer(3, 2, 0, 1, {0xA0})) << "ports never change: 1 stays";
    ASSERT_TRUE(Receive(Unlink(3, 1)));
    EXPECT_EQ(OutputAt(1000), Answer(4, 3, -104, 0));
    ASSERT_TRUE(Receive(Unlink(4, 2)));
    EXPECT_EQ(OutputAt(1000), Answer(4, 4, 0, 0));
}

TEST_F(UsbipSession, RefusesWhatIsNoRequest)
{
    EXPECT_FALSE(Receive(Bytes(48, 0xFF)));
    Bytes huge = Submit(1, kVendorOut, kWrite, {}, 0);
    huge[24] = 0x7F; // the length
    EXPECT_FALSE(Receive(huge));
}

} // namespace
