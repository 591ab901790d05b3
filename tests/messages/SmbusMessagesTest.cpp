#include <gtest/gtest.h>

#include <algorithm>

#include "cmd/CRequestCMDTestAccess.h"
#include "messages/CMessageBench.h"
#include "sim/CSimEc.h"
#include "sim/CSimSmbusController.h"
#include "support/CBoundRequestObj.h"

namespace
{
constexpr DWORD kBase = 0xEFA0;
constexpr BYTE kDevice = 0x58;
constexpr BYTE kCommand = 0x09;
constexpr int kRead = 0;
constexpr int kWrite = 1;
constexpr BYTE kStatusRegister = 0;
constexpr BYTE kDataRegister = 7;
constexpr BYTE kByteDone = 0x80;

/// Takes everything but the last byte of a block.
class CUnwilling : public CSimSmbusMemory
{
public:
    bool WriteBlock(BYTE, const std::vector<BYTE>&) override { return false; }
};

/// The controller, except for what is set here.
class CSpoiled : public ISimPortSpace
{
public:
    explicit CSpoiled(CSimSmbusController& controller) : m_controller(controller) {}

    DWORD Read(ULONGLONG address, unsigned cb) override
    {
        const DWORD dwRead = m_controller.Read(address, cb);
        if (address == kBase + kDataRegister) {
            ++m_nDataReads;
            if (bCounts)
                return m_nDataReads & 0xFF;
            return m_nDataReads == nFlipped ? dwRead ^ 1 : dwRead;
        }
        // The block is through when its last byte's flag was cleared.
        const bool bAtEnd = address == kBase && m_nCleared != 0 && (dwRead & 1) == 0;
        return bAtEnd ? (dwRead | byAtEnd) : dwRead;
    }
    void Write(ULONGLONG address, DWORD dwValue, unsigned cb) override
    {
        if (address == kBase + kStatusRegister && dwValue == kByteDone)
            ++m_nCleared;
        m_controller.Write(address, dwValue, cb);
    }

    bool bCounts = false;
    unsigned nFlipped = 0; ///< this reading of the data port comes with a bit flipped
    BYTE byAtEnd = 0;

private:
    CSimSmbusController& m_controller;
    unsigned m_nDataReads = 0;
    unsigned m_nCleared = 0;
};

/// A controller with one device, reached through the started port driver.
struct SmbusStage
{
    SmbusStage()
    {
        bench.machine.Ports().Claim(kBase, CSimSmbusController::kRegisters, &spoiled);
        bench.machine.Ports().Claim(CSimSmbusController::kPciAddressPort,
                                    CSimSmbusController::kPciPorts, &controller);
        controller.Attach(kDevice, &device);
        controller.SetHostc(1);
        cmd.XH_InitVoPortDriver(1, 2, 3);
        device.Blocks()[kCommand] = {1, 2, 3};
        std::fill_n(buf + 1, 4, BYTE{0x30});
        buf[0] = 4;
    }
    SmbusStage(const SmbusStage&) = delete;
    SmbusStage& operator=(const SmbusStage&) = delete;
    ~SmbusStage()
    {
        cmd.XH_UnInitVoPortDriver();
        CRequestCMDTestAccess::Reset();
    }

    int Block(int nMode) { return cmd.IntelBlockTransByBlk(kBase, kDevice, kCommand, buf, nMode); }
    int Soak(int nMode) { return cmd.IntelBlockTransByBlkEx(kBase, kDevice, kCommand, buf, nMode); }
    int Bytes(int nMode) { return cmd.IntelBlockTransByByte(kBase, kDevice, kCommand, buf, nMode); }
    void OldCount(BYTE by) { controller.Write(kBase + 5, by, 1); }

