#include <numeric>

#include "cmd/PortDriverFixture.h"
#include "sim/models/CSimSmbusController.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
constexpr DWORD kBase = 0xEFA0;
constexpr BYTE kDevice = 0x58;
constexpr BYTE kCommand = 0x09;
constexpr int kRead = 0;
constexpr int kWrite = 1;

/// The port driver runs, and an SMBus controller with one device stands at its base.
class Smbus : public PortDriverTest
{
protected:
    Smbus()
    {
        m_machine.Ports().Claim(kBase, CSimSmbusController::kRegisters, &m_controller);
        m_machine.Ports().Claim(CSimSmbusController::kPciAddressPort,
                                CSimSmbusController::kPciPorts, &m_controller);
        m_controller.Attach(kDevice, &m_device);
        AllowTime();
        Start();
        m_log.Clear();
        m_machine.PortDriver().ClearLog();
    }
    ~Smbus() override { m_cmd.XH_UnInitVoPortDriver(); }

    /// What waits longer than a fifth of a second waits for ever.
    void AllowTime() { m_machine.Polls().SetDeadline(m_machine.Time().Now() + 200'000); }

    short Blk(int nMode)
    {
        m_log.Clear();
        return m_cmd.IntelBlockTransByBlk(kBase, kDevice, kCommand, m_buf, nMode);
    }
    short Byte(int nMode)
    {
        m_log.Clear();
        return m_cmd.IntelBlockTransByByte(kBase, kDevice, kCommand, m_buf, nMode);
    }

    /// A block of n bytes in the buffer.
    std::vector<BYTE> Fill(BYTE byCount)
    {
        m_buf[0] = byCount;
        std::iota(m_buf + 1, m_buf + 1 + byCount, BYTE{0x30});
        return {m_buf + 1, m_buf + 1 + byCount};
    }

    std::vector<BYTE> Got() const { return {m_buf + 1, m_buf + 1 + m_buf[0]}; }

    /// The last line, without level and function.
    std::string LastText() const
    {
        const std::string& strLine = m_log.Lines().back();
        return strLine.substr(strLine.rfind('|') + 1);
    }

    /// Writes of one port, as the driver saw them.
    std::vector<std::string> WritesTo(const std::string& strPort)
    {
        std::vector<std::string> vWrites;
        const std::string strHead = "write port " + strPort + " ";
        for (const std::string& strLine : m_machine.PortDriver().Log()) {
            if (strLine.rfind(strHead, 0) == 0)
                vWrites.push_back(strLine.substr(strHead.size()));
        }
        return vWrites;
    }

    CSimSmbusController m_controller{m_machine.Time(), kBase};
    CSimSmbusMemory m_device;
    BYTE m_buf[256] = {};
};

TEST_F(Smbus, ABlockIsWrittenFromTheVerifiedBuffer)
{
    const std::vector<BYTE> vData = Fill(5);
    EXPECT_EQ(Blk(kWrite), 1);
    EXPECT_EQ(m_device.Blocks()[kCommand], vData);
    EXPECT_EQ(m_controller.Misuse().Text(), "");
    EXPECT_THAT(m_log.Lines(),
                Contains("0|CRequestCMD::IntelBlockTransByBlk|[Block Write]The value of data buf "
                         "is 0x00\n")
                    .Times(32));
    EXPECT_THAT(WritesTo("0xEFA0"), ElementsAre("1 = 0xFF", "1 = 0x40", "1 = 0xFE"));
    EXPECT_THAT(WritesTo("0xEFA4"), ElementsAre("1 = 0x58"));
    EXPECT_THAT(WritesTo("0xEFAD"), ElementsAre("1 = 0x0", "1 = 0x2", "1 = 0x0"));
}

TEST_F(Smbus, TheControllerIsEnabledThroughItsConfiguration)
{
    /// The controller's configuration, with something in the register's upper bits.
    class CWideRegister : public ISimPortSpace
    {
    public:
        explicit CWideRegister(CSimSmbusController& controller) : m_controller(controller) {}
        DWORD Read(ULONGLONG address, unsigned cb) override
        {
            return m_controller.Read(address, cb) | 0xABCD0000;
        }
        void Write(ULONGLONG address, DWORD dwValue, unsigned cb) override
        {
            m_controller.Write(address, dwValue, cb);
        }

    private:
        CSimSmbusController& m_controller;
    } wide(m_controller);
    m_machine.Ports().Claim(CSimSmbusController::kPciAddressPort, CSimSmbusController::kPciPorts,
                            &wide);
    m_controller.SetHostc(0x14);
    Fill(1);
    EXPECT_EQ(Blk(kWrite), 1);
    EXPECT_EQ(m_controller.Hostc(), 0x11) << "I2C mode off, host on";
    EXPECT_THAT(WritesTo("0xCF8"), ElementsAre("4 = 0x80018940", "4 = 0x80018940"));
    EXPECT_THAT(WritesTo("0xCFC"), ElementsAre("4 = 0x11")) << "the upper bits go out as zeros";
}

TEST_F(Smbus, ABlockIsReadByItsOwnCount)
{
    m_device.Blocks()[kCommand] = {9, 8, 7};
    EXPECT_EQ(Blk(kRead), 1);
    EXPECT_THAT(Got(), ElementsAre(9, 8, 7));
    EXPECT_EQ(m_controller.Misuse().Text(), "");
    EXPECT_THAT(WritesTo("0xEFA4"), ElementsAre("1 = 0x59"));

    m_device.Blocks()[kCommand] = {}; // an empty block compares as well
    m_buf[1] = 0x77;
    EXPECT_EQ(Blk(kRead), 1);
    EXPECT_EQ(m_buf[0], 0);
    EXPECT_EQ(m_buf[1], 0x77);
}

TEST_F(Smbus, AnyOtherModeTransfersWithoutReadingAnything)
{
    m_device.Blocks()[kCommand] = {9, 8, 7};
    EXPECT_EQ(Blk(2), 1);
    EXPECT_EQ(m_buf[0], 32) << "the count that a read asks for";
    EXPECT_EQ(m_buf[1], 0);
    EXPECT_EQ(m_controller.Transactions(), 1u);
}

TEST_F(Smbus, AWriteOfNothingWritesOneByte)
{
    m_buf[1] = 0x42;
    EXPECT_EQ(Blk(kWrite), 1);
    EXPECT_THAT(m_device.Blocks()[kCommand], ElementsAre(0x42));
}

TEST_F(Smbus, AWriteGivesUpAfterAHundredTries)
{
    Fill(4);
    m_controller.CorruptBufferReads(1'000'000);
    EXPECT_EQ(Blk(kWrite), 0);
    EXPECT_EQ(m_controller.Transactions(), 0u);
    EXPECT_THAT(
        m_log.Lines(),
        Contains("0|CRequestCMD::IntelBlockTransByBlk|[Block Write]Compare fail\n").Times(100));
}

TEST_F(Smbus, ABlockGoesByteByByte)
{
    const std::vector<BYTE> vData = Fill(3);
    EXPECT_EQ(Byte(kWrite), 1);
    EXPECT_EQ(m_device.Blocks()[kCommand], vData);
    EXPECT_EQ(m_controller.Misuse().Text(), "");
    EXPECT_THAT(WritesTo("0xEFA2"), ElementsAre("1 = 0x14", "1 = 0x54", "1 = 0x14", "1 = 0x14"));
    EXPECT_THAT(WritesTo("0xEFA0"),
                ElementsAre("1 = 0xFF", "1 = 0x80", "1 = 0x80", "1 = 0x80", "1 = 0xFE"));
}

TEST_F(Smbus, AReadOfOneByteAnnouncesItAtOnce)
{
    m_device.Blocks()[kCommand] = {5};
    m_controller.SetHostc(1);
    m_controller.Write(kBase + 5, 1, 1);
    EXPECT_EQ(Byte(kRead), 1);
    EXPECT_THAT(Got(), ElementsAre(5));
    EXPECT_THAT(WritesTo("0xEFA2"), ElementsAre("1 = 0x34", "1 = 0x74"));
}

TEST_F(Smbus, AReadByBytesBehindACountOfZeroWaitsForEver)
{
    // Deliberate: nothing is started then, and nothing bounds the wait.
    m_device.Blocks()[kCommand] = {5};
    EXPECT_THROW(Byte(kRead), CWouldBlockForever);
    EXPECT_EQ(m_controller.Transactions(), 0u);
}

TEST_F(Smbus, ABusyControllerHoldsTheCallerForEver)
{
    m_controller.FailTransaction(0, SimSmbusFault::Hang);
    Fill(2);
    EXPECT_THROW(Blk(kWrite), CWouldBlockForever);
    EXPECT_EQ(LastText(), "IntelBlockwrite(): INTEL_SMBUS_HOST_STS_REG busy  = 0x41\n");
    AllowTime();
    EXPECT_THROW(Blk(kWrite), CWouldBlockForever);
    EXPECT_EQ(LastText(), "Step2\xA3\xBA\tcheck smbus busy\n");
}

TEST_F(Smbus, WithoutTheDriverEveryRegisterReadsZero)
{
    CRequestCMDTestAccess::SetWinNT(0);
    Fill(3);
    EXPECT_EQ(Blk(kWrite), 0);

    std::fill(m_buf + 1, m_buf + 4, BYTE{0}); // all zero passes the compare, then waits
    EXPECT_THROW(Blk(kWrite), CWouldBlockForever);
    EXPECT_THAT(m_machine.PortDriver().Log(), IsEmpty());
    CRequestCMDTestAccess::SetWinNT(1);
}

TEST_F(Smbus, OfTheMaximumLengthStaysInItsBuffer)
{
    // A count beyond the controller's 32 bytes is the caller's; the buffer's 256 hold any.
    Fill(255);
    EXPECT_EQ(Blk(kWrite), 0);
    EXPECT_EQ(m_controller.Transactions(), 0u) << "no read-back of 255 bytes agrees";
}
} // namespace
