#include <gtest/gtest.h>

#include "cmd/CRequestCMD.h"
#include "messages/CMessageBench.h"
#include "sim/models/CSimBillboard.h"

namespace
{
constexpr USHORT kVid = 0x5678;
constexpr USHORT kPid = 0x9001; // digits only: letters would be looked for in lower case
constexpr DWORD kInst = 61;

/// A computer with a billboard device.
struct BillboardStage
{
    BillboardStage()
    {
        chip.LoadImage(CSimImage(CSimImage::kMinSize).Build());
        pNode = &Add(1, kInst, WTEXT("Billboard Device"));
    }
    BillboardStage(const BillboardStage&) = delete;
    BillboardStage& operator=(const BillboardStage&) = delete;
    ~BillboardStage()
    {
        bench.machine.Faults().Clear();
        cmd.KyBBPD_CloseBillBoardDevice();
    }

    CSimNode& Add(unsigned nPort, DWORD devInst, const WCHAR* pszDescription)
    {
        DeviceNodeOptions options;
        options.wVid = kVid;
        options.wPid = kPid;
        options.devInst = devInst;
        options.bWinUsb = true;
        options.strDescription = pszDescription;
        return bench.machine.Tree().AddDevice(bench.node, nPort, options, &chip);
    }

    int Open() { return cmd.KyBBPD_OpenBillBoardDevice(kInst); }
    int OpenByIds() { return cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid); }

    CMessageBench bench;
    CSimBillboard chip{bench.machine.Time()};
    CSimNode* pNode;
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
};

struct OpenStory
{
    const char* pszName;
    StoryFault fault = {};
    bool bOpens = false;
    int (BillboardStage::*pfnOpen)() = &BillboardStage::Open;
    void (*pfnPrepare)(BillboardStage& stage) = [](BillboardStage&) {};
};

const OpenStory kOpenStories[] = {
    {"billboard_open", {}, true},
    {"billboard_open_by_ids",
     {},
     true,
     &BillboardStage::OpenByIds,
     [](BillboardStage& s) {
         s.pNode->Traits().hardwareIds = {WTEXT("USB\\VID_5678&PID_9002")};
         s.Add(2, 62, WTEXT("Billboard Device 2"));
         s.Add(3, 63, WTEXT("BILLBOARD device"));
     }},
    {"billboard_open_texts_unreadable",
     {},
     false,
     &BillboardStage::OpenByIds,
     [](BillboardStage& s) {
         s.pNode->Traits().hardwareIds.clear();
         s.Add(2, 62, WTEXT(""));
     }},
    {"billboard_open_no_interface", {"IDeviceTree::EnumDeviceInterfaces"}},
    {"billboard_open_no_detail", {"IDeviceTree::GetInterfaceDetail", 2}},
    {"billboard_open_no_file", {"IDeviceFile::Open"}},
    {"billboard_open_not_initialized", {"IWinUsb::Initialize"}},
    {"billboard_open_no_event", {"IEventPipe::MakeEvent"}},
};

TEST(BillboardMessages, OfOpening)
{
    for (const OpenStory& story : kOpenStories) {
        BillboardStage stage;
        story.pfnPrepare(stage);
        story.fault.Plant(stage.bench);
        const CMessageLog log;

        EXPECT_EQ((stage.*story.pfnOpen)() != 0, story.bOpens) << story.pszName;
        stage.cmd.KyBBPD_VdCmdEnable(1);
        EXPECT_EQ(stage.cmd.KyBBPD_CloseBillBoardDevice(), 1);

        ExpectTranscript(story.pszName, log);
    }
}

TEST(BillboardMessages, OfAnOpenWithoutIds)
{
    BillboardStage stage;
    const CMessageLog log;

    EXPECT_EQ(stage.cmd.KyBBPD_OpenBillBoardDevice(0, kVid), 0);
    EXPECT_EQ(stage.cmd.KyBBPD_OpenBillBoardDevice(kPid, 0), 0);

    ExpectTranscript("billboard_open_no_ids", log);
}

TEST(BillboardMessages, OfAllCommands)
{
    BillboardStage stage;
    ASSERT_NE(stage.Open(), 0);
    CRequestCMD& cmd = stage.cmd;
    BYTE data[64] = {0xA5};
    BYTE byCrc = 0;
    const CMessageLog log;

    EXPECT_NE(cmd.KyBBPD_GetICStatus(data, 20), 0);
    EXPECT_NE(cmd.KyBBPD_VdCmdEnable(1), 0);
    EXPECT_NE(cmd.KyBBPD_EraseFlash2(0x20000, 30000), 0);
    EXPECT_NE(cmd.KyBBPD_VdCmdEnable(3), 0);
    EXPECT_NE(cmd.KyBBPD_WriteFlash2(0x20000, data, sizeof data), 0);
    EXPECT_NE(cmd.KyBBPD_ReadFlash2(0x20000, data, sizeof data), 0);
    EXPECT_NE(cmd.KyBBPD_CheckCodeCRCValid(1, 0x20000, 0x20000, &byCrc), 0);
    EXPECT_EQ(cmd.KyBBPD_CheckCodeCRCValid(1, 0x10000, 0x20000, &byCrc), 0);
    EXPECT_EQ(cmd.KyBBPD_CheckCodeCRCValid(1, 0x20000, 0x1FFFF, &byCrc), 0);
    EXPECT_EQ(cmd.KyBBPD_ISPValidation(1), 0); // it cannot
    EXPECT_NE(cmd.KyBBPD_ResetToFlash(1, 1), 0);
    stage.bench.machine.Time().Advance(5'000'000);
    EXPECT_NE(cmd.KyBBPD_ResetToRom(0, 7), 0);
    stage.bench.machine.Time().Advance(5'000'000);
    EXPECT_NE(cmd.KyBBPD_ResetToRom(0), 0);

    ExpectTranscript("billboard_commands", log);
}

TEST(BillboardMessages, OfAFailedClose)
{
    BillboardStage stage;
    ASSERT_NE(stage.Open(), 0);
    StoryFault{"IWinUsb::Free"}.Plant(stage.bench);
    const CMessageLog log;

    EXPECT_EQ(stage.cmd.KyBBPD_CloseBillBoardDevice(), 0);

    ExpectTranscript("billboard_not_closed", log);
    EXPECT_EQ(stage.cmd.KyBBPD_CloseBillBoardDevice(), 1) << "the object is gone all the same";
}
} // namespace
