#include "dev/CUSBDev.h"

#include "dev/CHubDev.h"
#include "dev/DevFixture.h"
#include "wire/HubRequests.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

/// Reaches the operations that nothing in the update path calls.
class CUSBDevTestAccess
{
public:
    static bool WriteUnits(CUSBDev& dev, DWORD dwAddr, Bytes& v)
    {
        return dev.WriteFlashUnit(dwAddr, v.data(), static_cast<DWORD>(v.size()));
    }
    static bool ReadUnits(CUSBDev& dev, DWORD dwAddr, Bytes& v)
    {
        return dev.ReadFlashUnit(dwAddr, v.data(), static_cast<DWORD>(v.size()));
    }
};

namespace
{
const Request kEnable1 = {0x40, 0x02, 1, 0x0A7C};
const Request kEnable3 = {0x40, 0x02, 3, 0x0A7C};
const Request kStatus = {0xC0, 0x09, 0, 0, 20};
const Request kIsp = {0x40, 0xD9, 1, 0, 0, 50000};

/// A hub device whose code area can be moved.
class COpenHub : public CHubDev
{
public:
    void SetFlashAddr(DWORD dwAddr) { m_dwFlashAddr = dwAddr; }
    DWORD OldSS() const { return dwOldSSValue; }
};

class HubDevTest : public FixtureOf<COpenHub>
{
protected:
    HubDevTest() { Anew(); }

