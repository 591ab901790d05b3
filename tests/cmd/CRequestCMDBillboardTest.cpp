#include <gmock/gmock.h>

#include "cmd/CRequestCMD.h"
#include "sim/CSimBillboard.h"
#include "sim/CSimMachine.h"
#include "support/CMessageLog.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace
{
constexpr DWORD kVid = 0x5678;
constexpr DWORD kPid = 0x9001;
constexpr DWORD kInst = 61;
const std::string kOpen = "|CWinUsb::WinUsb_OpenDevice|";
const std::string kSend = "|CRequestCMD::KyBBPD_SendVDCmd|";

/// Answers every request after a while and keeps what was sent.
class CRecorder : public ISimUsbDevice
{
public:
    explicit CRecorder(CSimClock& clock) : m_clock(clock) {}

    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData,
                              DWORD /*dwTimeoutMs*/) override
    {
        char szText[64];
        std::snprintf(szText, sizeof szText, "%02X/%02X v=%04X i=%04X len=%u", setup.bmRequestType,
                      setup.bRequest, setup.wValue, setup.wIndex, setup.wLength);
        requests.emplace_back(szText);
        m_clock.Advance(takes);
        if (pData != nullptr && (setup.bmRequestType & 0x80) != 0)
            std::fill(pData, pData + setup.wLength, BYTE{0x5A});
        return {dwError, 0, setup.wLength};
    }

    std::vector<std::string> requests;
    CSimClock::Micros takes = 100;
    DWORD dwError = 0;

private:
    CSimClock& m_clock;
};

class Billboard : public testing::Test
{
protected:
    Billboard() { SetCurrentPlatform(&m_machine); }
    ~Billboard() override
    {
        m_machine.Faults().Clear();
        m_cmd.KyBBPD_CloseBillBoardDevice();
        EXPECT_EQ(m_machine.Handles().Describe(), "");
        EXPECT_THAT(m_machine.Handles().Misuses(), IsEmpty());
        SetCurrentPlatform(nullptr);
    }

    /// Some USB device under WinUSB; the IDs' digits are no letters, so that they can match.
    CSimNode& Device(unsigned nPort, DWORD devInst, DWORD dwPid, const WCHAR* pszDescription)
    {
        DeviceNodeOptions options;
        options.wVid = static_cast<USHORT>(kVid);
        options.wPid = static_cast<USHORT>(dwPid);
        options.devInst = devInst;
        options.bWinUsb = true;
        options.strDescription = pszDescription;
        return m_machine.Tree().AddDevice(m_machine.RootHub(), nPort, options, &m_device);
    }

    CSimNode& TheBillboard() { return Device(1, kInst, kPid, WTEXT("Billboard Device")); }

    void OpenTheBillboard()
    {
        TheBillboard();
        ASSERT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(kInst), 0);
        m_log.Clear();
    }

    CSimMachine m_machine;
    CRecorder m_device{m_machine.Time()};
    CRequestCMD& m_cmd = *CRequestCMD::GetRequestObj();
    CMessageLog m_log;
    BYTE m_buf[64] = {0xB0};
};

TEST_F(Billboard, OpensByInstanceWhateverItIsCalled)
{
    Device(1, 7, 1, WTEXT("something"));
    TheBillboard();
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(kInst), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre("1" + kOpen + "dwInst is 61\n"));
    EXPECT_THAT(m_machine.Handles().OpenOf("device"), ElementsAre(testing::HasSubstr("pid_9001")));
}

