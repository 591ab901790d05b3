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

void PutNumber(std::vector<BYTE>& bytes, std::uint32_t n)
{
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        bytes.push_back(static_cast<BYTE>(n >> nShift));
}

std::vector<BYTE> Header(std::uint32_t nCommand, std::uint32_t nSequence, bool bIn, BYTE byEndpoint)
{
    std::vector<BYTE> bytes;
    for (const std::uint32_t n :
         {nCommand, nSequence, 1U, bIn ? 1U : 0U, std::uint32_t{byEndpoint}})
        PutNumber(bytes, n);
    return bytes;
}

std::vector<BYTE> Submit(std::uint32_t nSequence, BYTE byType, BYTE byRequest,
                         const std::vector<BYTE>& data, BYTE cb, BYTE byEndpoint = 0)
{
    const bool bIn = (byType & 0x80) != 0;
    std::vector<BYTE> bytes = Header(1, nSequence, bIn, byEndpoint);
    for (const std::uint32_t n : {0U, std::uint32_t{cb}, 0U, 0U, 0U})
        PutNumber(bytes, n);
    const BYTE setup[] = {byType, byRequest, 0, 0, 0, 0, cb, 0};
    bytes.insert(bytes.end(), std::begin(setup), std::end(setup));
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

std::vector<BYTE> Unlink(std::uint32_t nSequence, std::uint32_t nVictim)
{
    std::vector<BYTE> bytes = Header(2, nSequence, false, 0);
    PutNumber(bytes, nVictim);
    bytes.resize(48);
    return bytes;
}

/// An answer without its padding: command, sequence number, status, length; then the data.
std::vector<BYTE> Answer(std::uint32_t nCommand, std::uint32_t nSequence, std::int32_t nStatus,
                         std::uint32_t cb, const std::vector<BYTE>& data = {})
{
    std::vector<BYTE> bytes;
    for (const std::uint32_t n :
         {nCommand, nSequence, 0U, 0U, 0U, static_cast<std::uint32_t>(nStatus), cb})
        PutNumber(bytes, n);
    bytes.resize(48);
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

class UsbipSession : public testing::Test
{
protected:
    bool Receive(const std::vector<BYTE>& bytes)
    {
        return m_session.Receive(bytes.data(), bytes.size());
    }
    std::vector<BYTE> OutputAt(CSimClock::Micros now)
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
    EXPECT_EQ(OutputAt(0), std::vector<BYTE>{});
    EXPECT_EQ(m_session.NextDue(), 1000u);
    EXPECT_EQ(OutputAt(999), std::vector<BYTE>{});
    EXPECT_EQ(OutputAt(1000), Answer(3, 7, 0, 3, {0xA0, 0xA1, 0xA2}));
    EXPECT_EQ(m_session.NextDue(), std::nullopt);
    EXPECT_EQ(m_nSeen, 1);
}

TEST_F(UsbipSession, PutsPiecesTogether)
{
    std::vector<BYTE> bytes = Submit(1, kVendorOut, kWrite, {5, 6}, 2);
    const std::vector<BYTE> second = Submit(2, kVendorIn, kStatus, {}, 1);
    bytes.insert(bytes.end(), second.begin(), second.end());
    for (const BYTE by : bytes)
        ASSERT_TRUE(m_session.Receive(&by, 1));
    EXPECT_EQ(OutputAt(0), std::vector<BYTE>{});
    EXPECT_EQ(m_device.nTransfers, 1) << "the second waits until the first is answered";
    EXPECT_EQ(OutputAt(1000), Answer(3, 1, 0, 2));
    EXPECT_EQ(m_device.written, (std::vector<BYTE>{5, 6}));
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
    EXPECT_EQ(OutputAt(9'000'000), std::vector<BYTE>{});
    m_device.error = 0;
    ASSERT_TRUE(Receive(Unlink(3, 1)));
    EXPECT_EQ(OutputAt(9'000'000), [] {
        std::vector<BYTE> both = Answer(4, 3, -104, 0);
        const std::vector<BYTE> next = Answer(3, 2, 0, 1, {0xA0});
        both.insert(both.end(), next.begin(), next.end());
        return both;
    }());
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
    EXPECT_FALSE(Receive(std::vector<BYTE>(48, 0xFF)));
    std::vector<BYTE> huge = Submit(1, kVendorOut, kWrite, {}, 0);
    huge[24] = 0x7F; // the length
    EXPECT_FALSE(Receive(huge));
}

} // namespace