    /// The next status reads give zeros with one byte set.
    void StatusWith(std::size_t at, BYTE by)
    {
        Bytes status(20);
        status[at] = by;
        m_transport.Answers(REQ_STATUS, status);
    }
};

TEST_F(HubDevTest, NoResetWhereNoneIsNeeded)
{
    class CContent : public CHubDev
    {
        bool IsNeedReset() override { return false; }
    } content;
    EXPECT_FALSE(content.Reset2RomEx());
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_TRUE(m_dev.IsNeedReset());
}

TEST_F(HubDevTest, ReadsBankAndCodeFromItsStatus)
{
    const std::tuple<std::size_t, BYTE, bool, bool> cases[] = {
        {7, 0x80, true, true},   {7, 0x7F, false, true},  {15, 0x02, false, false},
        {15, 0xFD, false, true}, {14, 0xFF, false, true}, {8, 0xFF, false, true}};
    for (const auto& [at, by, bDual, bRom] : cases) {
        SCOPED_TRACE(testing::Message() << "byte " << at << " = " << unsigned{by});
        StatusWith(at, by);
        Anew();
        EXPECT_EQ(m_dev.IsDualBank(), bDual);
        EXPECT_EQ(m_dev.IsRomCode(), bRom);
        EXPECT_THAT(Sent(), ElementsAre(kStatus, kStatus));
    }
    Anew();
    m_transport.m_fails = {{0, 31}, {1, 31}};
    EXPECT_FALSE(m_dev.IsDualBank() || m_dev.IsRomCode()) << "not even zeros";
}

TEST_F(HubDevTest, ReadsTheRunningVersionAfterAnEnable)
{
    Bytes status(20, 0xEE);
    status[10] = 0x12;
    status[11] = 0x34;
    m_transport.Answers(REQ_STATUS, status);
    USHORT wVersion = 0;
    EXPECT_TRUE(m_dev.DevReadVersionEx(wVersion));
    EXPECT_EQ(wVersion, 0x1234);
    EXPECT_THAT(Sent(), ElementsAre(kEnable1, kStatus));
    for (const std::size_t nFail : {0u, 1u}) {
        Anew();
        m_transport.m_fails = {{nFail, 121}};
        EXPECT_FALSE(m_dev.DevReadVersionEx(wVersion = 0x7777));
        EXPECT_EQ(wVersion, 0x7777);
        EXPECT_EQ(Sent().size(), nFail + 1);
    }
}

TEST_F(HubDevTest, ErasesAfterUnlockingTheFlash)
{
    m_transport.Answers(REQ_READ_MEM, {0x50});
    const Requests kErase = {kEnable1,
                             Sends(0x0E, 0, 0xD820, {0x01}),
                             Sends(0x0E, 0, 0xD825, {0x00, 0x01, 0x00, 0x00}),
                             Sends(0x0E, 0, 0xD900, {0x00}),
                             {0xC0, 0x0D, 0, 0xD800, 1},
                             Sends(0x0E, 0, 0xD800, {0x51}),
                             {0x40, 0xE8, 0, 0}};
    const auto before = m_machine.Time().Now();
    EXPECT_TRUE(m_dev.DevEraseEx());
    EXPECT_THAT(Sent(), ElementsAreArray(kErase));
    EXPECT_GE(m_machine.Time().Now() - before, 20'000u);
}

TEST_F(HubDevTest, AnEraseFailsOnlyWithItsEnableOrTheEraseItself)
{
    for (std::size_t nFail = 0; nFail < 7; ++nFail) {
        Anew();
        m_transport.m_fails = {{nFail, 31}};
        EXPECT_EQ(m_dev.DevEraseEx(), nFail != 0 && nFail != 6) << "request " << nFail;
        EXPECT_EQ(Sent().size(), nFail == 0 ? 1u : 7u);
        if (nFail == 4) { // an unreadable register counts as all ones
            EXPECT_EQ(Sent()[5].vSent, Bytes{0xFF});
        }
    }
}

/// The requests of a write: its enable, then every chunk twice.
Requests WriteOf(const Bytes& image, DWORD dwBase)
{
    Requests requests = {kEnable3};
    for (std::size_t at = 0; at < image.size(); at += 4096) {
        const DWORD dwAddr = dwBase + static_cast<DWORD>(at);
        const Request chunk =
            Sends(0xC8, static_cast<USHORT>(dwAddr), static_cast<USHORT>(dwAddr >> 16),
                  Cut(image, at, std::min<std::size_t>(4096, image.size() - at)));
        requests.insert(requests.end(), 2, chunk);
    }
    return requests;
}

TEST_F(HubDevTest, WritesInChunks)
{
    m_dev.SetFlashAddr(0x1F000);
    for (const std::size_t cb : {0u, 100u, 4096u, 5000u, 3 * 4096u + 1}) {
        SCOPED_TRACE(testing::Message() << cb << " bytes");
        const Bytes image = Pattern(cb);
        Anew();
        EXPECT_TRUE(m_dev.WriteFlashEx(image));
        EXPECT_EQ(Sent(), WriteOf(image, 0x1F000));
        EXPECT_EQ(m_reports.Of("progress").size(), cb / 4096) << "whole chunks only";
    }
}

TEST_F(HubDevTest, ProgressOfAWriteIsTwoFifthsOfItsPercent)
{
    const Bytes image = Pattern(100 * 4096);
    EXPECT_TRUE(m_dev.WriteFlashEx(image));
    const std::vector<std::string> progress = m_reports.Of("progress");
    ASSERT_EQ(progress.size(), 100u);
    for (int i = 0; i < 100; ++i) // the way the value is defined, for every percent
        EXPECT_EQ(progress[static_cast<std::size_t>(i)],
                  "progress|" + std::to_string(30 - static_cast<int>(i * -0.4)));
}

TEST_F(HubDevTest, AWriteEndsAtTheFirstChunkWhoseSecondSendingFails)
{
    const Bytes image = Pattern(2 * 4096 + 10);
    // 0: the enable; 1, 2 / 3, 4 / 5, 6: the chunks. The first sending's result is not looked at.
    for (std::size_t nFail = 0; nFail <= 6; ++nFail) {
        SCOPED_TRACE(testing::Message() << "request " << nFail);
        Anew();
        m_transport.m_fails = {{nFail, 31}};
        const bool bFails = nFail != 0 && nFail % 2 == 0;
        EXPECT_EQ(m_dev.WriteFlashEx(image), !bFails);
        EXPECT_EQ(Sent().size(), bFails ? nFail + 1 : 7u);
        // A whole chunk that fails is still shown; the rest's failure comes behind the 100 %.
        EXPECT_EQ(m_reports.Has("ui2|write flash complete 100%\n"), !bFails || nFail == 6);
        EXPECT_EQ(m_reports.Has("ui2|write flash complete 49%\r"), nFail != 2);
    }
    Anew();
    m_transport.m_fails = {{0, 31}};
    EXPECT_FALSE(m_dev.WriteFlashEx({})) << "nothing but the enable";
}

TEST_F(HubDevTest, ReadsAsMuchAsTheFirmwareBufferHolds)
{
    m_transport.m_flash = Pattern(0x20000);
    m_dev.SetFlashAddr(0xF000);
    m_dev.SetFwBuf(Bytes(4096 + 17));
    Bytes vOut(5); // too short: it is grown

    EXPECT_TRUE(m_dev.ReadFlashEx(vOut));

    EXPECT_THAT(Sent(), ElementsAre(Request{0xC0, 0xD8, 0xF000, 0, 4096},
                                    Request{0xC0, 0xD8, 0x0000, 1, 17}));
    EXPECT_EQ(vOut, Cut(m_transport.m_flash, 0xF000, 4096 + 17));

    for (const std::size_t nFail : {0u, 1u}) {
        Anew();
        m_transport.m_fails = {{nFail, 1167}};
        EXPECT_FALSE(m_dev.ReadFlashEx(vOut));
        EXPECT_EQ(Sent().size(), nFail + 1);
    }
    m_transport.m_fails.clear();
    m_dev.SetFlashAddr(0);
    m_dev.SetFwBuf(Bytes(3));
    vOut = Bytes(5, 0xCC); // longer: the rest is left alone
    EXPECT_TRUE(m_dev.ReadFlashEx(vOut));
    EXPECT_EQ(vOut, Bytes({0, 7, 14, 0xCC, 0xCC}));

    m_dev.SetFwBuf({});
    Anew();
    EXPECT_TRUE(m_dev.ReadFlashEx(vOut));
    EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(HubDevTest, ChecksByTheChipWhereItCanAndByComparingElse)
{
    using Fails = std::map<std::size_t, DWORD>;
    const std::tuple<const char*, bool, BYTE, Fails, Requests> cases[] = {
        {"chip says good", true, 0x02, {}, {kStatus, kIsp}},
        {"chip says bad", false, 0x02, {{1, 31}}, {kStatus, kIsp}},
        {"chip cannot", true, 0xFD, {}, {kStatus, {0xC0, 0xD8, 0, 0, 4}}},
        {"chip cannot, read fails", false, 0, {{1, 31}}, {kStatus, {0xC0, 0xD8, 0, 0, 4}}},
        {"unknown what it can", true, 0x02, {{0, 31}}, {kStatus, {0xC0, 0xD8, 0, 0, 4}}},
    };
    m_transport.m_flash = Bytes(4, 0xFF);
    m_dev.SetFwBuf(Bytes(4, 0xFF));
    for (const auto& [pszCase, bResult, byCan, fails, requests] : cases) {
        SCOPED_TRACE(pszCase);
        Anew();
        StatusWith(13, byCan);
        m_transport.m_fails = fails;
        EXPECT_EQ(m_dev.CheckFlashInFlash(), bResult);
        EXPECT_EQ(Sent(), requests);
    }
}

TEST_F(HubDevTest, ByPassModeAnswersTrueWhenItFailed)
{
    EXPECT_FALSE(m_dev.MP_SetByPassMode(0x11, 0x22));
    EXPECT_THAT(Sent(), ElementsAre(Request{0x40, 0x08, 0x2211, 0}));
    m_transport.m_fails = {{1, 31}};
    EXPECT_TRUE(m_dev.MP_SetByPassMode(0x11, 0x22));
}

TEST_F(HubDevTest, SendsBlocksOfAtMost61BytesAndZerosForNoData)
{
    Bytes data = Pattern(62);
    Bytes sent = {0x34, 0x12, 61};
    sent.insert(sent.end(), data.begin(), data.end() - 1);
    EXPECT_EQ(m_dev.BlockOutTrans({0x40}, 0xA5, 0x1234, data.data(), 61, 777), 0u);
    EXPECT_EQ(m_dev.BlockOutTrans({0x40}, 0xA5, 0x1234, nullptr, 2, 777), 0u);
    EXPECT_EQ(m_dev.BlockOutTrans({0x40}, 0xA5, 0x1234, data.data(), 62, 777), 87u);
    EXPECT_THAT(Sent(), ElementsAre(Sends(0xDC, 0xA540, 0, sent, 777),
                                    Sends(0xDC, 0xA540, 0, {0x34, 0x12, 2, 0, 0}, 777)));
    m_transport.m_fails = {{2, 121}, {3, 31}};
    EXPECT_EQ(m_dev.BlockOutTrans({0x41}, 0, 0, nullptr, 0, 1), 121u);
    EXPECT_EQ(m_dev.BlockInTrans({0x40}, 0x3A, 0, data.data(), 3, 888), 31u);
}

TEST_F(HubDevTest, I2cIsThreeSetupPackets)
{
    m_transport.Answers(REQ_I2C_READ, {5, 6});
    BYTE data[2] = {1, 2};
    EXPECT_EQ(m_dev.I2CConfigImpl(0xA1, 0xB2, 0x03), 1u);
    EXPECT_EQ(m_dev.I2CWriteImpl(0x12345678, data, 2), 1u);
    EXPECT_EQ(m_dev.I2CReadImpl(0x12345678, data, 2), 1u);
    EXPECT_THAT(Sent(), ElementsAre(Request{0x40, 0xF6, 0xA1B2, 0x8083, 0, 0},
                                    Sends(0xC6, 0x5678, 0x1234, {1, 2}, 0),
                                    Request{0xC0, 0xD6, 0x5678, 0x1234, 2, 0}));
    EXPECT_THAT(data, ElementsAre(5, 6));

    m_transport.m_fails = {{3, 31}, {4, 31}, {5, 31}};
    EXPECT_EQ(m_dev.I2CConfigImpl(0, 0, 0), 0u);
    EXPECT_EQ(m_dev.I2CWriteImpl(0, data, 2), 0u);
    EXPECT_EQ(m_dev.I2CReadImpl(0, data, 2), 0u);
}

TEST_F(HubDevTest, ArrivesAndKnowsItsNode)
{
    EXPECT_TRUE(m_dev.Arrive(0x1234, 0xFFFFFFFF));
    EXPECT_TRUE(m_dev.IsMeEx(0x1234));
    EXPECT_FALSE(m_dev.IsMeEx(0x1235));
    EXPECT_TRUE(IsIn(UNKNOWN_STATE));
    EXPECT_TRUE(m_dev.Arrive(0x99)); // keeps the saved value; the state has moved already
    EXPECT_EQ(m_dev.OldSS(), 0xFFFFFFFFu);
}

TEST_F(HubDevTest, RestoresSelectiveSuspendOnlyWhereItWasSwitchedOff)
{
    const std::pair<DWORD, DWORD> cases[] = {{44, 7}, {44, 0}, {0, 7}};
    for (const auto& [devInst, dwOldSS] : cases) {
        (void)m_dev.Arrive(devInst, dwOldSS);
        m_transport.m_ssTurnedOn.clear();
        Enter(WAIT_STATE);
        EXPECT_TRUE(m_dev.Remove());
        EXPECT_TRUE(IsIn(OFFLINE_STATE));
        EXPECT_EQ(m_transport.m_ssTurnedOn.size(), devInst != 0 && dwOldSS != 0 ? 1u : 0u);
        EXPECT_TRUE(m_dev.IsMeEx(0));
        EXPECT_EQ(m_dev.OldSS(), 0u);
    }
    Enter(FLASH_STATE);
    EXPECT_TRUE(m_dev.Remove());
    EXPECT_TRUE(IsIn(FLASH_STATE)) << "it came unasked";
}

TEST_F(HubDevTest, MatchesEverythingUntilItIsToldWhatToMatch)
{
    CSimNode& hub = m_machine.Tree().AddHub(m_machine.RootHub(), 2, {});
    const DWORD devInst = hub.DevInst();
    EXPECT_TRUE(m_dev.MatchDev(devInst));

    m_dev.SetDevID(1, 2);
    EXPECT_FALSE(m_dev.MatchDev(devInst));
    m_dev.AddDevID(0x1234, 0x5678); // (VID, PID)
    Anew();
    EXPECT_TRUE(m_dev.MatchDev(devInst));
    EXPECT_EQ(m_reports.Of("0|CVidPidMatch").size(), 1u) << "added once";
    WString strElsewhere = WTEXT("PCIROOT(9)#USBROOT(0)#USB(2)");
    m_dev.SetTopo(strElsewhere.data());
    EXPECT_FALSE(m_dev.MatchDev(devInst));
    m_dev.SetTopo(nullptr);
    m_dev.SetTopo(0, 5); // no topology
    EXPECT_TRUE(m_dev.MatchDev(devInst));

    m_dev.DeleteDevID(0x1234, 0x5678);
    Anew();
    EXPECT_FALSE(m_dev.MatchDev(devInst));
    EXPECT_EQ(m_reports.Of("").size(), 1u) << "the first no is enough";
}

TEST_F(HubDevTest, SmallUnitsIgnoreTheirAddress)
{
    m_dev.SetFlashAddr(0x100);
    Bytes data = Pattern(60);
    EXPECT_TRUE(CUSBDevTestAccess::WriteUnits(m_dev, 0x9999, data));
    const Request units[] = {Sends(0xC8, 0x100, 0, Cut(data, 0, 29)),
                             Sends(0xC8, 0x11D, 0, Cut(data, 29, 29)),
                             Sends(0xC8, 0x13A, 0, Cut(data, 58, 2))};
    EXPECT_THAT(Sent(), ElementsAre(units[0], units[0], units[1], units[1], units[2], units[2]));

    Anew();
    EXPECT_TRUE(CUSBDevTestAccess::ReadUnits(m_dev, 0x9999, data));
    EXPECT_THAT(Sent(),
                ElementsAre(Request{0xC0, 0xD8, 0x100, 0, 31}, Request{0xC0, 0xD8, 0x11F, 0, 29}));
    Anew();
    m_transport.m_fails = {{0, 31}};
    EXPECT_FALSE(CUSBDevTestAccess::ReadUnits(m_dev, 0, data));
    EXPECT_EQ(Sent().size(), 1u);
}
} // namespace
