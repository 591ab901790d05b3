#include <gtest/gtest.h>

#include "dev/CI2CPdDev.h"
#include "messages/CMessageHost.h"
#include "sim/models/CSimImage.h"
#include "sim/models/CSimPd.h"

namespace
{
constexpr BYTE kPdAddr = 0x42;
constexpr BYTE kCmdEnable = 0x01;
constexpr BYTE kCmdReset2Flash = 0x05;
constexpr BYTE kCmdIspValidation = 0x16;
constexpr BYTE kCmdReadFlash = 0x33;
constexpr BYTE kCmdCheckCrc = 0x35;
constexpr BYTE kCmdStatus = 0x3A;

/// A PD device that a host may put anywhere in the flash.
class CMovedPdDev : public CI2CPdDev
{
public:
    void MoveTo(DWORD dwAddr) { m_dwFlashAddr = dwAddr; }
};

/// A hub with a PD controller behind it, and a host with a device for each; the hub is open.
struct PdStage
{
    explicit PdStage(const SimPdSettings& settings)
        : pd(bench.machine.Time(), settings), host(bench)
    {
        bench.hub.LoadImage(CSimImage().Build());
        pd.LoadImage(old);
        bench.hub.AttachI2cTarget(kPdAddr, &pd);
        dev.SetMaster(&host.dev);
        dev.SetSlaveAddr(kPdAddr);
        host.Open();
        host.finder.Attach(&dev);
    }
    PdStage(const PdStage&) = delete;
    PdStage& operator=(const PdStage&) = delete;
    ~PdStage() { host.finder.Detach(&dev); }

    void Refuse(BYTE byCommand, std::uint64_t n = 0)
    {
        pd.Faults().OnRequest(byCommand, n, {SimFaultKind::Fail});
    }

    const std::vector<BYTE> old = CSimImage(CSimImage::kMinSize).Version(0x0111).Seed(1).Build();
    const std::vector<BYTE> fresh = CSimImage(CSimImage::kMinSize).Version(0x0222).Seed(2).Build();
    CMessageBench bench;
    CSimPd pd;
    CMessageHost<> host;
    CMovedPdDev dev;
};

struct PdStory
{
    const char* pszName;
    bool bIsp;
    bool bCrc;
    void (*pfnTell)(PdStage& stage);
};

/// Loads the first bytes of an image and checks them in the bank that an update would write.
bool CheckBeginning(PdStage& stage, std::size_t cb)
{
    stage.dev.SetFwBuf({stage.fresh.begin(), stage.fresh.begin() + static_cast<long>(cb)});
    EXPECT_TRUE(stage.dev.IsDualBank());
    return stage.dev.CheckFlashInFlash();
}

void Update(PdStage& stage)
{
    stage.dev.SetFwBuf(stage.fresh);
    CUniversalFlow flow(&stage.host.finder, &stage.dev);
    EXPECT_TRUE(flow.DevUpdate());
    EXPECT_TRUE(stage.pd.Runs(stage.fresh));
    EXPECT_EQ(stage.pd.Misuse().Text(), "");
}

const PdStory kStories[] = {
    {"pd_update_by_crc", false, true, Update},
    {"pd_update_by_isp", true, true, Update},
    {"pd_isp_fails", true, false,
     [](PdStage& s) {
         s.Refuse(kCmdIspValidation);
         EXPECT_FALSE(CheckBeginning(s, 64));
     }},
    {"pd_crc_not_read", false, true,
     [](PdStage& s) {
         s.Refuse(kCmdCheckCrc);
         EXPECT_FALSE(CheckBeginning(s, 64));
     }},
    {"pd_crc_of_no_image", false, true, [](PdStage& s) { EXPECT_FALSE(CheckBeginning(s, 64)); }},
    {"pd_crc_of_neither_bank", false, true,
     [](PdStage& s) {
         for (const DWORD dwAddr : {0x10000u, 0x30000u, 0x20001u}) {
             s.dev.MoveTo(dwAddr);
             EXPECT_FALSE(s.dev.MP_CheckCRC());
         }
     }},
    {"pd_status_not_read", false, true,
     [](PdStage& s) {
         s.dev.SetFwBuf(std::vector<BYTE>(10));
         s.Refuse(kCmdStatus);
         EXPECT_TRUE(s.dev.CheckFlashInFlash()); // whatever was read back
     }},
    {"pd_reading_back", false, false, [](PdStage& s) { EXPECT_TRUE(CheckBeginning(s, 512 + 40)); }},
    {"pd_reading_back_whole_blocks", false, false,
     [](PdStage& s) { EXPECT_TRUE(CheckBeginning(s, 512)); }},
    {"pd_reading_back_fails", false, false,
     [](PdStage& s) {
         s.Refuse(kCmdReadFlash, 9); // of the second block
         EXPECT_FALSE(CheckBeginning(s, 512));
     }},
    {"pd_what_it_is", false, true,
     [](PdStage& s) {
         EXPECT_TRUE(s.dev.IsDualBank());
         EXPECT_FALSE(s.dev.IsRomCode());
         s.pd.LoadImage(s.old, 1);
         s.pd.Banks().Load(0, {});
         s.pd.PowerUp();
         EXPECT_TRUE(s.dev.IsDualBank());
         s.pd.Banks().Load(1, {});
         s.pd.PowerUp();
         EXPECT_TRUE(s.dev.IsRomCode());
         s.pd.PowerDown();
         EXPECT_FALSE(s.dev.IsDualBank());
         EXPECT_FALSE(s.dev.IsRomCode());
     }},
    {"pd_coming_and_going", false, true,
     [](PdStage& s) {
         EXPECT_TRUE(s.dev.IsPresent());
         EXPECT_TRUE(s.dev.Reset2RomEx());
         s.dev.Remove();
         s.dev.Arrive(s.bench.HubInst(), 0xFFFFFFFF);
         s.dev.Remove();
         s.bench.machine.Time().Advance(1'000'000);
         EXPECT_FALSE(s.dev.IsAbsent());
         EXPECT_TRUE(s.dev.Reset2FlashEx());
         s.bench.machine.Time().Advance(1'000'000);
         s.Refuse(kCmdEnable, 2);
         EXPECT_TRUE(s.dev.IsAbsent());
         s.Refuse(kCmdReset2Flash, 1);
         EXPECT_FALSE(s.dev.Reset2FlashEx());
     }},
};

TEST(PdMessages, AreThese)
{
    for (const PdStory& story : kStories) {
        SimPdSettings settings;
        settings.bIspValidation = story.bIsp;
        settings.bCrcCheck = story.bCrc;
        PdStage stage(settings);
        const CMessageLog log;
        story.pfnTell(stage);
        ExpectTranscript(story.pszName, log);
    }
}
} // namespace
