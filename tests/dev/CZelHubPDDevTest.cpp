#include "dev/CZelHubPDDev.h"

#include "dev/CountingDev.h"
#include "dev/DevFixture.h"
#include "flow/CHubFwFinder.h"

using testing::ElementsAre;

namespace
{
class CommonDevTest : public FixtureOf<CCountingDev>
{
protected:
    CommonDevTest() { Anew(); }

    using Pair = std::pair<DWORD, DWORD>;

    std::vector<Pair> Ids()
    {
        std::vector<Pair> ids;
        Pair id;
        for (DWORD i = 0; m_dev.GetDevID(id.first, id.second, i); ++i)
            ids.push_back(id);
        return ids;
    }
};

TEST(BareDevice, SupportsNothing)
{
    IDev dev;
    DWORD dwFirst = 1;
    DWORD dwSecond = 2;
    USHORT wVersion = 3;
    BYTE byData = 0;

    EXPECT_FALSE(dev.GetDevID(dwFirst, dwSecond, 0));
    EXPECT_EQ(dev.GetLevel(), -1);
    EXPECT_EQ(dev.GetPort(), -1);
    EXPECT_FALSE(dev.ForceReset2Rom() || dev.Reset2Rom() || dev.Reset2Flash() || dev.WriteFlash() ||
                 dev.CheckFlash() || dev.DevReadVersion(wVersion) || dev.DevErase());
    EXPECT_FALSE(dev.IsPresent() || dev.IsAbsent() || dev.Arrive(1, 2) || dev.Arrive(1) ||
                 dev.Remove() || dev.IsMeEx(0) || dev.MatchDev(0));
    EXPECT_FALSE(dev.MP_SetByPassMode(0, 0) || dev.OpenHidDevice(0) ||
                 dev.DevReadBINVersion(wVersion, 1));
    EXPECT_TRUE(dev.InitDev(0));
    EXPECT_TRUE(dev.UnInitDev(0));
    EXPECT_EQ(dev.BlockOutTrans({0x20}, 1, 0, &byData, 1, 1), 0xFFFFFFFFu);
    EXPECT_EQ(dev.BlockInTrans({0x20}, 1, 0, &byData, 1, 1), 0xFFFFFFFFu);
    EXPECT_EQ(dev.I2CConfigImpl(0, 0, 0), 0u);
    EXPECT_EQ(dev.I2CWriteImpl(0, &byData, 1), 0u);
    EXPECT_EQ(dev.I2CReadImpl(0, &byData, 1), 0u);
    EXPECT_EQ(wVersion, 3);
}

TEST_F(CommonDevTest, GivesIdentifiersInTheRecordsOrderAndRemovesTheFirstEqualPair)
{
    m_dev.AddDevID(0x5678, 0x1234); // a host's (VID, PID)
    EXPECT_THAT(Ids(), ElementsAre(Pair(0x1234, 0x5678)));

    m_dev.AddDevID(1, 2);
    m_dev.AddDevID(0x5678, 0x1234);
    m_dev.DeleteDevID(0x1234, 0x5678); // never added that way round
    EXPECT_EQ(Ids().size(), 3u);
    m_dev.DeleteDevID(0x5678, 0x1234);
    EXPECT_THAT(Ids(), ElementsAre(Pair(2, 1), Pair(0x1234, 0x5678)));

    __DevMatchID id = {7, 8};
    m_dev.AttachDevMatchList(id);
    m_dev.AttachDevMatchList(id);
    m_dev.UnattachDevMatchList(id);
    EXPECT_THAT(Ids(), ElementsAre(Pair(2, 1), Pair(0x1234, 0x5678), Pair(7, 8)));

    DWORD dwFirst = 0xAA;
    DWORD dwSecond = 0xBB;
    EXPECT_FALSE(m_dev.GetDevID(dwFirst, dwSecond, 3));
    EXPECT_EQ(dwFirst, 0xAAu);
    EXPECT_EQ(dwSecond, 0xBBu);
}

TEST_F(CommonDevTest, AnUnknownStateValueHasNoState)
{
    EXPECT_EQ(m_dev.GetCertainDevState(static_cast<DEVSTATE>(9)), nullptr);
}

TEST_F(CommonDevTest, KeepsEarlierFirmwareFindersAlive)
{
    m_dev.InitFwFinder("no such file");
    IFwFinder* const pFirst = m_dev.GetFwFinder();
    ASSERT_NE(pFirst, nullptr);
    m_dev.InitFwFinder("another");

    EXPECT_NE(m_dev.GetFwFinder(), pFirst);
    Bytes vImage;
    EXPECT_FALSE(pFirst->LoadFwbin2Buf(vImage));
    EXPECT_TRUE(m_reports.Has("0|CHubFwFinder::LoadFwbin2Buf|Current fw path is no such "
                              "file.\n"));
}

TEST_F(CommonDevTest, ComparingOnlyEverTurnsAFailedReadIntoSuccess)
{
    const std::tuple<const char*, Bytes, Bytes, bool, bool> cases[] = {
        {"equal", {1, 2, 3}, {1, 2, 3}, true, true},
        {"different bytes pass", {1, 2, 3}, {1, 9, 3}, true, true},
        {"another length passes", {1, 2, 3}, {1}, true, true},
        {"failed read with equal bytes", {1, 2, 3}, {1, 2, 3}, false, true},
        {"failed read", {1, 2, 3}, {1, 2, 4}, false, false},
        {"nothing to compare", {}, {}, false, true},
    };
    m_dev.m_bOwnCompare = true;
    for (const auto& [pszCase, vImage, vFlash, bRead, bResult] : cases) {
        SCOPED_TRACE(pszCase);
        m_dev.SetFwBuf(vImage);
        m_dev.m_vFlash = vFlash;
        m_dev.m_bAnswer = bRead;
        EXPECT_EQ(m_dev.CheckFlashWithCmp(), bResult);
        EXPECT_EQ(m_dev.m_cbAsked, vImage.size());
    }
}
} // namespace