TEST_F(Billboard, IsFoundByItsDescriptionAndIds)
{
    Device(1, 7, kPid, WTEXT("Billboard Device 2"));
    Device(2, 8, 0x9002, WTEXT("BILLBOARD DEVICE"));
    Device(3, 9, kPid, WTEXT("")); // no description
    Device(4, kInst, kPid, WTEXT("bIllboard dEvice"));
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid), 0);
    EXPECT_THAT(m_log.Lines(),
                ElementsAre("1" + kOpen + "VID is 5678,PID is 9001\n",
                            "1" + kOpen + "Deivce Desc is Billboard Device 2\n",
                            "1" + kOpen + "Deivce Desc is BILLBOARD DEVICE\n",
                            "1" + kOpen + "Deivce HwId is USB\\VID_5678&PID_9002&REV_0100\n",
                            "1" + kOpen + "Hw id is USB\\VID_5678&PID_9002&REV_0100,Match Fail\n",
                            "3" + kOpen + "SetupDiGetDeviceRegistryProperty Get DeviceDESC FAIL\n",
                            "1" + kOpen + "Deivce Desc is bIllboard dEvice\n",
                            "1" + kOpen + "Deivce HwId is USB\\VID_5678&PID_9001&REV_0100\n"));
}

TEST_F(Billboard, WithLettersInItsIdsIsNotFound)
{
    // Deliberate: lower-case digits are looked for, and the system's are in upper case.
    CSimNode& node = Device(1, kInst, 0xBB01, WTEXT("Billboard Device"));
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(0xBB01, kVid), 0);
    EXPECT_EQ(m_log.Lines().back(), "3" + kOpen + "SetupDiEnumDeviceInfo FAIL,Index is 1\n");
    node.Spec().hardwareIds = {WTEXT("USB\\VID_5678&PID_bb01")};
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(0xBB01, kVid), 0);
}

TEST_F(Billboard, NeedsBothIds)
{
    TheBillboard();
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(0, kVid), 0);
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, 0), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre("3" + kOpen + "Open Fail,PID is 0000,VID is 5678\n",
                                           "3" + kOpen + "Open Fail,PID is 9001,VID is 0000\n"));
    EXPECT_EQ(m_machine.Faults().Calls("IDeviceTree::GetClassDevs"), 0u);
}

TEST_F(Billboard, ThatIsNotThereIsNotOpened)
{
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(kInst), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre("1" + kOpen + "dwInst is 61\n"));
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid), 0);
    EXPECT_EQ(m_log.Lines().back(), "3" + kOpen + "SetupDiEnumDeviceInfo FAIL,Index is 0\n");
}

TEST_F(Billboard, AFailedRequestOfTheSetIsSilent)
{
    TheBillboard();
    m_machine.Faults().FailAlways("IDeviceTree::GetClassDevs", 5);
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(kInst), 0);
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid), 0);
    EXPECT_THAT(m_log.Lines(), ElementsAre("1" + kOpen + "dwInst is 61\n",
                                           "1" + kOpen + "VID is 5678,PID is 9001\n"));
}

struct OPEN_FAILURE
{
    const char* pszCase;
    const char* pszOperation;
    unsigned nCall;
    DWORD dwCode;
    std::string strSays;
};

const OPEN_FAILURE kOpenFailures[] = {
    {"NoInterface", "IDeviceTree::EnumDeviceInterfaces", 1, 259,
     "SetupDiEnumDeviceInterfaces FAIL\n"},
    {"NoPath", "IDeviceTree::GetInterfaceDetail", 2, 1784,
     "SetupDiGetDeviceInterfaceDetail FAIL\n"},
    {"NotOpened", "IDeviceFile::Open", 1, 5, "CreateFile Fail,ErrorCode is 00000005\n"},
    {"NotInitialised", "IWinUsb::Initialize", 1, 8, "Init WinUsbHandle Fail.Error Code is 8\n"},
    {"NoEvent", "IEventPipe::MakeEvent", 1, 1450, "Create Event Fail.Error Code is 1450\n"},
};

class OpenFailure : public Billboard, public testing::WithParamInterface<OPEN_FAILURE>
{};

