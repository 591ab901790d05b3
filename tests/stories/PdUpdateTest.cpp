#include "dev/CI2CPdDev.h"
#include "sim/models/CSimPd.h"
#include "stories/StoryHost.h"

using testing::ElementsAre;

namespace
{
constexpr BYTE kFirstAddr = 0x42;
constexpr BYTE kSecondAddr = 0x66;

/// Hosts that update PD controllers behind a hub.
class PdHost : public StoryTest
{
protected:
    void SetUp() override
    {
        m_hub = AddHub(1);
        m_hub.pChip->AttachI2cTarget(kFirstAddr, &m_first);
        m_hub.pChip->AttachI2cTarget(kSecondAddr, &m_second);
        m_first.LoadImage(m_oldPd);
        m_second.LoadImage(m_oldPd);
        Offer("pd.bin", m_newPd);
        ASSERT_TRUE(XH_InitDevice(false));
    }

    /// One device at an address, with its hub as master, attached to the hub's finder.
    struct PdJob
    {
        PdJob(const StoryHub& hub, BYTE byAddr) : master(hub.Path())
        {
            dev.SetMaster(master.pDev.get());
            dev.SetSlaveAddr(byAddr);
            master.finder.Attach(&dev);
            flow.reset(GetUniversalFlow(&master.finder, &dev));
            (void)master.pFlow->ConnectDevice(10);
        }
        PdJob(const PdJob&) = delete;
        PdJob& operator=(const PdJob&) = delete;
        ~PdJob() { master.finder.Detach(&dev); }
        bool Update() { return flow->InitFwFinder("pd.bin") && flow->DevUpdate(); }

        HubJob master;
        CI2CPdDev dev;
        std::unique_ptr<CUniversalFlow> flow;
    };

    USHORT VersionAt(BYTE byAddr)
    {
        PdJob job(m_hub, byAddr);
        USHORT wVersion = 0x7777;
        (void)job.flow->DevReadVersion(wVersion);
        return wVersion;
    }

    const Image m_oldPd = CSimImage(0x8000).Version(0x0111).Seed(3).Build();
    const Image m_newPd = CSimImage(0x8345).Version(0x0222).Seed(4).Build();
    CSimPd m_first{m_machine.Time()};
    CSimPd m_second{m_machine.Time()};
    StoryHub m_hub;
};

TEST_F(PdHost, UpdatesOneOfTwoControllersAndItsHubKeepsRunning)
{
    EXPECT_EQ(VersionAt(kFirstAddr), 0x0111);
    {
        PdJob job(m_hub, kFirstAddr);
        CHostView view;
        EXPECT_TRUE(job.Update());
        EXPECT_EQ(view.m_progress.front(), 0);
        EXPECT_EQ(view.m_progress.back(), 100);
        EXPECT_TRUE(std::is_sorted(view.m_progress.begin(), view.m_progress.end()));
    }
    EXPECT_EQ(VersionAt(kFirstAddr), 0x0222);
    EXPECT_TRUE(m_first.Runs(m_newPd));
    EXPECT_EQ(m_first.Banks().ActiveBank(), 1u);
    EXPECT_TRUE(m_second.Runs(m_oldPd));
    EXPECT_TRUE(m_hub.pChip->Runs(m_old));
    EXPECT_EQ(m_first.Misuse().Text() + m_second.Misuse().Text() + m_hub.pChip->Misuse().Text(),
              "");
    XH_UnInitDevice();
    EXPECT_EQ(m_machine.Handles().Describe(), "");
}

TEST_F(PdHost, AnAddressWhereNobodyAnswersFailsAndTouchesNobody)
{
    PdJob job(m_hub, 0x50);
    ASSERT_TRUE(job.flow->InitFwFinder("pd.bin"));
    EXPECT_FALSE(job.flow->DevUpdate());
    EXPECT_EQ(m_first.FlashOperations() + m_second.FlashOperations(), 0u);
}

TEST_F(PdHost, AnErasedControllerIsErasedInItsOwnRom)
{
    {
        PdJob job(m_hub, kFirstAddr);
        CHostView view;
        EXPECT_TRUE(job.flow->DevErase());
        EXPECT_THAT(view.m_results, ElementsAre("1 Erase flash success\n"));
    }
    EXPECT_THAT(m_first.Banks().Bank(0), testing::Each(0xFF));
    EXPECT_TRUE(m_second.Runs(m_oldPd));

    EXPECT_TRUE(PdJob(m_hub, kFirstAddr).Update());
    m_machine.Time().Advance(1'000'000);
    EXPECT_TRUE(m_first.Runs(m_newPd));
}
} // namespace
