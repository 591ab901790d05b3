#include "dev/CI2CPdDev.h"

#include "dev/CHubDev.h"
#include "dev/DevFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

class CI2CPdDevTestAccess
{
public:
    static bool WriteUnits(CI2CPdDev& dev, DWORD dwAddr, const Bytes& v)
    {
        return dev.WriteFlashUnit(dwAddr, v.data(), static_cast<DWORD>(v.size()));
    }
    static bool ReadUnits(CI2CPdDev& dev, DWORD dwAddr, Bytes& v)
    {
        return dev.ReadFlashUnit(dwAddr, v.data(), static_cast<DWORD>(v.size()));
    }
};

namespace
{
constexpr BYTE kSlave = 0x42;

class COpenPd : public CI2CPdDev
{
public:
    void SetFlashAddr(DWORD dwAddr) { m_dwFlashAddr = dwAddr; }
    DWORD FlashAddr() const { return m_dwFlashAddr; }
};

/// A command to the controller, as its master sends it.
Request Out(BYTE byCommand, USHORT wOffset, const Bytes& vData, DWORD dwTimeoutMs = 5000)
{
    Bytes sent = {static_cast<BYTE>(wOffset), static_cast<BYTE>(wOffset >> 8),
                  static_cast<BYTE>(vData.size())};
    sent.insert(sent.end(), vData.begin(), vData.end());
    return Sends(0xDC, static_cast<USHORT>(byCommand << 8 | kSlave), 0, sent, dwTimeoutMs);
}

Request In(BYTE byCommand, USHORT wOffset, DWORD cb)
{
    return {0xC0, 0xEC, static_cast<USHORT>(byCommand << 8 | kSlave), wOffset, cb};
}

const Request kEnable1 = Out(0x01, 0x0A7C, {1});
const Request kEnable3 = Out(0x01, 0x0A7C, {1, 0, 0});
const Request kStatus = In(0x3A, 0, 20);
const Request kIsp = Out(0x16, 1, {}, 30000);

class PdDevTest : public FixtureOf<COpenPd>
{
protected:
    PdDevTest()
    {
        m_dev.SetMaster(&m_hub);
        m_dev.SetSlaveAddr(kSlave);
        Anew();
    }

    void StatusWith(const std::map<std::size_t, BYTE>& bytes)
    {
        Bytes status(20);
        for (const auto& [at, by] : bytes)
            status[at] = by;
        m_transport.AnswersBlock(0x3A, status);
    }