TEST_P(OpenFailure, IsSaidAndLeavesNothingOpen)
{
    TheBillboard();
    for (const bool bByIds : {false, true}) {
        m_machine.Faults().ResetCounts();
        m_machine.Faults().FailCall(GetParam().pszOperation, GetParam().nCall, GetParam().dwCode);
        EXPECT_EQ(bByIds ? m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid)
                         : m_cmd.KyBBPD_OpenBillBoardDevice(kInst),
                  0);
        EXPECT_EQ(m_log.Lines().back(), "3" + kOpen + GetParam().strSays);
        EXPECT_EQ(m_machine.Handles().Describe(), "");
        m_log.Clear();
        EXPECT_EQ(m_cmd.KyBBPD_VdCmdEnable(1), 0);
        EXPECT_THAT(m_log.Lines(), Contains("3" + kSend + "Error,Can't Open WinUSBHandle.\n"));
    }
}

INSTANTIATE_TEST_SUITE_P(All, OpenFailure, testing::ValuesIn(kOpenFailures),
                         [](const auto& row) { return std::string(row.param.pszCase); });

TEST_F(Billboard, AnUnreadableHardwareIdMovesTheSearchOn)
{
    Device(1, 7, kPid, WTEXT("Billboard Device")).Spec().hardwareIds = {};
    Device(2, 8, kPid, WTEXT("Billboard Device")).Spec().hardwareIds = {
        WString(256, WTEXT('x'))}; // with its end more than 256 characters
    Device(3, kInst, kPid, WTEXT("Billboard Device"));
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid), 0);
    EXPECT_THAT(
        m_log.Lines(),
        Contains("3" + kOpen + "SetupDiGetDeviceRegistryProperty Get Hwid FAIL\n").Times(2));
}

TEST_F(Billboard, ANewOpenReplacesTheOld)
{
    OpenTheBillboard();
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid), 0);
    EXPECT_EQ(m_log.Lines().front(), "1|CWinUsb::WinUsb_CloseDevice|Close Winusb Handle\n");
    EXPECT_EQ(m_machine.Handles().Open().size(), 3u) << "file, interface and event";
}

TEST_F(Billboard, ClosesOnceAndSucceedsWhenNothingWasOpen)
{
    EXPECT_EQ(m_cmd.KyBBPD_CloseBillBoardDevice(), 1);
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(kInst), 0); // an object, but not open
    m_log.Clear();
    EXPECT_EQ(m_cmd.KyBBPD_CloseBillBoardDevice(), 1);
    EXPECT_THAT(m_log.Lines(), IsEmpty());

    OpenTheBillboard();
    EXPECT_EQ(m_cmd.KyBBPD_CloseBillBoardDevice(), 1);
    EXPECT_THAT(m_log.Lines(), ElementsAre("1|CWinUsb::WinUsb_CloseDevice|Close Winusb Handle\n"));
    EXPECT_EQ(m_cmd.KyBBPD_VdCmdEnable(1), 0) << "no object: refused without a request";
    EXPECT_THAT(m_device.requests, IsEmpty());
}

TEST(BillboardClose, FailsWhereTheInterfaceIsNotFreed)
{
    CSimMachine machine;
    SetCurrentPlatform(&machine);
    DeviceNodeOptions options;
    options.devInst = kInst;
    options.bWinUsb = true;
    machine.Tree().AddDevice(machine.RootHub(), 1, options);
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    ASSERT_NE(cmd.KyBBPD_OpenBillBoardDevice(kInst), 0);
    const CMessageLog log;
    machine.Faults().FailNext("IWinUsb::Free", 6);
    EXPECT_EQ(cmd.KyBBPD_CloseBillBoardDevice(), 0);
    EXPECT_THAT(log.Lines(), ElementsAre("1|CWinUsb::WinUsb_CloseDevice|Close Winusb Handle\n",
                                         "3|CWinUsb::WinUsb_CloseDevice|Close WinUsb Fail\n"));
    EXPECT_EQ(cmd.KyBBPD_CloseBillBoardDevice(), 1) << "the object is gone all the same";
    SetCurrentPlatform(nullptr);
}

