#include "sim/models/CSimEc.h"

#include <gtest/gtest.h>

namespace
{

constexpr ULONGLONG kCommand = 0x66;
constexpr ULONGLONG kData = 0x62;

/// An embedded controller, driven byte by byte.
class Ec : public testing::Test
{
protected:
    BYTE Status() { return static_cast<BYTE>(m_ec.Read(kCommand, 1)); }
    BYTE Data() { return static_cast<BYTE>(m_ec.Read(kData, 1)); }
    void Put(ULONGLONG port, BYTE by, CSimClock::Micros usAfter = 1000)
    {
        m_ec.Write(port, by, 1);
        m_clock.Advance(usAfter);
    }
    std::string Misuse() { return m_ec.Misuse().Text(); }

    CSimClock m_clock;
    CSimEc m_ec{m_clock, kCommand, kData};
};

TEST_F(Ec, HurriedByteIsLost)
{
    Put(kCommand, 0x81, 0);
    Put(kData, 0x10, 1000);
    EXPECT_EQ(Misuse(), "byte 0x10 written while the input buffer was full\n");
    Put(kData, 0x11);
    Put(kData, 0x22);
    EXPECT_EQ(m_ec.Registers()[0x11], 0x22);
}

TEST_F(Ec, BurstModeServesAtOnce)
{
    Put(kCommand, 0x82);
    EXPECT_EQ(Data(), 0x90);
    Put(kCommand, 0x81, 0);
    EXPECT_EQ(Status(), CSimEc::kInputFull | CSimEc::kBurst);
    Put(kData, 0x10, 0);
    Put(kData, 0x33, 0);
    EXPECT_EQ(m_ec.Registers()[0x10], 0x33);
    m_clock.Advance(1000);
    Put(kCommand, 0x83);
    EXPECT_EQ(Status(), 0);
    EXPECT_EQ(Misuse(), "");
}

TEST_F(Ec, SwappedPortsAndStrayReadsAreNoticed)
{
    Put(kData, 0x80);
    Put(kCommand, 0x2A);
    (void)Data();
    EXPECT_EQ(Misuse(), "data byte 0x80 without a command\nunknown command 0x2A\n"
                        "data read without an answer\n");
}

TEST_F(Ec, UnfetchedAnswersAndBrokenCommandsAreNoticed)
{
    Put(kCommand, 0x80);
    Put(kData, 0x01);
    Put(kCommand, 0x81);
    Put(kCommand, 0x80);
    EXPECT_EQ(Misuse(), "command 0x81 before the answer was fetched\n"
                        "command 0x80 in the middle of another\n");
}

} // namespace
