#include "stories/StoryHost.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
/// Hosts that update hubs with the exported classes.
class UpdatingHost : public StoryTest
{
protected:
    void SetUp() override
    {
        Offer("new.bin", m_new);
        ASSERT_TRUE(XH_InitDevice(false));
    }

    static bool Update(const StoryHub& hub, const char* pszFile = "new.bin")
    {
        return HubJob(hub.Path()).Update(pszFile);
    }

    static USHORT VersionOf(const StoryHub& hub, USHORT wBefore = 0)
    {
        EXPECT_TRUE(HubJob(hub.Path()).pFlow->DevReadVersion(wBefore));
        return wBefore;
    }
};

TEST_F(UpdatingHost, SeesTheProgressAndTheNewVersion)
{
    const StoryHub hub = AddHub(1);
    EXPECT_EQ(VersionOf(hub), 0x0111);
    {
        CHostView view;
        HubJob job(hub.Path());
        USHORT wImage = 0;
        ASSERT_TRUE(job.pFlow->InitFwFinder("new.bin"));
        EXPECT_TRUE(job.pFlow->DevReadBINVersion(wImage, 1));
        EXPECT_EQ(wImage, 0x0222);

        EXPECT_TRUE(job.pFlow->DevUpdate());

        // 9 whole chunks of 4,096 bytes and a rest fill the range 30 to 70.
        EXPECT_THAT(view.m_progress,
                    ElementsAre(0, 10, 20, 30, 30, 34, 38, 43, 47, 52, 56, 60, 65, 70, 90, 100));
        EXPECT_THAT(view.m_results, IsEmpty());
        EXPECT_GE(view.m_nLongestCount, 9);
    }
    EXPECT_EQ(VersionOf(hub), 0x0222);
    EXPECT_TRUE(hub.pChip->Runs(m_new));
    EXPECT_EQ(hub.pChip->Misuse().Text(), "");
    XH_UnInitDevice();
    EXPECT_EQ(m_machine.Handles().Describe(), "");
}

TEST_F(UpdatingHost, TwoBanksAreUpdatedWithoutARestartIntoRom)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    const StoryHub hub = AddHub(1, settings);

    EXPECT_TRUE(Update(hub));

    EXPECT_TRUE(hub.pChip->Runs(m_new));
    EXPECT_EQ(hub.pChip->Banks().ActiveBank(), 1u);
    EXPECT_EQ(hub.pChip->Faults().Transfers(0x00), 0u); // no reset to ROM
    EXPECT_EQ(hub.pChip->Faults().Transfers(0xE8), 0u); // no erase
    const Image kept = hub.pChip->Banks().Bank(0);
    EXPECT_TRUE(std::equal(m_old.begin(), m_old.end(), kept.begin())); // a way back

    Offer("old.bin", m_old);
    EXPECT_TRUE(Update(hub, "old.bin"));
    EXPECT_TRUE(hub.pChip->Runs(m_old));
    EXPECT_EQ(hub.pChip->Misuse().Text(), "");
}

TEST_F(UpdatingHost, OneOfSeveralHubsIsUpdatedAndTheOthersAreLeftAlone)
{
    std::vector<StoryHub> hubs;
    for (unsigned nPort = 1; nPort <= 4; ++nPort)
        hubs.push_back(AddHub(nPort));

    EXPECT_TRUE(Update(hubs[2]));

    for (std::size_t i = 0; i < hubs.size(); ++i) {
        EXPECT_TRUE(hubs[i].pChip->Runs(i == 2 ? m_new : m_old)) << i;
        EXPECT_EQ(hubs[i].pChip->FlashOperations() != 0, i == 2) << i;
    }
    for (const StoryHub& hub : hubs)
        EXPECT_TRUE(Update(hub));
    for (const StoryHub& hub : hubs)
        EXPECT_TRUE(hub.pChip->Runs(m_new));
}

TEST_F(UpdatingHost, AHubBehindAHubIsFoundByItsPlace)
{
    const StoryHub outer = AddHub(1);
    const StoryHub inner = AddHub(4, {}, outer.pNode);

    EXPECT_TRUE(Update(inner));
    EXPECT_TRUE(inner.pChip->Runs(m_new));
    EXPECT_TRUE(outer.pChip->Runs(m_old));

    // The outer hub takes the inner one along while it restarts; both are back in the end.
    EXPECT_TRUE(Update(outer));
    EXPECT_TRUE(outer.pChip->Runs(m_new));
    EXPECT_EQ(VersionOf(inner), 0x0222);
}

TEST_F(UpdatingHost, AnErasedHubStaysInRomUntilItIsUpdated)
{
    const StoryHub hub = AddHub(1);
    {
        CHostView view;
        HubJob job(hub.Path());
        EXPECT_TRUE(job.pFlow->DevErase());
        EXPECT_THAT(view.m_progress, ElementsAre(0, 30, 100, 0));
        EXPECT_THAT(view.m_results, ElementsAre("1 Erase flash success\n"));
    }
    EXPECT_THAT(hub.pChip->Banks().Bank(0), Each(0xFF));
    hub.pChip->Unplug();
    hub.pChip->PowerUp();
    EXPECT_FALSE(hub.pChip->RunsFlash());
    EXPECT_EQ(VersionOf(hub, 0x7777), 0x7777); // answers true and leaves the version alone

    EXPECT_TRUE(Update(hub));
    EXPECT_TRUE(hub.pChip->Runs(m_new));
}

TEST_F(UpdatingHost, AnEraseOrUpdateWhoseHubStaysAwaySaysYesAndStopsShort)
{
    const StoryHub hub = AddHub(1);
    hub.pChip->SetReturn({50'000, 0, false, true});
    {
        CHostView view;
        EXPECT_TRUE(HubJob(hub.Path()).pFlow->DevErase());
        EXPECT_THAT(view.m_results, ElementsAre("1 Erase flash success\n"));
    }
    hub.pChip->PowerUp();
    {
        CHostView view;
        EXPECT_TRUE(Update(hub));
        EXPECT_THAT(view.m_progress, ElementsAre(0, 10, 20));
    }
    EXPECT_EQ(hub.pChip->FlashOperations(), 0u);
    EXPECT_FALSE(hub.pChip->IsOnBus());

    hub.pChip->SetReturn({});
    hub.pChip->PowerUp();
    EXPECT_TRUE(Update(hub));
    EXPECT_TRUE(hub.pChip->Runs(m_new));
}

TEST_F(UpdatingHost, FailsWithoutAHubAndWithoutAnImage)
{
    const StoryHub hub = AddHub(1);
    Offer("empty.bin", {});
    for (const char* pszFile : {"missing.bin", "empty.bin"})
        EXPECT_FALSE(HubJob(hub.Path()).pFlow->InitFwFinder(pszFile)) << pszFile;
    hub.pChip->Unplug();
    CHostView view;
    EXPECT_FALSE(Update(hub));
    EXPECT_THAT(view.m_progress, ElementsAre(0, 0));
    EXPECT_EQ(hub.pChip->FlashOperations(), 0u);
}
} // namespace