struct COMMAND
{
    const char* pszName;
    int (*pfnSend)(CRequestCMD& cmd, BYTE* pBuf);
    const char* pszRequest;
    std::vector<std::string> saysBefore; ///< around the request's own lines
    std::vector<std::string> saysAfter;
};

const std::string kCmd = "0|CRequestCMD::KyBBPD_";

const COMMAND kCommands[] = {
    {"WriteFlash2",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_WriteFlash2(0x00027EF0, p, 2); },
     "40/C8 v=7EF0 i=0002 len=2",
     {kCmd + "WriteFlash2|KyDummy_WriteFlash -> RequestType: 0x40, Request: 0xc8\n",
      kCmd + "WriteFlash2|KyDummy_WriteFlash -> addr: 0x27ef0, length: 0x2\n"},
     {}},
    {"ReadFlash2",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_ReadFlash2(0x12345678, p, 16); },
     "C0/D8 v=5678 i=1234 len=16",
     {kCmd + "ReadFlash2|KyDummy_ReadFlash -> RequestType: 0xc0, Request: 0xd8\n",
      kCmd + "ReadFlash2|KyDummy_ReadFlash -> addr: 0x12345678, length: 0x10\n"},
     {}},
    {"EraseFlash2",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_EraseFlash2(0x20000, 9000); },
     "40/E8 v=0000 i=0002 len=0",
     {kCmd + "EraseFlash2|-> KyBBPD_EraseFlash\n"},
     {kCmd + "EraseFlash2|<- KyBBPD_EraseFlash, return 1\n"}},
    {"GetICStatus",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_GetICStatus(p, 20); },
     "C0/0C v=0000 i=0000 len=20",
     {kCmd + "GetICStatus|KyBBPD_GetICStatus -> RequestType: 0xc0, Request: 0x0c\n",
      kCmd + "GetICStatus|KyBBPD_GetICStatus -> length: 0x14\n"},
     {}},
    {"ISPValidation",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_ISPValidation(7); },
     "40/D9 v=0007 i=0000 len=0",
     {kCmd + "ISPValidation|KyHub_ISPValidation oldbin is 7\n"},
     {kCmd + "ISPValidation|KyDummy_ISPValidation return value is 1\n"}},
    {"VdCmdEnable",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_VdCmdEnable(3); },
     "40/02 v=0003 i=0A7C len=0",
     {kCmd + "VdCmdEnable|-> \n"},
     {kCmd + "VdCmdEnable|<-  return 1\n"}},
    {"ResetToFlash",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_ResetToFlash(0x1122, 0x3344); },
     "40/E9 v=4422 i=0000 len=0",
     {kCmd + "ResetToFlash|-> \n"},
     {kCmd + "ResetToFlash|<- return 1\n"}},
    {"ResetToRom",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_ResetToRom(0x0102); },
     "40/00 v=0102 i=0000 len=0",
     {kCmd + "ResetToRom|-> \n"},
     {kCmd + "ResetToRom|<-  return 1\n"}},
    {"ResetToRomIndex",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_ResetToRom(0x0102, 0x0304); },
     "40/00 v=0102 i=0304 len=0",
     {kCmd + "ResetToRom|-> \n"},
     {kCmd + "ResetToRom|<-  return 1\n"}},
    {"CheckFirstBank",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_CheckCodeCRCValid(3, 0, 0x20000, p); },
     "C0/F4 v=0003 i=0000 len=1",
     {kCmd + "CheckCodeCRCValid| -> RequestType: 0xc0, Request: 0xf4\n"},
     {}},
    {"CheckSecondBank",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_CheckCodeCRCValid(3, 0x20000, 0x20000, p); },
     "C0/F4 v=0103 i=0000 len=1",
     {kCmd + "CheckCodeCRCValid| -> RequestType: 0xc0, Request: 0xf4\n"},
     {}},
};

