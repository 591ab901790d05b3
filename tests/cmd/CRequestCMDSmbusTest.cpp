#include <numeric>

#include "cmd/PortDriverFixture.h"
#include "sim/CSimSmbusController.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;

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
    short BlkEx(int nMode)
    {
        m_log.Clear();
        return m_cmd.IntelBlockTransByBlkEx(kBase, kDevice, kCommand, m_buf, nMode);
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

    /// The routine's lines, without level and function, and without those of its polls.
    std::vector<std::string> Says(const std::string& strRoutine) const
    {
        std::vector<std::string> vSays;
        const std::string strHead = "0|CRequestCMD::" + strRoutine + "|";
        for (const std::string& strLine : m_log.LinesOf("CRequestCMD::" + strRoutine)) {
            const std::string strText = strLine.substr(strHead.size());
            EXPECT_EQ(strLine.substr(0, strHead.size()), strHead);
            if (vSays.empty() || vSays.back() != strText)
                vSays.push_back(strText);
        }
        return vSays;
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

const std::vector<std::string> kStartLines = {"BlockWrite: data read from CTL is 0x00",
                                              "SmBus Controller: dwData=0x1 \n",
                                              "[PDO]start block Transfer\n",
                                              "Step1:\tclear status\n",
                                              "Step2\xA3\xBA\tcheck smbus busy\n",
                                              "Step3: \tset addr\n",
                                              "Step4: \tset cmd\n",
                                              "Step5: \tdisable/enable PEC\n"};

std::vector<std::string> AfterStart(std::vector<std::string> vMore)
{
    std::vector<std::string> vAll = kStartLines;
    vAll.insert(vAll.end(), vMore.begin(), vMore.end());
    return vAll;
}

const std::string kBusy = "IntelBlockwrite(): INTEL_SMBUS_HOST_STS_REG busy  = 0x";
const std::string kSuccess = "[Block Write]Compare success\n";
const std::string kFail = "[Block Write]Compare fail\n";

TEST_F(Smbus, ABlockIsWrittenFromTheVerifiedBuffer)
{
    const std::vector<BYTE> vData = Fill(5);
    EXPECT_EQ(Blk(kWrite), 1);
    EXPECT_EQ(m_device.Blocks()[kCommand], vData);
    EXPECT_EQ(m_controller.Misuse().Text(), "");
    EXPECT_EQ(Says("IntelBlockTransByBlk"),
              AfterStart({"Step6: \tEnable E32B\n", "[Block Write]The value of data buf is 0x00\n",
                          "Step7:\treset Buf index to 0\n", "Step8:\tSet buf data\n", kSuccess,
                          "[Block Write]Retry Time is 100\n", "Step9:\tSet Ctl reg\n",
                          "Step9:\twait for interupt\n", kBusy + "01\n", kBusy + "42\n",
                          "Step10: check the post\n", "[Block Read]Retry time is 100\n",
                          "Step20: close E32B and PEC\n"}));
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
    m_controller.SetHostc(0x14);
    Fill(1);
    EXPECT_EQ(Blk(kWrite), 1);
    EXPECT_EQ(m_controller.Hostc(), 0x11) << "I2C mode off, host on";
    EXPECT_THAT(WritesTo("0xCF8"), ElementsAre("4 = 0x80018940", "4 = 0x80018940"));
    EXPECT_THAT(WritesTo("0xCFC"), ElementsAre("4 = 0x11")) << "the upper bits go out as zeros";
    EXPECT_EQ(Says("IntelBlockTransByBlk")[0], "BlockWrite: data read from CTL is 0x10");
}

TEST_F(Smbus, ABlockIsReadTwiceAndCompared)
{
    m_device.Blocks()[kCommand] = {9, 8, 7};
    EXPECT_EQ(Blk(kRead), 1);
    EXPECT_THAT(Got(), ElementsAre(9, 8, 7));
    EXPECT_EQ(m_controller.Misuse().Text(), "");
    const auto vSays = Says("IntelBlockTransByBlk");
    EXPECT_EQ(vSays,
              AfterStart({"Step6: \tEnable E32B\n", "Step7:\treset Buf index to 0\n",
                          "Step8:\tSet buf data\n", "[Block Write]Retry Time is 100\n",
                          "Step9:\tSet Ctl reg\n", "Step9:\twait for interupt\n", kBusy + "01\n",
                          kBusy + "41\n", kBusy + "42\n", "Step10: check the post\n",
                          "[Block Read]Compare success\n", "[Block Read]Retry time is 100\n",
                          "Step20: close E32B and PEC\n"}));
    EXPECT_THAT(WritesTo("0xEFA4"), ElementsAre("1 = 0x59"));
}

TEST_F(Smbus, AnEmptyBlockComparesAsWell)
{
    m_device.Blocks()[kCommand] = {};
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
    EXPECT_THAT(Says("IntelBlockTransByBlk"), IsSupersetOf({"[Block Write]Retry Time is 100\n",
                                                            "[Block Read]Retry time is 100\n"}));
}

TEST_F(Smbus, AWriteOfNothingWritesOneByte)
{
    m_buf[1] = 0x42;
    EXPECT_EQ(Blk(kWrite), 1);
    EXPECT_THAT(m_device.Blocks()[kCommand], ElementsAre(0x42));
}

TEST_F(Smbus, AWriteIsRetriedWhenTheBufferReadsBackDifferently)
{
    Fill(4);
    m_controller.CorruptBufferReads(33); // the first dump, and one byte of the first compare
    EXPECT_EQ(Blk(kWrite), 1);
    EXPECT_THAT(Says("IntelBlockTransByBlk"),
                IsSupersetOf({kFail, kSuccess, std::string("[Block Write]Retry Time is 99\n")}));
}

TEST_F(Smbus, AWriteGivesUpAfterAHundredTries)
{
    Fill(4);
    m_controller.CorruptBufferReads(1'000'000);
    EXPECT_EQ(Blk(kWrite), 0);
    EXPECT_EQ(m_controller.Transactions(), 0u);
    const auto vSays = Says("IntelBlockTransByBlk");
    EXPECT_THAT(vSays, Contains(kFail).Times(100));
    EXPECT_EQ(vSays[vSays.size() - 2], "[Block Write]Retry Time is 0\n");
    EXPECT_EQ(vSays.back(), "[Block Write]Finally comapre fail\n");
}

TEST_F(Smbus, AReadIsRetriedAndGivenUpLikewise)
{
    m_device.Blocks()[kCommand] = {9, 8, 7};
    m_controller.CorruptBufferReads(1); // once: the two readings differ
    EXPECT_EQ(Blk(kRead), 1);
    EXPECT_THAT(Says("IntelBlockTransByBlk"),
                IsSupersetOf({"[Block Read]Compare fail\n", "[Block Read]Compare success\n",
                              "[Block Read]Retry time is 99\n"}));
}

/// Counts on: no two readings of its buffer agree.
class CRestless : public ISimPortSpace
{
public:
    explicit CRestless(CSimSmbusController& controller) : m_controller(controller) {}
    DWORD Read(ULONGLONG address, unsigned cb) override
    {
        return address == kBase + 7 ? ++m_byNext : m_controller.Read(address, cb);
    }
    void Write(ULONGLONG address, DWORD dwValue, unsigned cb) override
    {
        m_controller.Write(address, dwValue, cb);
    }

private:
    CSimSmbusController& m_controller;
    BYTE m_byNext = 0;
};

TEST_F(Smbus, AReadGivesUpAfterAHundredTries)
{
    CRestless restless(m_controller);
    m_machine.Ports().Claim(kBase, CSimSmbusController::kRegisters, &restless);
    m_device.Blocks()[kCommand] = {9, 8, 7};
    EXPECT_EQ(Blk(kRead), 0);
    const auto vSays = Says("IntelBlockTransByBlk");
    EXPECT_EQ(vSays[vSays.size() - 3], "[Block Read]Compare fail\n");
    EXPECT_EQ(vSays[vSays.size() - 2], "[Block Read]Retry time is 0\n");
    EXPECT_EQ(vSays.back(), "[Block Read]Finally comapre fail\n");
    EXPECT_THAT(WritesTo("0xEFA0"), SizeIs(2 + 100));
}

struct BUS_FAULT
{
    const char* pszCase;
    const char* pszSays;
    SimSmbusFault eFault;
    bool bClearsCrc;
};

const BUS_FAULT kBusFaults[] = {
    {"Failed", "Bus fail is occured\n", SimSmbusFault::Failed, false},
    {"DevErr", "IntelBlockWrite(): DEV_ERR is occured\n", SimSmbusFault::DevErr, false},
    {"DevErrByCrc", "IntelBlockWrite(): DEV_ERR is occured\n", SimSmbusFault::Crc, true},
    {"BusErr", "BUS_ERR is occured\n", SimSmbusFault::BusErr, false},
};

class BusFault : public Smbus, public testing::WithParamInterface<BUS_FAULT>
{};

TEST_P(BusFault, EndsABlockWithItsName)
{
    for (const int nMode : {kWrite, kRead}) {
        m_controller.FailTransaction(m_controller.Transactions(), GetParam().eFault);
        m_machine.PortDriver().ClearLog();
        Fill(2);
        EXPECT_EQ(Blk(nMode), 0);
        const auto vSays = Says("IntelBlockTransByBlk");
        EXPECT_EQ(vSays[vSays.size() - 2], "Step10: check the post\n");
        EXPECT_EQ(vSays.back(), GetParam().pszSays);
        EXPECT_EQ(WritesTo("0xEFAC"),
                  std::vector<std::string>(GetParam().bClearsCrc ? 1 : 0, "1 = 0x1"));
    }
}

TEST_P(BusFault, EndsATransferByBytesInItsFirstWait)
{
    m_controller.FailTransaction(0, GetParam().eFault);
    Fill(2);
    EXPECT_EQ(Byte(kWrite), 0);
    EXPECT_EQ(Says("IntelBlockTransByByte").back(), "Error is Occuer\n");
    EXPECT_THAT(WritesTo("0xEFAC"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, BusFault, testing::ValuesIn(kBusFaults),
                         [](const auto& row) { return std::string(row.param.pszCase); });

TEST_F(Smbus, ABlockGoesByteByByte)
{
    const std::vector<BYTE> vData = Fill(3);
    EXPECT_EQ(Byte(kWrite), 1);
    EXPECT_EQ(m_device.Blocks()[kCommand], vData);
    EXPECT_EQ(m_controller.Misuse().Text(), "");
    EXPECT_EQ(Says("IntelBlockTransByByte"),
              AfterStart({"Step6: \tdisable E32B\n", "Step7:\tset data0 reg\n",
                          "Step8:\tstart data transfer\n", "Status return is 0xc1",
                          "Step9:\twait for interupt\n", kBusy + "42\n", "Step10: check the post\n",
                          "Step20: close E32B and PEC\n"}));
    EXPECT_THAT(WritesTo("0xEFA2"), ElementsAre("1 = 0x14", "1 = 0x54", "1 = 0x14", "1 = 0x14"));
    EXPECT_THAT(WritesTo("0xEFA0"),
                ElementsAre("1 = 0xFF", "1 = 0x80", "1 = 0x80", "1 = 0x80", "1 = 0xFE"));
}

TEST_F(Smbus, AReadByBytesTakesTheDevicesCount)
{
    m_device.Blocks()[kCommand] = {5, 6, 7};
    m_machine.Ports().Write(CSimSmbusController::kPciAddressPort, 0x80018940, 4);
    m_controller.SetHostc(1);
    m_controller.Write(kBase + 5, 2, 1); // an old count
    EXPECT_EQ(Byte(kRead), 1);
    EXPECT_THAT(Got(), ElementsAre(5, 6, 7));
    EXPECT_EQ(m_controller.Misuse().Text(), "");
    EXPECT_THAT(Says("IntelBlockTransByByte"), Contains("The len of Data is 3\n"));
    EXPECT_THAT(WritesTo("0xEFA2"), ElementsAre("1 = 0x14", "1 = 0x54", "1 = 0x14", "1 = 0x34"));
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

TEST_F(Smbus, AnEmptyReadByBytesEndsTheTransactionAndFails)
{
    m_device.Blocks()[kCommand] = {};
    m_controller.SetHostc(1);
    m_controller.Write(kBase + 5, 4, 1);
    EXPECT_EQ(Byte(kRead), 0);
    EXPECT_EQ(Says("IntelBlockTransByByte").back(), "The len of Data is 0\n");
    EXPECT_THAT(WritesTo("0xEFA0"), ElementsAre("1 = 0xFF", "1 = 0x80", "1 = 0x2"));
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
    EXPECT_EQ(Says("IntelBlockTransByBlk").back(), kBusy + "41\n");
    AllowTime();
    EXPECT_THROW(Blk(kWrite), CWouldBlockForever);
    EXPECT_EQ(Says("IntelBlockTransByBlk").back(), "Step2\xA3\xBA\tcheck smbus busy\n");
}

TEST_F(Smbus, TheSoakTestEndsAtTheFirstDifferenceAndStartsNothing)
{
    class CSpoils : public ISimPortSpace
    {
    public:
        explicit CSpoils(CSimSmbusController& controller) : m_controller(controller) {}
        DWORD Read(ULONGLONG address, unsigned cb) override
        {
            if (address == kBase + 7 && ++m_nReads == 32 + 3 * 4)
                m_controller.CorruptBufferReads(1);
            return m_controller.Read(address, cb);
        }
        void Write(ULONGLONG address, DWORD dwValue, unsigned cb) override
        {
            m_controller.Write(address, dwValue, cb);
        }

    private:
        CSimSmbusController& m_controller;
        unsigned m_nReads = 0;
    } spoils(m_controller);
    m_machine.Ports().Claim(kBase, CSimSmbusController::kRegisters, &spoils);
    Fill(4);
    EXPECT_EQ(BlkEx(kWrite), 0);
    EXPECT_EQ(m_controller.Transactions(), 0u);
    EXPECT_EQ(Says("IntelBlockTransByBlkEx"),
              AfterStart({"Step6: \tEnable E32B\n", "[Block Write]The value of data buf is 0x00\n",
                          "Step7:\treset Buf index to 0\n", "Step8:\tSet buf data\n", kSuccess,
                          "The Status of STS is 0x40\n", kSuccess, "The Status of STS is 0x40\n",
                          kFail, "[Block Write]Retry time is 2", "The Status of STS is 0x40\n"}));
}

TEST_F(Smbus, TheSoakTestDoesNothingInOtherModes)
{
    for (const int nMode : {0, 2}) {
        EXPECT_EQ(BlkEx(nMode), 0);
        EXPECT_EQ(Says("IntelBlockTransByBlkEx").back(), "Step8:\tSet buf data\n");
    }
}

TEST_F(Smbus, WithoutTheDriverEveryRegisterReadsZero)
{
    CRequestCMDTestAccess::SetWinNT(0);
    Fill(3);
    EXPECT_EQ(Blk(kWrite), 0);
    EXPECT_EQ(Says("IntelBlockTransByBlk").back(), "[Block Write]Finally comapre fail\n");

    std::fill(m_buf + 1, m_buf + 4, BYTE{0}); // all zero passes the compare, then waits
    EXPECT_THROW(Blk(kWrite), CWouldBlockForever);
    EXPECT_THAT(m_machine.PortDriver().Log(), IsEmpty());
    CRequestCMDTestAccess::SetWinNT(1);
}

TEST_F(Smbus, UnderWow64TheWideLayoutIsUsed)
{
    CRequestCMDTestAccess::SetWow64(1);
    const std::vector<BYTE> vData = Fill(2);
    EXPECT_EQ(Blk(kWrite), 1);
    EXPECT_EQ(m_device.Blocks()[kCommand], vData);
    EXPECT_THAT(m_log.LinesOf("CRequestCMD::VoWriteByte32"), IsEmpty());
    EXPECT_THAT(m_log.LinesOf("CRequestCMD::VoWriteByte64"), Not(IsEmpty()));
}

TEST_F(Smbus, OfTheMaximumLengthStaysInItsBuffer)
{
    // A count beyond the controller's 32 bytes is the caller's; the buffer's 256 hold any.
    Fill(255);
    EXPECT_EQ(Blk(kWrite), 0);
    EXPECT_EQ(m_controller.Transactions(), 0u) << "no read-back of 255 bytes agrees";
}
} // namespace
