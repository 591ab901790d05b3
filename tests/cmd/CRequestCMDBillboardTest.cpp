#include <gmock/gmock.h>

#include "cmd/CRequestCMD.h"
#include "sim/machine/CSimMachine.h"
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

    CSimNode& TheBillboard() { return Device(5, kInst, kPid, WTEXT("Billboard Device")); }

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
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(kInst), 0) << "not there yet";
    TheBillboard();
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(kInst), 0);
    EXPECT_THAT(m_machine.Handles().OpenOf("device"), ElementsAre(testing::HasSubstr("pid_9001")));
}

TEST_F(Billboard, WithLettersInItsIdsIsNotFound)
{
    // Deliberate: lower-case digits are looked for, and the system's are in upper case.
    CSimNode& node = Device(1, kInst, 0xBB01, WTEXT("Billboard Device"));
    EXPECT_EQ(m_cmd.KyBBPD_OpenBillBoardDevice(0xBB01, kVid), 0);
    EXPECT_EQ(m_log.Lines().back(), "3" + kOpen + "SetupDiEnumDeviceInfo FAIL,Index is 1\n");
    node.Traits().hardwareIds = {WTEXT("USB\\VID_5678&PID_bb01")};
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(0xBB01, kVid), 0);
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

TEST_F(Billboard, ATextBeyond256CharactersMovesTheSearchOn)
{
    const WString strLong(256, WTEXT('x')); // one more with its end
    Device(1, 7, kPid, strLong.c_str());
    TheBillboard();
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid), 0);
    EXPECT_EQ(m_log.Lines()[1],
              "3" + kOpen + "SetupDiGetDeviceRegistryProperty Get DeviceDESC FAIL\n");
}

TEST_F(Billboard, ANewOpenReplacesTheOld)
{
    OpenTheBillboard();
    EXPECT_NE(m_cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid), 0);
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

const std::pair<const char*, int (*)(CRequestCMD& cmd, BYTE* pBuf)> kCommands[] = {
    {"40/C8 v=7EF0 i=0002 len=2",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_WriteFlash2(0x00027EF0, p, 2); }},
    {"C0/D8 v=5678 i=1234 len=16",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_ReadFlash2(0x12345678, p, 16); }},
    {"40/E8 v=0000 i=0002 len=0",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_EraseFlash2(0x20000, 9000); }},
    {"C0/0C v=0000 i=0000 len=20",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_GetICStatus(p, 20); }},
    {"40/D9 v=0007 i=0000 len=0", [](CRequestCMD& c, BYTE*) { return c.KyBBPD_ISPValidation(7); }},
    {"40/02 v=0003 i=0A7C len=0", [](CRequestCMD& c, BYTE*) { return c.KyBBPD_VdCmdEnable(3); }},
    {"40/E9 v=4422 i=0000 len=0",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_ResetToFlash(0x1122, 0x3344); }},
    {"40/00 v=0102 i=0000 len=0",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_ResetToRom(0x0102); }},
    {"40/00 v=0102 i=0304 len=0",
     [](CRequestCMD& c, BYTE*) { return c.KyBBPD_ResetToRom(0x0102, 0x0304); }},
    {"C0/F4 v=0003 i=0000 len=1",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_CheckCodeCRCValid(3, 0, 0x20000, p); }},
    {"C0/F4 v=0103 i=0000 len=1",
     [](CRequestCMD& c, BYTE* p) { return c.KyBBPD_CheckCodeCRCValid(3, 0x20000, 0x20000, p); }},
};

TEST_F(Billboard, EveryCommandIsOneRequestThatFailsWithTheDevice)
{
    OpenTheBillboard();
    for (const auto& [pszRequest, pfnSend] : kCommands) {
        m_device.requests.clear();
        m_device.dwError = 0;
        EXPECT_NE(pfnSend(m_cmd, m_buf), 0) << pszRequest;
        EXPECT_THAT(m_device.requests, ElementsAre(pszRequest));
        m_device.dwError = 31;
        EXPECT_EQ(pfnSend(m_cmd, m_buf), 0) << pszRequest;
    }
}

TEST_F(Billboard, ChecksNothingButWholeBanks)
{
    OpenTheBillboard();
    for (const DWORD dwAddr : {0x10000u, 0x20001u, 0x40000u})
        EXPECT_EQ(m_cmd.KyBBPD_CheckCodeCRCValid(0, dwAddr, 0x20000, m_buf), 0);
    for (const DWORD dwLength : {0x1FFFFu, 0x20001u, 0u})
        EXPECT_EQ(m_cmd.KyBBPD_CheckCodeCRCValid(0, 0x20000, dwLength, m_buf), 0);
    EXPECT_THAT(m_device.requests, IsEmpty());
}

TEST_F(Billboard, WaitsTenSecondsAtMostForATransferThatGoesOn)
{
    OpenTheBillboard();
    m_device.takes = 20'000'000;
    EXPECT_EQ(m_cmd.KyBBPD_EraseFlash2(0, 30000), 0);
    EXPECT_EQ(m_log.Lines()[m_log.Lines().size() - 2],
              "3" + kSend + "Send FAIL,Last Error Code is 102\n");
    m_log.Clear();
    m_device.takes = 100;
    EXPECT_NE(m_cmd.KyBBPD_EraseFlash2(0, 10000), 0);
    EXPECT_THAT(m_log.Lines(), Not(Contains("1" + kSend + "Timeout > 10s,Set Timeout = 10 s \n")));
}

/// Looks how many transfers were started by the time that the time-out's cut is reported.
class CCutWatcher : public CMessageLog
{
public:
    explicit CCutWatcher(CSimMachine& machine) : m_machine(machine) {}
    void ShowMsg(const char* pszText, ERRORLEVEL /*eLevel*/) override
    {
        if (std::string(pszText).find("Timeout > 10s") != std::string::npos)
            nStarted = m_machine.Faults().Calls("IWinUsb::ControlTransfer");
    }

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
} // namespace