class BillboardCommand : public Billboard, public testing::WithParamInterface<COMMAND>
{};

TEST_P(BillboardCommand, IsOneRequestThatIsLogged)
{
    OpenTheBillboard();
    EXPECT_NE(GetParam().pfnSend(m_cmd, m_buf), 0);
    EXPECT_THAT(m_device.requests, ElementsAre(GetParam().pszRequest));
    unsigned nType = 0;
    unsigned nRequest = 0;
    unsigned nValue = 0;
    unsigned nIndex = 0;
    unsigned nLength = 0;
    ASSERT_EQ(std::sscanf(GetParam().pszRequest, "%X/%X v=%X i=%X len=%u", &nType, &nRequest,
                          &nValue, &nIndex, &nLength),
              5);
    char szSent[160];
    std::snprintf(szSent, sizeof szSent,
                  "RequestType is 0x%02x,request is 0x%02x,wValue is 0x%02x,wIndex is "
                  "0x%02x,pBufLen is %u\n",
                  nType, nRequest, nValue, nIndex, nLength);
    std::vector<std::string> says = GetParam().saysBefore;
    says.push_back("1" + kSend + szSent);
    if (nLength != 0)
        says.push_back("0" + kSend + "buf detail is 0xb0\n");
    says.insert(says.end(), GetParam().saysAfter.begin(), GetParam().saysAfter.end());
    EXPECT_EQ(m_log.Lines(), says);
}

TEST_P(BillboardCommand, FailsWithTheSystemsError)
{
    OpenTheBillboard();
    m_device.dwError = 31;
    EXPECT_EQ(GetParam().pfnSend(m_cmd, m_buf), 0);
    EXPECT_THAT(m_log.Lines(), Contains("3" + kSend + "Send FAIL,Last Error Code is 1f\n"));
    if (!GetParam().saysAfter.empty()) {
        std::string strLast = GetParam().saysAfter.back();
        strLast[strLast.size() - 2] = '0';
        EXPECT_EQ(m_log.Lines().back(), strLast);
    }
}

INSTANTIATE_TEST_SUITE_P(All, BillboardCommand, testing::ValuesIn(kCommands),
                         [](const auto& row) { return std::string(row.param.pszName); });

TEST_F(Billboard, ChecksNothingButWholeBanks)
{
    OpenTheBillboard();
    for (const DWORD dwAddr : {0x10000u, 0x20001u, 0x40000u}) {
        EXPECT_EQ(m_cmd.KyBBPD_CheckCodeCRCValid(0, dwAddr, 0x20000, m_buf), 0);
    }
    EXPECT_EQ(m_log.Lines()[1], "1|CRequestCMD::KyBBPD_CheckCodeCRCValid| invalid address "
                                "0x10000\n");
    m_log.Clear();
    for (const DWORD dwLength : {0x1FFFFu, 0x20001u, 0u})
        EXPECT_EQ(m_cmd.KyBBPD_CheckCodeCRCValid(0, 0x20000, dwLength, m_buf), 0);
    EXPECT_EQ(m_log.Lines()[1], "1|CRequestCMD::KyBBPD_CheckCodeCRCValid| invalid data length "
                                "0x1ffff\n");
    EXPECT_THAT(m_device.requests, IsEmpty());
}

TEST_F(Billboard, WaitsTenSecondsAtMostForATransferThatGoesOn)
{
    OpenTheBillboard();
    m_device.takes = 20'000'000;
    EXPECT_EQ(m_cmd.KyBBPD_EraseFlash2(0, 30000), 0);
    EXPECT_THAT(m_log.Lines(), Contains("1" + kSend + "Timeout > 10s,Set Timeout = 10 s \n"));
    EXPECT_EQ(m_log.Lines()[m_log.Lines().size() - 2],
              "3" + kSend + "Send FAIL,Last Error Code is 102\n");
    m_log.Clear();
    m_device.takes = 100;
    EXPECT_NE(m_cmd.KyBBPD_EraseFlash2(0, 10000), 0);
    EXPECT_THAT(m_log.Lines(), Not(Contains("1" + kSend + "Timeout > 10s,Set Timeout = 10 s \n")));
}