    CHubDev m_hub;
};

TEST_F(PdDevTest, WithoutAMasterNothingIsReached)
{
    m_dev.SetMaster(nullptr);
    BYTE byData = 0;
    EXPECT_EQ(m_dev.BlockOutTrans({kSlave}, 1, 0, &byData, 1, 1), 0xFFFFFFFFu);
    EXPECT_EQ(m_dev.BlockInTrans({kSlave}, 1, 0, &byData, 1, 1), 0xFFFFFFFFu);
    EXPECT_FALSE(m_dev.MP_GetICStatus(&byData, 1));
    EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(PdDevTest, EveryCommandIsOneBlockTransfer)
{
    const std::tuple<const char*, bool (*)(COpenPd&), Request> commands[] = {
        {"Enable", [](COpenPd& d) { return d.MP_Vdcmdenable(1); }, kEnable1},
        {"EnableWithoutData", [](COpenPd& d) { return d.MP_Vdcmdenable(0); }, Out(1, 0x0A7C, {})},
        {"EnableOverLong", [](COpenPd& d) { return d.MP_Vdcmdenable(10); },
         Out(1, 0x0A7C, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0})},
        {"Erase", [](COpenPd& d) { return d.MP_EraseFlash(2); }, Out(3, 0x0A7C, {1, 0}, 30000)},
        {"Validate", [](COpenPd& d) { return d.MP_ISPValidation(0x7B); },
         Out(0x16, 0x7B, {}, 30000)},
        {"ToRom", [](COpenPd& d) { return d.Reset2RomEx(); }, Out(2, 0x0A7C, {1}, 10000)},
        {"ToFlash", [](COpenPd& d) { return d.Reset2FlashEx(); }, Out(5, 0x0A7C, {1}, 100)},
        {"ByPassModeOfTheHubsSub",
         [](COpenPd& d) { return d.MP_SetByPassMode(0x11, 0x22); },
         {0x40, 0x0F, 0x2211, 0}},
        {"Status",
         [](COpenPd& d) {
             BYTE status[5];
             return d.MP_GetICStatus(status, 5);
         },
         In(0x3A, 0, 5)},
    };
    for (const auto& [pszName, pfnDo, request] : commands) {
        SCOPED_TRACE(pszName);
        Anew();
        m_transport.m_fails.clear();
        EXPECT_TRUE(pfnDo(m_dev));
        EXPECT_THAT(Sent(), ElementsAre(request));
        m_transport.m_fails = {{1, 31}};
        EXPECT_FALSE(pfnDo(m_dev));
    }
    Anew();
    EXPECT_FALSE(m_dev.MP_Vdcmdenable(0xFF)) << "more than a block holds";
    EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(PdDevTest, ResetsLeadToWaiting)
{
    Enter(FLASH_STATE);
    EXPECT_TRUE(m_dev.Reset2RomEx());
    EXPECT_TRUE(IsIn(WAIT_STATE));

    Enter(ROM_STATE);
    EXPECT_TRUE(m_dev.Reset2FlashEx());
    EXPECT_TRUE(IsIn(WAIT_STATE));
    EXPECT_TRUE(m_dev.IsNeedReset());

    Enter(FLASH_STATE);
    m_transport.m_fails = {{2, 31}, {3, 31}};
    EXPECT_FALSE(m_dev.Reset2RomEx());
    EXPECT_FALSE(m_dev.Reset2FlashEx());
    EXPECT_TRUE(IsIn(FLASH_STATE));
}

TEST_F(PdDevTest, AnUnreadableStatusLeavesTheBankThatWasChosen)
{
    m_dev.SetFlashAddr(0x20000);
    m_transport.m_fails = {{0, 31}};
    EXPECT_FALSE(m_dev.IsDualBank());
    EXPECT_EQ(m_dev.FlashAddr(), 0x20000u);
}

TEST_F(PdDevTest, ReadsTheVersionAndErasesAfterAnEnable)
{
    StatusWith({{3, 0x12}, {4, 0x34}});
    USHORT wVersion = 0;
    EXPECT_TRUE(m_dev.DevReadVersionEx(wVersion));
    EXPECT_EQ(wVersion, 0x1234);
    EXPECT_TRUE(m_dev.DevEraseEx());
    EXPECT_THAT(Sent(), ElementsAre(kEnable1, kStatus, kEnable1, Out(3, 0x0A7C, {}, 30000)));

    for (const std::size_t nFail : {0u, 1u}) {
        m_transport.m_fails = {{nFail, 31}};
        Anew();
        EXPECT_FALSE(m_dev.DevReadVersionEx(wVersion = 0x7777));
        EXPECT_EQ(wVersion, 0x7777);
        EXPECT_EQ(Sent().size(), nFail + 1);
        Anew();
        EXPECT_FALSE(m_dev.DevEraseEx());
        EXPECT_EQ(Sent().size(), nFail + 1);
    }
}

TEST_F(PdDevTest, ArrivesAndGoesLikeAHub)
{
    EXPECT_TRUE(m_dev.Arrive(44, 7));
    EXPECT_TRUE(m_dev.IsMeEx(44));
    EXPECT_TRUE(IsIn(UNKNOWN_STATE));
    EXPECT_THAT(m_reports.Lines(), IsEmpty()); // arrivals do not log

    EXPECT_TRUE(m_dev.Remove());
    EXPECT_THAT(m_transport.m_ssTurnedOn, ElementsAre(44));
    EXPECT_FALSE(m_dev.IsMeEx(44));
    EXPECT_TRUE(m_dev.Remove());
    EXPECT_THAT(m_transport.m_ssTurnedOn, ElementsAre(44));
}

TEST_F(PdDevTest, TheImagesVersionIsInOnePlace)
{
    Bytes image(0x7EFB);
    USHORT wVersion = 0;
    image[0x7EF9] = 0x56;
    image[0x7EFA] = 0x78;
    m_dev.SetFwBuf(image);
    for (const int nWhich : {0, 1, 2}) {
        wVersion = 0;
        EXPECT_TRUE(m_dev.DevReadBINVersion(wVersion, nWhich));
        EXPECT_EQ(wVersion, 0x5678);
    }
    for (const std::size_t cb : {0u, 0x7EFAu}) {
        image.resize(cb);
        m_dev.SetFwBuf(image);
        EXPECT_FALSE(m_dev.DevReadBINVersion(wVersion, 1));
    }
    EXPECT_EQ(wVersion, 0x5678);
}

TEST_F(PdDevTest, TheSegmentChoosesTheFlashCommand)
{
    const std::tuple<DWORD, BYTE, BYTE> segments[] = {
        {0, 0x04, 0x24},       {0xFFFF, 0x04, 0x24},  {0x10000, 0x06, 0x26}, {0x1FFFF, 0x06, 0x26},
        {0x20000, 0x13, 0x33}, {0x2FFFF, 0x13, 0x33}, {0x30000, 0x14, 0x34}, {0x51234, 0x14, 0x34}};
    for (const auto& [dwAddr, byWrite, byRead] : segments) {
        Bytes data(1);
        Anew();
        EXPECT_TRUE(CI2CPdDevTestAccess::WriteUnits(m_dev, dwAddr, data));
        EXPECT_TRUE(CI2CPdDevTestAccess::ReadUnits(m_dev, dwAddr, data));
        const auto wOffset = static_cast<USHORT>(dwAddr);
        EXPECT_THAT(Sent(), ElementsAre(Out(byWrite, wOffset, {0}, 20000), In(byRead, wOffset, 1)));
    }
}

TEST_F(PdDevTest, OneCallKeepsItsFlashCommandOverTheSegmentsEnd)
{
    Bytes data = Pattern(40);
    EXPECT_TRUE(CI2CPdDevTestAccess::WriteUnits(m_dev, 0x1FFF0, data));
    EXPECT_TRUE(CI2CPdDevTestAccess::ReadUnits(m_dev, 0x1FFF0, data));
    EXPECT_THAT(Sent(), ElementsAre(Out(0x06, 0xFFF0, Pattern(29), 20000),
                                    Out(0x06, 0x000D, Cut(Pattern(40), 29, 11), 20000),
                                    In(0x26, 0xFFF0, 31), In(0x26, 0x000F, 9)));
}

/// The requests that write an image to an address: blocks of 256 bytes in units of 29.
Requests WriteOf(const Bytes& image, BYTE byCommand, DWORD dwAddr)
{
    Requests requests = {kEnable3};
    for (std::size_t block = 0; block < image.size(); block += 256) {
        const std::size_t cbBlock = std::min<std::size_t>(256, image.size() - block);
        for (std::size_t at = 0; at < cbBlock; at += 29)
            requests.push_back(Out(byCommand, static_cast<USHORT>(dwAddr + block + at),
                                   Cut(image, block + at, std::min<std::size_t>(29, cbBlock - at)),
                                   20000));
    }
    return requests;
}

TEST_F(PdDevTest, WritesInBlocksAndShowsHowFarItIs)
{
    const std::pair<std::size_t, std::vector<std::string>> cases[] = {
        {0, {}}, {200, {}}, {300, {"progress|30"}}, {512, {"progress|30", "progress|50"}}};
    m_dev.SetFlashAddr(0x20000);
    for (const auto& [cb, progress] : cases) {
        SCOPED_TRACE(testing::Message() << cb << " bytes");
        const Bytes image = Pattern(cb);
        Anew();
        EXPECT_TRUE(m_dev.WriteFlashEx(image));
        EXPECT_EQ(Sent(), WriteOf(image, 0x13, 0x20000));
        EXPECT_EQ(m_reports.Of("progress"), progress);
    }
}

TEST_F(PdDevTest, AWriteEndsAtTheFirstFailingUnit)
{
    const Bytes image = Pattern(300); // enable, 9 units of the block, 2 of the rest
    for (std::size_t nFail = 0; nFail < 12; ++nFail) {
        SCOPED_TRACE(testing::Message() << "request " << nFail);
        Anew();
        m_transport.m_fails = {{nFail, 31}};
        EXPECT_EQ(m_dev.WriteFlashEx(image), nFail == 0);
        EXPECT_EQ(Sent().size(), nFail == 0 ? 12u : nFail + 1);
    }
    Anew();
    m_transport.m_fails = {{0, 31}};
    EXPECT_FALSE(m_dev.WriteFlashEx({}));
}

TEST_F(PdDevTest, ReadsAsMuchAsTheFirmwareBufferHolds)
{
    m_transport.AnswersBlock(0x33, Pattern(31));
    m_dev.SetFlashAddr(0x20000);
    m_dev.SetFwBuf(Bytes(300));
    Bytes vOut(1); // too short: it is grown

    EXPECT_TRUE(m_dev.ReadFlashEx(vOut));

    ASSERT_EQ(Sent().size(), 11u); // 9 units and 2
    EXPECT_EQ(Sent()[8], In(0x33, 248, 8));
    EXPECT_EQ(Sent()[9], In(0x33, 256, 31));
    EXPECT_EQ(Sent()[10], In(0x33, 287, 13));
    EXPECT_EQ(Cut(vOut, 287, 13), Pattern(13));
    EXPECT_TRUE(m_reports.Has("0|CI2CPdDev::ReadFlashEx|dwlen%LEN_RW_UNIT == 44 \n"));

    for (std::size_t nFail = 0; nFail < 11; ++nFail) {
        Anew();
        m_transport.m_fails = {{nFail, 31}};
        EXPECT_FALSE(m_dev.ReadFlashEx(vOut));
        EXPECT_EQ(Sent().size(), nFail + 1);
    }
    m_dev.SetFwBuf({});
    EXPECT_TRUE(m_dev.ReadFlashEx(vOut));
}

using Status = std::map<std::size_t, BYTE>;
using Fails = std::map<std::size_t, DWORD>;

TEST_F(PdDevTest, ChecksByTheMeansThatTheControllerOffers)
{
    const Request kCrc = In(0x35, 0x100, 1);
    const Request kMark = Out(0x04, 0x7EF0, {0, 0}, 20000);
    const Request kRead = In(0x33, 0, 4);
    const Requests validated = {kStatus, kEnable1, kIsp};
    const std::tuple<const char*, bool, BYTE, Status, Fails, Requests> cases[] = {
        {"validated", true, 0, {{0, 1}, {13, 0x08}}, {}, validated},
        {"enable fails", true, 0, {{0, 1}, {13, 0x08}}, {{1, 31}}, validated},
        {"validation fails", false, 2, {{0, 1}, {13, 0x0C}}, {{2, 31}}, validated},
        {"runs ROM code", true, 2, {{13, 0x0C}}, {}, {kStatus, kCrc, kMark}},
        {"CRC bad", false, 1, {{0, 1}, {13, 0x04}}, {}, {kStatus, kCrc}},
        {"reads back", true, 0, {{0, 1}, {13, 0xF3}}, {}, {kStatus, kRead}},
        {"reading back fails", false, 0, {}, {{1, 31}}, {kStatus, kRead}},
        {"unknown what it offers", true, 2, {{13, 0x0C}}, {{0, 31}}, {kStatus, kRead}},
    };
    m_dev.SetFlashAddr(0x20000);
    m_dev.SetFwBuf(Bytes(4, 0xA5));
    for (const auto& [pszCase, bResult, byCrc, status, fails, requests] : cases) {
        SCOPED_TRACE(pszCase);
        Anew();
        StatusWith(status);
        m_transport.AnswersBlock(0x35, {byCrc});
        m_transport.m_fails = fails;

        EXPECT_EQ(m_dev.CheckFlashInFlash(), bResult);
        EXPECT_EQ(Sent(), requests);
    }
    Anew(); // in bank 0
    m_transport.m_fails.clear();
    m_dev.SetFlashAddr(0);
    m_transport.AnswersBlock(0x35, {2});
    EXPECT_TRUE(m_dev.MP_CheckCRC());
    EXPECT_THAT(Sent(), ElementsAre(In(0x35, 0, 1), Out(0x13, 0x7EF0, {0, 0}, 20000)));
}

} // namespace
