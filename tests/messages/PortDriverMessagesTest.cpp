#include <gtest/gtest.h>

#include <algorithm>

#include "cmd/CRequestCMDTestAccess.h"
#include "messages/CMessageBench.h"
#include "sim/models/CSimEc.h"
#include "sim/models/CSimSmbusController.h"
#include "support/CBoundRequestObj.h"
#include "wire/DriverNames.h"

namespace
{
const WCHAR* const kInstalled = WTEXT("C:\\Windows\\system32\\drivers\\voport.sys");
constexpr DWORD kAnyPort = 0x80;

/// A computer on which the port driver was never started, and a process that may start it.
struct PortStage
{
    PortStage() = default;
    PortStage(const PortStage&) = delete;
    PortStage& operator=(const PortStage&) = delete;
    ~PortStage()
    {
        bench.machine.Faults().Clear();
        cmd.XH_UnInitVoPortDriver();
        CRequestCMDTestAccess::Reset();
    }

    CMessageBench bench;
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
};

const Story kStarts[] = {
    {"voport_start"},
    {"voport_start_wow64", [](CMessageBench& b) { b.machine.Traits().wProcessMachine = 0x014C; }},
    {"voport_start_other_size",
     [](CMessageBench& b) {
         b.machine.Volume().Put(kInstalled, {1, 2, 3});
     }},
    {"voport_starts_at_second_try", {"IServiceManager::Start", 1, 31}},
};

const Story kFailedStarts[] = {
    {"voport_no_resource", [](CMessageBench& b) { b.machine.Traits().portDriver.clear(); }},
    {"voport_not_fetched", {"IProcess::FetchResource", 1, 8}},
    {"voport_not_pinned", {"IProcess::PinResource", 1, 8}},
    {"voport_no_size", {"IProcess::ResourceSize", 1, 8}},
    {"voport_not_written", {"IFileSystem::Open", 2}},
    {"voport_open_refused", {"IDeviceFile::Open"}},
    {"voport_no_working_folder", {"IFileSystem::WorkingFolder", 1, 3}},
    {"voport_no_windows_folder", {"IFileSystem::WindowsFolder", 2, 3}},
    {"voport_file_gone", {"IFileSystem::Open", 4, kErrFileNotFound}},
    {"voport_no_manager",
     [](CMessageBench& b) { b.machine.Services().SetManagerError(kErrAccessDenied); }},
    {"voport_not_created", {"IServiceManager::Create", 0}},
    {"voport_never_starts", {"IServiceManager::Start", 0, 577}},
    {"voport_service_not_opened", {"IServiceManager::OpenNamed", 0}},
    {"voport_not_removed",
     {"IServiceManager::Start", 0, 577},
     [](CMessageBench& b) { b.machine.Faults().FailAlways("IServiceManager::Remove", 5); }},
    {"voport_no_device_after_start", {"IDeviceFile::Open", 2}},
};

void StartIn(const Story& story, int nResult)
{
    PortStage stage;
    story.Prepare(stage.bench);
    const CMessageLog log;

    EXPECT_EQ(stage.cmd.XH_InitVoPortDriver(1, 2, 3), nResult) << story.pszName;
    stage.bench.machine.Faults().Clear();
    stage.cmd.XH_UnInitVoPortDriver(); // what never was opened does not close

    ExpectTranscript(story.pszName, log);
}

TEST(PortDriverMessages, OfItsStart)
{
    for (const Story& story : kStarts)
        StartIn(story, 1);
    for (const Story& story : kFailedStarts)
        StartIn(story, 0);
}

TEST(PortDriverMessages, OfWrongCalls)
{
    PortStage stage;
    const CMessageLog log;

    EXPECT_EQ(stage.cmd.ManageDriver(VOPORT_SERVICE_NAME, nullptr, 1), 0);
    EXPECT_EQ(stage.cmd.ManageDriver(VOPORT_SERVICE_NAME, kInstalled, 3), 0);

    ExpectTranscript("voport_wrong_calls", log);
}

/// All eight accesses.
void AccessAll(CRequestCMD& cmd)
{
    cmd.VoReadByte32(kAnyPort);
    cmd.VoReadDword32(kAnyPort);
    cmd.VoWriteByte32(kAnyPort, 0x5A);
    cmd.VoWriteDword32(kAnyPort, 0x11223344);
    cmd.VoReadByte64(kAnyPort);
    cmd.VoReadDword64(kAnyPort);
    cmd.VoWriteByte64(0x1'0000'0080, 0x5A);
    cmd.VoWriteDword64(kAnyPort, 0x11223344);
}

const Story kAccesses[] = {
    {"voport_access", [](CMessageBench&) { CRequestCMDTestAccess::SetMapping(1); }},
    {"voport_access_fails", {"IDeviceFile::Control", 0, 31}},
    {"voport_access_short", [](CMessageBench& b) { b.machine.PortDriver().LieAboutLength(2); }},
};

TEST(PortDriverMessages, OfItsAccesses)
{
    for (const Story& story : kAccesses) {
        PortStage stage;
        ASSERT_EQ(stage.cmd.XH_InitVoPortDriver(1, 2, 3), 1);
        story.Prepare(stage.bench);
        const CMessageLog log;
        AccessAll(stage.cmd);
        ExpectTranscript(story.pszName, log);
    }
}

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

const SmbusStory kTransfers[] = {
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
    for (const SmbusStory& story : kTransfers) {
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
