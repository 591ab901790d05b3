#include <gtest/gtest.h>

#include "cmd/CRequestCMD.h"
#include "messages/CMessageBench.h"
#include "sim/CSimBillboard.h"

namespace
{
constexpr USHORT kVid = 0x5678;
constexpr USHORT kPid = 0x9001; // digits only: letters would be looked for in lower case
constexpr DWORD kInst = 61;
constexpr DWORD kFault = kErrAccessDenied;

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

    void Fail(const char* pszOperation, unsigned n = 1)
    {
        bench.machine.Faults().FailCall(pszOperation, n, kFault);
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
    void (*pfnPrepare)(BillboardStage& stage);
    int (BillboardStage::*pfnOpen)();
    bool bOpens;
};

const OpenStory kOpenStories[] = {
    {"billboard_open", [](BillboardStage&) {}, &BillboardStage::Open, true},
    {"billboard_open_by_ids",
     [](BillboardStage& s) {
         s.pNode->Spec().hardwareIds = {WTEXT("USB\\VID_5678&PID_9002")};
         s.Add(2, 62, WTEXT("Billboard Device 2"));
         s.Add(3, 63, WTEXT("BILLBOARD device"));
     },
     &BillboardStage::OpenByIds, true},
    {"billboard_open_texts_unreadable",
     [](BillboardStage& s) {
         s.pNode->Spec().hardwareIds.clear();
         s.Add(2, 62, WTEXT(""));
     },
     &BillboardStage::OpenByIds, false},
    {"billboard_open_no_interface",
     [](BillboardStage& s) { s.Fail("IDeviceTree::EnumDeviceInterfaces"); }, &BillboardStage::Open,
     false},
    {"billboard_open_no_detail",
     [](BillboardStage& s) { s.Fail("IDeviceTree::GetInterfaceDetail", 2); }, &BillboardStage::Open,
     false},
    {"billboard_open_no_file", [](BillboardStage& s) { s.Fail("IDeviceFile::Open"); },
     &BillboardStage::Open, false},
    {"billboard_open_not_initialized", [](BillboardStage& s) { s.Fail("IWinUsb::Initialize"); },
     &BillboardStage::Open, false},
    {"billboard_open_no_event", [](BillboardStage& s) { s.Fail("IEventPipe::MakeEvent"); },
     &BillboardStage::Open, false},
};

class BillboardOpenMessages : public testing::TestWithParam<OpenStory>
{};

TEST_P(BillboardOpenMessages, AreThese)
{
    BillboardStage stage;
    stage.bench.machine.Faults().ResetCounts();
    GetParam().pfnPrepare(stage);
    CMessageRecorder recorder;

    EXPECT_EQ((stage.*GetParam().pfnOpen)() != 0, GetParam().bOpens);
    stage.cmd.KyBBPD_VdCmdEnable(1);
    EXPECT_EQ(stage.cmd.KyBBPD_CloseBillBoardDevice(), 1);

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(, BillboardOpenMessages, testing::ValuesIn(kOpenStories),
                         [](const auto& story) { return std::string(story.param.pszName); });

TEST(BillboardMessages, OfAnOpenWithoutIds)
{
    BillboardStage stage;
    CMessageRecorder recorder;

    EXPECT_EQ(stage.cmd.KyBBPD_OpenBillBoardDevice(0, kVid), 0);
    EXPECT_EQ(stage.cmd.KyBBPD_OpenBillBoardDevice(kPid, 0), 0);

    ExpectTranscript("billboard_open_no_ids", recorder);
}

TEST(BillboardMessages, OfAllCommands)
{
    BillboardStage stage;
    ASSERT_NE(stage.Open(), 0);
    CRequestCMD& cmd = stage.cmd;
    BYTE data[64] = {0xA5};
    BYTE byCrc = 0;
    CMessageRecorder recorder;

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

    ExpectTranscript("billboard_commands", recorder);
}

TEST(BillboardMessages, OfAFailedClose)
{
    BillboardStage stage;
    ASSERT_NE(stage.Open(), 0);
    stage.Fail("IWinUsb::Free");
    CMessageRecorder recorder;

    EXPECT_EQ(stage.cmd.KyBBPD_CloseBillBoardDevice(), 0);

    ExpectTranscript("billboard_not_closed", recorder);
    EXPECT_EQ(stage.cmd.KyBBPD_CloseBillBoardDevice(), 1) << "the object is gone all the same";
}
} // namespace
