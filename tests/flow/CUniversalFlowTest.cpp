#include "FlowBench.h"

namespace
{
using Steps = std::vector<std::string>;

struct FlowCase
{
    const char* pszCase;
    std::set<std::string> fails;
    bool bStays; ///< resets leave the device on the bus
    DEVSTATE eRuns;
    Steps steps;
    bool bResult;
};

class Flow : public testing::TestWithParam<FlowCase>
{
protected:
    Flow() { m_finder.pExpected = &m_dev; }

    void Prepare(const char* pszFunction)
    {
        m_trace.function = pszFunction;
        m_trace.fails = GetParam().fails;
        m_dev.bStays = GetParam().bStays;
        m_dev.eRuns = GetParam().eRuns;
    }

    CTrace m_trace;
    CFlowFinder m_finder{m_trace};
    CFlowDev m_dev{m_trace};
    CUniversalFlow m_flow{&m_finder, &m_dev};
};

std::string CaseName(const testing::TestParamInfo<FlowCase>& given)
{
    return given.param.pszCase;
}

/// The steps of a list up to the last one given, then others.
Steps Then(const Steps& first, std::size_t nCount, const Steps& rest)
{
    Steps all(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(nCount));
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

const Steps kWholeUpdate = {"0%",
                            "connect",
                            "judge",
                            "10%",
                            "reset to rom",
                            "0 reset to rom success\n",
                            "20%",
                            "disconnect",
                            "connect",
                            "judge",
                            "erase",
                            "0 erase flash success\n",
                            "30%",
                            "write",
                            "0 write flash success\n",
                            "70%",
                            "check",
                            "0 check flash success\n",
                            "90%",
                            "reset to flash",
                            "0 reset to flash success\n",
                            "disconnect",
                            "connect",
                            "uninit",
                            "0 uninit dev success\n",
                            "100%"};

const FlowCase kUpdates[] = {
    {"WholeUpdate", {}, false, ROM_STATE, kWholeUpdate, true},
    {"DualBankStaysAndIsNotErased",
     {},
     true,
     FLASH_STATE,
     {"0%", "connect", "judge", "10%", "reset to rom", "0 reset to rom success\n", "20%", "30%",
      "write", "0 write flash success\n", "70%", "check", "0 check flash success\n", "90%",
      "reset to flash", "0 reset to flash success\n", "uninit", "0 uninit dev success\n", "100%"},
     true},
    {"NotPresent", {"connect#1"}, false, ROM_STATE, {"0%", "connect", "0%"}, false},
    {"ResetToRomFails",
     {"reset to rom#1"},
     false,
     ROM_STATE,
     Then(kWholeUpdate, 5, {"3 fail to reset to rom\n", "0%"}),
     false},
    {"ForgottenWhenItDoesNotVanish",
     {"disconnect#1", "disconnect#2"},
     false,
     ROM_STATE,
     Then(Then(kWholeUpdate, 8, {"forget", "connect", "judge", "erase", "0 erase flash success\n"}),
          13,
          {"30%", "write", "0 write flash success\n", "70%", "check", "0 check flash success\n",
           "90%", "reset to flash", "0 reset to flash success\n", "disconnect", "forget", "connect",
           "uninit", "0 uninit dev success\n", "100%"}),
     true},
    // Deliberate: true, without a further step and without progress 0.
    {"DoesNotComeBackAsRom", {"connect#2"}, false, ROM_STATE, Then(kWholeUpdate, 9, {}), true},
    {"EraseFails",
     {"erase#1"},
     false,
     ROM_STATE,
     Then(kWholeUpdate, 11, {"3 fail to erase flash\n", "0%"}),
     false},
    {"WriteFails",
     {"write#1"},
     false,
     ROM_STATE,
     Then(kWholeUpdate, 14, {"3 \nfail to write flash\n", "0%"}),
     false},
    {"CheckFails",
     {"check#1"},
     false,
     ROM_STATE,
     Then(kWholeUpdate, 17, {"3 \nfail to check flash\n", "0%"}),
     false},
    {"ResetToFlashFails",
     {"reset to flash#1"},
     false,
     ROM_STATE,
     Then(kWholeUpdate, 20, {"3 fail to reset to flash\n", "0%"}),
     false},
    // Deliberate: as after the reset to ROM.
    {"DoesNotComeBackAsFlash", {"connect#3"}, false, ROM_STATE, Then(kWholeUpdate, 23, {}), true},
    {"UninitFails",
     {"uninit#1"},
     false,
     ROM_STATE,
     Then(kWholeUpdate, 24, {"3 fail to uninit dev\n", "0%"}),
     false},
};

class DevUpdate : public Flow
{};

TEST_P(DevUpdate, TakesTheseSteps)
{
    Prepare("CUniversalFlow::DevUpdate");
    EXPECT_EQ(m_flow.DevUpdate(), GetParam().bResult);
    EXPECT_EQ(m_trace.steps, GetParam().steps);
}

INSTANTIATE_TEST_SUITE_P(Cases, DevUpdate, testing::ValuesIn(kUpdates), CaseName);

const Steps kWholeErase = {"0%",
                           "connect",
                           "30%",
                           "judge",
                           "force reset to rom",
                           "0 force reset to rom success\n",
                           "disconnect",
                           "connect",
                           "judge",
                           "erase",
                           "100%",
                           "ui1 Erase flash success\n",
                           "0%"};

const FlowCase kErases[] = {
    {"WholeErase", {}, false, ROM_STATE, kWholeErase, true},
    {"StaysOnTheBus",
     {},
     true,
     ROM_STATE,
     Then(kWholeErase, 6, {"erase", "100%", "ui1 Erase flash success\n", "0%"}),
     true},
    {"NotPresent",
     {"connect#1"},
     false,
     ROM_STATE,
     {"0%", "connect", "ui0 Erase flash fail\n", "0%"},
     false},
    {"ResetFails",
     {"force reset to rom#1"},
     false,
     ROM_STATE,
     Then(kWholeErase, 5, {"3 fail to force reset to rom\n", "ui0 Erase flash fail\n", "0%"}),
     false},
    // Deliberate: these two report success although nothing was erased.
    {"DoesNotVanish",
     {"disconnect#1"},
     false,
     ROM_STATE,
     Then(kWholeErase, 7, {"ui1 Erase flash success\n", "0%"}),
     true},
    {"DoesNotComeBack",
     {"connect#2"},
     false,
     ROM_STATE,
     Then(kWholeErase, 8, {"ui1 Erase flash success\n", "0%"}),
     true},
    {"EraseFails",
     {"erase#1"},
     false,
     ROM_STATE,
     Then(kWholeErase, 11, {"ui0 Erase flash fail\n", "0%"}),
     false},
};

class DevErase : public Flow
{};

TEST_P(DevErase, TakesTheseSteps)
{
    Prepare("CUniversalFlow::DevErase");
    EXPECT_EQ(m_flow.DevErase(), GetParam().bResult);
    EXPECT_EQ(m_trace.steps, GetParam().steps);
}

INSTANTIATE_TEST_SUITE_P(Cases, DevErase, testing::ValuesIn(kErases), CaseName);

const FlowCase kVersionReads[] = {
    {"Read", {}, true, FLASH_STATE, {"connect", "judge", "read version", "uninit"}, true},
    // Deliberate: the device's refusal is not looked at.
    {"Refused",
     {"read version#1"},
     true,
     ROM_STATE,
     {"connect", "judge", "read version", "uninit"},
     true},
    {"NotPresent", {"connect#1"}, true, FLASH_STATE, {"connect"}, false},
    {"UninitFails",
     {"uninit#1"},
     true,
     FLASH_STATE,
     {"connect", "judge", "read version", "uninit"},
     false},
};

class DevReadVersion : public Flow
{};

TEST_P(DevReadVersion, TakesTheseSteps)
{
    Prepare("CUniversalFlow::DevReadVersion");
    USHORT wVersion = 0xAAAA;
    EXPECT_EQ(m_flow.DevReadVersion(wVersion), GetParam().bResult);
    EXPECT_EQ(m_trace.steps, GetParam().steps);
    const bool bRead =
        GetParam().fails.count("read version#1") + GetParam().fails.count("connect#1") == 0;
    EXPECT_EQ(wVersion, bRead ? 0x1234 : 0xAAAA);
}

INSTANTIATE_TEST_SUITE_P(Cases, DevReadVersion, testing::ValuesIn(kVersionReads), CaseName);

/// Gives an image, or none.
class CImages : public IFwFinder
{
public:
    bool LoadFwbin2Buf(std::vector<BYTE>& vFw) override
    {
        EXPECT_TRUE(vFw.empty());
        vFw = image;
        return !image.empty();
    }
    std::vector<BYTE> image;
};

class FlowImage : public testing::Test
{
protected:
    FlowImage() { m_trace.function = "CUniversalFlow::InitFwFinder"; }

    CTrace m_trace;
    CFlowFinder m_finder{m_trace};
    CFlowDev m_dev{m_trace};
    CUniversalFlow m_flow{&m_finder, &m_dev};
    CImages m_images;
    const Steps m_refusal = {"1 fail to load fw file to buf.\n"};
};

TEST_F(FlowImage, GoesIntoTheBufferAndLeavesTheLengthAlone)
{
    m_images.image = {1, 2, 3};
    m_dev.pImages = &m_images;
    m_dev.SetFwLength(99);
    EXPECT_TRUE(m_flow.InitFwFinder("/images/hub.bin"));
    EXPECT_EQ(m_dev.strImagePath, "/images/hub.bin");
    EXPECT_EQ(m_dev.GetFwBuf(), m_images.image);
    EXPECT_EQ(m_dev.GetFwLength(), 99u);
    EXPECT_TRUE(m_trace.steps.empty());
}

TEST_F(FlowImage, FailureKeepsTheBuffer)
{
    m_dev.SetFwBuf({7});
    m_dev.pImages = &m_images;
    EXPECT_FALSE(m_flow.InitFwFinder("missing"));
    EXPECT_EQ(m_dev.GetFwBuf(), std::vector<BYTE>{7});
    EXPECT_EQ(m_trace.steps, m_refusal);
}

TEST_F(FlowImage, DeviceWithoutFinderRefuses)
{
    EXPECT_FALSE(m_flow.InitFwFinder("hub.bin"));
    EXPECT_EQ(m_trace.steps, m_refusal);
}

TEST_F(FlowImage, VersionComesFromTheDevice)
{
    USHORT wVersion = 0;
    EXPECT_TRUE(m_flow.DevReadBINVersion(wVersion, 2));
    EXPECT_EQ(wVersion, 0x5602);
    m_trace.fails = {"read image version#2"};
    EXPECT_FALSE(m_flow.DevReadBINVersion(wVersion, 1));
}

/// Shows the steps that only derived flows may call.
class CStepFlow : public CUniversalFlow
{
public:
    using CUniversalFlow::CUniversalFlow;
    using CUniversalFlow::MP_CheckFlash;
    using CUniversalFlow::MP_ForceReset2Rom;
    using CUniversalFlow::MP_Reset2Flash;
    using CUniversalFlow::MP_Reset2Rom;
    using CUniversalFlow::MP_WriteFlash;
};

struct SingleStep
{
    const char* pszName;
    bool (CStepFlow::*pfnStep)();
};

const SingleStep kSteps[] = {{"reset to rom", &CStepFlow::MP_Reset2Rom},
                             {"force reset to rom", &CStepFlow::MP_ForceReset2Rom},
                             {"write", &CStepFlow::MP_WriteFlash},
                             {"check", &CStepFlow::MP_CheckFlash},
                             {"reset to flash", &CStepFlow::MP_Reset2Flash}};

TEST_F(FlowImage, SingleStepsPassTheDevicesAnswerOnWithoutWaitOrMessage)
{
    CStepFlow flow(&m_finder, &m_dev);
    for (const SingleStep& step : kSteps) {
        m_trace.steps.clear();
        m_trace.fails = {std::string(step.pszName) + "#2"};
        EXPECT_TRUE((flow.*step.pfnStep)()) << step.pszName;
        EXPECT_FALSE((flow.*step.pfnStep)()) << step.pszName;
        EXPECT_EQ(m_trace.steps, (Steps{step.pszName, step.pszName}));
    }
}

TEST_F(FlowImage, WithoutFinderOrDeviceEverythingFails)
{
    CStepFlow flows[] = {CStepFlow{}, CStepFlow{nullptr, &m_dev}, CStepFlow{&m_finder, nullptr}};
    for (CStepFlow& flow : flows) {
        USHORT wVersion = 0;
        m_trace.steps.clear();
        EXPECT_FALSE(flow.DevUpdate());
        EXPECT_FALSE(flow.DevErase());
        EXPECT_FALSE(flow.DevReadVersion(wVersion));
        EXPECT_EQ(m_trace.steps, (Steps{"0%", "0%", "0%", "ui0 Erase flash fail\n", "0%"}));
    }
    USHORT wVersion = 0;
    EXPECT_FALSE(flows[2].DevReadBINVersion(wVersion, 1));
    EXPECT_FALSE(flows[2].InitFwFinder("hub.bin"));
    for (const SingleStep& step : kSteps)
        EXPECT_FALSE((flows[2].*step.pfnStep)()) << step.pszName;
}

TEST_F(FlowImage, CopySharesFinderAndDevice)
{
    m_finder.pExpected = &m_dev;
    CUniversalFlow copy(m_flow);
    EXPECT_TRUE(copy.ConnectDevice(1));
    EXPECT_EQ(m_trace.steps, Steps{"connect"});
}
} // namespace
