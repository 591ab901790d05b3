#include "cmd/CRequestCMD.h"
#include "dev/CHubDev.h"
#include "dev/CI2CPdDev.h"
#include "find/CHubFind.h"
#include "flow/CUniversalFlow.h"
#include "sim/CSimHub.h"
#include "sim/CSimMachine.h"
#include "sim/CSimPd.h"
#include "transport/CPropertyEx.h"

#include <gtest/gtest.h>

namespace
{
constexpr BYTE kPdAddr = 0x66;

/// The library's own updates, judged by the models: what runs then, and what they resented.
class ModelsUnderTheLibrary : public testing::Test
{
protected:
    void Build(const SimHubSettings& hub, const SimPdSettings& pd = {}, unsigned nPdBank = 0)
    {
        m_pHub = std::make_unique<CSimHub>(m_machine.Time(), hub);
        m_pHub->LoadImage(m_old);
        m_pPd = std::make_unique<CSimPd>(m_machine.Time(), pd);
        m_pPd->LoadImage(m_old, nPdBank);
        m_pHub->AttachI2cTarget(kPdAddr, m_pPd.get());
        m_pHub->AddPort(&m_machine.Tree().AddHub(m_machine.RootHub(), 1, {}, m_pHub.get()));
        m_machine.InstallRunningDriver();
        SetCurrentPlatform(&m_machine);
        CRequestCMD::GetRequestObj()->XH_InitProxyDriver(&m_transport);
        m_finder.Attach(&m_hubDev);
    }
    void TearDown() override
    {
        m_finder.Detach(&m_hubDev);
        CRequestCMD::GetRequestObj()->XH_UnInitProxyDriver();
        SetCurrentPlatform(nullptr);
    }
    bool UpdateHub()
    {
        m_hubDev.SetFwBuf(m_new);
        return CUniversalFlow(&m_finder, &m_hubDev).DevUpdate();
    }
    bool UpdatePd()
    {
        CUniversalFlow(&m_finder, &m_hubDev).ConnectDevice(1);
        CI2CPdDev dev;
        dev.SetMaster(&m_hubDev);
        dev.SetSlaveAddr(kPdAddr);
        dev.SetFwBuf(m_new);
        m_finder.Attach(&dev);
        const bool bDone = CUniversalFlow(&m_finder, &dev).DevUpdate();
        m_finder.Detach(&dev);
        return bDone;
    }

    const std::vector<BYTE> m_old = CSimImage(0x8000).Version(0x0101).Seed(1).Build();
    std::vector<BYTE> m_new = CSimImage(0x10345).Version(0x0202).Seed(2).Build();
    CSimMachine m_machine;
    std::unique_ptr<CSimHub> m_pHub;
    std::unique_ptr<CSimPd> m_pPd;
    CPropertyEx m_transport;
    CHubDev m_hubDev;
    CHubFind m_finder;
};

TEST_F(ModelsUnderTheLibrary, HubOfOneBankRunsTheNewImage)
{
    Build({});
    EXPECT_TRUE(UpdateHub());
    EXPECT_TRUE(m_pHub->Runs(m_new));
    EXPECT_EQ(m_pHub->Misuse().Text(), "");
}

TEST_F(ModelsUnderTheLibrary, HubOfTwoBanksIsValidated)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    Build(settings);
    EXPECT_TRUE(UpdateHub());
    EXPECT_TRUE(m_pHub->Runs(m_new));
    EXPECT_EQ(m_pHub->Faults().Transfers(0xD9), 1u);
    EXPECT_EQ(m_pHub->Misuse().Text(), "");
}

TEST_F(ModelsUnderTheLibrary, HubOfTwoBanksWithoutValidationIsReadBack)
{
    SimHubSettings settings;
    settings.bDualBank = true;
    settings.bIspValidation = false;
    Build(settings);
    EXPECT_TRUE(UpdateHub());
    EXPECT_TRUE(m_pHub->Runs(m_new));
    EXPECT_EQ(m_pHub->Faults().Transfers(0xD9), 0u);
    EXPECT_EQ(m_pHub->Misuse().Text(), "");
}

struct PdKind
{
    const char* pszCase;
    bool bIspValidation;
    bool bCrcCheck;
    unsigned nBank;
};

class PdUnderTheLibrary : public ModelsUnderTheLibrary, public testing::WithParamInterface<PdKind>
{};

TEST_P(PdUnderTheLibrary, RunsTheNewImageFromTheOtherBank)
{
    SimPdSettings settings;
    settings.bIspValidation = GetParam().bIspValidation;
    settings.bCrcCheck = GetParam().bCrcCheck;
    Build({}, settings, GetParam().nBank);
    ASSERT_EQ(m_pPd->Banks().ActiveBank(), GetParam().nBank);
    EXPECT_TRUE(UpdatePd());
    m_machine.Time().Advance(1'000'000);
    EXPECT_TRUE(m_pPd->Runs(m_new));
    EXPECT_EQ(m_pPd->Banks().ActiveBank(), 1 - GetParam().nBank);
    EXPECT_EQ(m_pPd->Misuse().Text(), "");
    EXPECT_EQ(m_pHub->Misuse().Text(), "");
}

const PdKind kPdKinds[] = {
    {"CrcFromBank0", false, true, 0},       {"CrcFromBank1", false, true, 1},
    {"IspFromBank0", true, true, 0},        {"IspFromBank1", true, false, 1},
    {"ReadBackFromBank0", false, false, 0},
};

INSTANTIATE_TEST_SUITE_P(Controller, PdUnderTheLibrary, testing::ValuesIn(kPdKinds),
                         [](const auto& kind) { return std::string(kind.param.pszCase); });
} // namespace