/// Looks how many transfers were started by the time that the time-out's cut is reported.
class CCutWatcher : public IResponder
{
public:
    explicit CCutWatcher(CSimMachine& machine) : m_machine(machine)
    {
        CMsg::GetObj()->Attach(this);
    }
    ~CCutWatcher() override { CMsg::GetObj()->ClearResponder(); }
    void ShowMsg(const char* pszText, ERRORLEVEL /*eLevel*/) override
    {
        if (std::string(pszText).find("Timeout > 10s") != std::string::npos)
            nStarted = m_machine.Faults().Calls("IWinUsb::ControlTransfer");
    }
    void ShowUIMsg(const char* /*pszText*/, RESTYPE /*eType*/) override {}
    void CountDown(const char* /*pszTitle*/, int /*n*/, ERRORLEVEL /*eLevel*/) override {}
    void ShowProgress(int /*nPercent*/) override {}
    void SetMsgLevel(ERRORLEVEL /*eLevel*/) override {}

    unsigned nStarted = 99;

private:
    CSimMachine& m_machine;
};

TEST_F(Billboard, TheTransferIsStartedBeforeItsWaitIsCut)
{
    // Deliberate: whoever cuts the time-out first fails here.
    OpenTheBillboard();
    const CCutWatcher watcher(m_machine);
    EXPECT_NE(m_cmd.KyBBPD_EraseFlash2(0, 10001), 0);
    EXPECT_EQ(watcher.nStarted, 1u);
}

TEST_F(Billboard, TheStartsOwnResultIsNotLookedAt)
{
    OpenTheBillboard();
    m_machine.Faults().FailNext("IWinUsb::ControlTransfer", 31);
    m_machine.Faults().FailNext("IWinUsb::TransferResult", 995);
    EXPECT_EQ(m_cmd.KyBBPD_VdCmdEnable(1), 0);
    EXPECT_EQ(m_machine.Faults().Pending(), 0u);
    EXPECT_THAT(m_log.Lines(), Contains("3" + kSend + "Send FAIL,Last Error Code is 3e3\n"));
}

TEST_F(Billboard, OnlyTheLowWordOfALengthTravels)
{
    OpenTheBillboard();
    std::vector<BYTE> vBuf(0x10004, 0x11);
    EXPECT_NE(m_cmd.KyBBPD_SendVDCmd(0xC0, 0xD8, 0, 0, vBuf.data(), 0x10004, 1000), 0);
    EXPECT_THAT(m_device.requests, ElementsAre("C0/D8 v=0000 i=0000 len=4"));
}

TEST(BillboardModel, IsUpdatedThroughItsCommands)
{
    CSimMachine machine;
    SetCurrentPlatform(&machine);
    CSimBillboard model(machine.Time());
    DeviceNodeOptions options;
    options.devInst = kInst;
    options.bWinUsb = true;
    machine.Tree().AddDevice(machine.RootHub(), 1, options, &model);
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    ASSERT_NE(cmd.KyBBPD_OpenBillBoardDevice(kInst), 0);
    BYTE status[20] = {};
    EXPECT_NE(cmd.KyBBPD_GetICStatus(status, 20), 0);
    EXPECT_NE(cmd.KyBBPD_VdCmdEnable(1), 0);
    BYTE flash[256];
    EXPECT_NE(cmd.KyBBPD_ReadFlash2(0x20000, flash, sizeof flash), 0);
    EXPECT_EQ(flash[0], 0xFF) << "an empty bank";
    EXPECT_EQ(cmd.KyBBPD_CloseBillBoardDevice(), 1);
    SetCurrentPlatform(nullptr);
}
} // namespace
