#include "FlowBench.h"

namespace
{
struct FlowCase
{
    const char* pszCase;
    std::set<std::string> fails;
    std::string strSteps;
    bool bResult = true;
    bool bStays = false; ///< resets leave the device on the bus
    DEVSTATE eRuns = ROM_STATE;
};

class Flow : public testing::Test
{
protected:
    /// Runs an operation in every case, each with a device and a flow of its own.
    template<std::size_t n, typename Operation>
    void RunCases(const FlowCase (&cases)[n], Operation operation)
    {
        for (const FlowCase& given : cases) {
            SCOPED_TRACE(given.pszCase);
            CTrace trace;
            CFlowFinder finder{trace};
            CFlowDev dev{trace};
            CUniversalFlow flow{&finder, &dev};
            finder.pExpected = &dev;
            trace.fails = given.fails;
            dev.bStays = given.bStays;
            dev.eRuns = given.eRuns;
            EXPECT_EQ(operation(flow, given), given.bResult);
            EXPECT_EQ(trace.steps, given.strSteps);
        }
    }
};

// The road of a whole update, up to the step that a case is about.
const std::string kToRom = "0%|connect|judge|10%|reset to rom";
const std::string kRom = kToRom + "|20%|disconnect|connect";
const std::string kErased = kRom + "|judge|erase";
const std::string kWritten = kErased + "|30%|write";
const std::string kChecked = kWritten + "|70%|check";
const std::string kToFlash = kChecked + "|90%|reset to flash";
const std::string kFlash = kToFlash + "|disconnect|connect";

const FlowCase kUpdates[] = {
    {"whole update", {}, kFlash + "|uninit|100%"},
    {"two banks: stays and is not erased",
     {},
     kToRom + "|20%|30%|write|70%|check|90%|reset to flash|uninit|100%",
     true,
     true,
     FLASH_STATE},
    {"not present", {"connect#1"}, "0%|connect|0%", false},
    {"reset to ROM fails", {"reset to rom#1"}, kToRom + "|0%", false},
    {"forgotten when it does not vanish",
     {"disconnect#1", "disconnect#2"},
     kToRom + "|20%|disconnect|forget|connect|judge|erase|30%|write|70%|check|90%|reset to flash"
              "|disconnect|forget|connect|uninit|100%"},
    // Deliberate: true, without a further step and without progress 0.
    {"does not come back as ROM", {"connect#2"}, kRom},
    {"erase fails", {"erase#1"}, kErased + "|0%", false},
    {"write fails", {"write#1"}, kWritten + "|0%", false},
    {"check fails", {"check#1"}, kChecked + "|0%", false},
    {"reset to flash fails", {"reset to flash#1"}, kToFlash + "|0%", false},
    // Deliberate: as after the reset to ROM.
    {"does not come back as flash", {"connect#3"}, kFlash},
    {"uninit fails", {"uninit#1"}, kFlash + "|uninit|0%", false},
};

TEST_F(Flow, AnUpdateTakesTheseSteps)
{
    RunCases(kUpdates, [](CUniversalFlow& flow, const FlowCase&) { return flow.DevUpdate(); });
}

const std::string kForced = "0%|connect|30%|judge|force reset to rom";

const FlowCase kErases[] = {
    {"whole erase", {}, kForced + "|disconnect|connect|judge|erase|100%|ui1|0%"},
    {"stays on the bus", {}, kForced + "|erase|100%|ui1|0%", true, true},
    {"not present", {"connect#1"}, "0%|connect|ui0|0%", false},
    {"reset fails", {"force reset to rom#1"}, kForced + "|ui0|0%", false},
    // Deliberate: these two report success although nothing was erased.
    {"does not vanish", {"disconnect#1"}, kForced + "|disconnect|ui1|0%"},
    {"does not come back", {"connect#2"}, kForced + "|disconnect|connect|ui1|0%"},
    {"erase fails", {"erase#1"}, kForced + "|disconnect|connect|judge|erase|100%|ui0|0%", false},
};

TEST_F(Flow, AnEraseTakesTheseSteps)
{
    RunCases(kErases, [](CUniversalFlow& flow, const FlowCase&) { return flow.DevErase(); });
}

const FlowCase kVersionReads[] = {
    {"read", {}, "connect|judge|read version|uninit"},
    // Deliberate: the device's refusal is not looked at.
    {"refused", {"read version#1"}, "connect|judge|read version|uninit"},
    {"not present", {"connect#1"}, "connect", false},
    {"uninit fails", {"uninit#1"}, "connect|judge|read version|uninit", false},
};

TEST_F(Flow, AVersionReadTakesTheseSteps)
{
    RunCases(kVersionReads, [](CUniversalFlow& flow, const FlowCase& given) {
        USHORT wVersion = 0xAAAA;
        const bool bResult = flow.DevReadVersion(wVersion);
        const bool bRead =
            given.fails.count("read version#1") + given.fails.count("connect#1") == 0;
        EXPECT_EQ(wVersion, bRead ? 0x1234 : 0xAAAA);
        return bResult;
    });
}

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
    CTrace m_trace;
    CFlowFinder m_finder{m_trace};
    CFlowDev m_dev{m_trace};
    CUniversalFlow m_flow{&m_finder, &m_dev};
    CImages m_images;
};

TEST_F(FlowImage, GoesIntoTheBufferAndLeavesTheLengthAlone)
{
    m_dev.SetFwBuf({7});
    EXPECT_FALSE(m_flow.InitFwFinder("no finder"));
    EXPECT_EQ(m_dev.GetFwBuf(), std::vector<BYTE>{7});
    m_images.image = {1, 2, 3};
    m_dev.pImages = &m_images;
    m_dev.SetFwLength(99);
    EXPECT_TRUE(m_flow.InitFwFinder("/images/hub.bin"));
    EXPECT_EQ(m_dev.strImagePath, "/images/hub.bin");
    EXPECT_EQ(m_dev.GetFwBuf(), m_images.image);
    EXPECT_EQ(m_dev.GetFwLength(), 99u);
    EXPECT_TRUE(m_trace.steps.empty());
    USHORT wVersion = 0;
    EXPECT_TRUE(m_flow.DevReadBINVersion(wVersion, 2));
    EXPECT_EQ(wVersion, 0x5602);
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
        EXPECT_EQ(m_trace.steps, std::string(step.pszName) + "|" + step.pszName);
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
        EXPECT_EQ(m_trace.steps, "0%|0%|0%|ui0|0%");
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
    EXPECT_EQ(m_trace.steps, "connect");
}
} // namespace