    CMessageBench bench;
    CSimSmbusController controller{bench.machine.Time(), kBase};
    CSpoiled spoiled{controller};
    CSimSmbusMemory device;
    CUnwilling unwilling;
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    BYTE buf[256] = {};
};

struct SmbusStory
{
    const char* pszName;
    int (*pfnTransfer)(SmbusStage& stage);
    int nResult;
};

template<SimSmbusFault eFault>
int BlockWith(SmbusStage& stage)
{
    stage.controller.FailTransaction(0, eFault);
    return stage.Block(kWrite);
}

/// A write by bytes whose block ends with a status bit more.
template<BYTE byStatus>
int BytesEndingWith(SmbusStage& stage)
{
    stage.buf[0] = 1;
    stage.spoiled.byAtEnd = byStatus;
    return stage.Bytes(kWrite);
}

const SmbusStory kStories[] = {
    {"smbus_block_write", [](SmbusStage& s) { return s.Block(kWrite); }, 1},
    {"smbus_block_write_second_try",
     [](SmbusStage& s) {
         s.controller.CorruptBufferReads(33); // the dump, and one byte of the first compare
         return s.Block(kWrite);
     },
     1},
    {"smbus_block_write_never_compares",
     [](SmbusStage& s) {
         s.controller.CorruptBufferReads(1'000'000);
         return s.Block(kWrite);
     },
     0},
    {"smbus_block_read", [](SmbusStage& s) { return s.Block(kRead); }, 1},
    {"smbus_block_read_second_try",
     [](SmbusStage& s) {
         s.controller.CorruptBufferReads(1);
         return s.Block(kRead);
     },
     1},
    {"smbus_block_read_never_compares",
     [](SmbusStage& s) {
         s.spoiled.bCounts = true;
         return s.Block(kRead);
     },
     0},
    {"smbus_block_other_mode", [](SmbusStage& s) { return s.Block(2); }, 1},
    {"smbus_block_failed", BlockWith<SimSmbusFault::Failed>, 0},
    {"smbus_block_dev_err", BlockWith<SimSmbusFault::DevErr>, 0},
    {"smbus_block_crc", BlockWith<SimSmbusFault::Crc>, 0},
    {"smbus_block_bus_err", BlockWith<SimSmbusFault::BusErr>, 0},
    {"smbus_soak",
     [](SmbusStage& s) {
         s.spoiled.nFlipped = 32 + 2 * 4 + 1; // of the third pass
         return s.Soak(kWrite);
     },
     0},
    {"smbus_soak_read", [](SmbusStage& s) { return s.Soak(kRead); }, 0},
    {"smbus_bytes_write", [](SmbusStage& s) { return s.Bytes(kWrite); }, 1},
    {"smbus_bytes_read",
     [](SmbusStage& s) {
         s.OldCount(2);
         return s.Bytes(kRead);
     },
     1},
    {"smbus_bytes_read_nothing",
     [](SmbusStage& s) {
         s.device.Blocks()[kCommand] = {};
         s.OldCount(2);
         return s.Bytes(kRead);
     },
     0},
    {"smbus_bytes_error",
     [](SmbusStage& s) {
         s.controller.FailTransaction(0, SimSmbusFault::BusErr);
         return s.Bytes(kWrite);
     },
     0},
    {"smbus_bytes_failed_at_end", BytesEndingWith<0x10>, 0},
    {"smbus_bytes_bus_err_at_end", BytesEndingWith<0x08>, 0},
    {"smbus_bytes_dev_err_at_end",
     [](SmbusStage& s) {
         s.controller.Attach(kDevice, &s.unwilling);
         return s.Bytes(kWrite);
     },
     0},
};

TEST(SmbusMessages, AreThese)
{
    for (const SmbusStory& story : kStories) {
        SmbusStage stage;
        const CMessageLog log;
        EXPECT_EQ(story.pfnTransfer(stage), story.nResult) << story.pszName;
        ExpectTranscript(story.pszName, log);
    }
}

TEST(EcMessages, AreThoseOfItsPorts)
{
    constexpr DWORD kCmdPort = 0x66;
    constexpr DWORD kDataPort = 0x62;
    CMessageBench bench;
    CSimEc ec(bench.machine.Time(), kCmdPort, kDataPort);
    bench.machine.Ports().Claim(kCmdPort, 1, &ec);
    bench.machine.Ports().Claim(kDataPort, 1, &ec);
    CPropertyEx transport;
    const CBoundRequestObj bound(transport);
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    const CMessageLog log;
    BYTE byValue = 0;

    cmd.WriteGeneralECReg(kCmdPort, kDataPort, 0x10, 0x77);
    cmd.ReadGeneralECReg(kCmdPort, kDataPort, 0x10, byValue);

    EXPECT_EQ(byValue, 0x77);
    EXPECT_EQ(ec.Misuse().Text(), "");
    ExpectTranscript("ec_write_read", log);
}
} // namespace
