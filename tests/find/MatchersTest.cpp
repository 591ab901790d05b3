#include "find/CTopoMatch.h"
#include "find/CVidPidMatch.h"
#include "find/FindFixture.h"
#include "support/CFakeDev.h"

using testing::ElementsAre;

namespace
{
constexpr DWORD kHub = 31;
constexpr const char* kTopoYes = "0|CTopoMatch::Match|match topology return true.\n";
constexpr const char* kTopoNo = "1|CTopoMatch::Match|match topology return false.\n";
constexpr const char* kByPath = "1|CTopoMatch::Match|LocationPath Topo Match\n";
constexpr const char* kByPort = "1|CTopoMatch::Match|Port & Level Topo Match\n";

class Matchers : public FindTest
{
protected:
    bool Topo() { return m_topo.Match(kHub, &m_dev); }
    bool VidPid() { return m_vidPid.Match(kHub, &m_dev); }

    CSimNode& m_hub = Hub(1, kHub);
    CFakeDev m_dev;
    CTopoMatch m_topo;
    CVidPidMatch m_vidPid;
    CMessageLog m_log;
};

TEST_F(Matchers, TheFirstLocationPathDecidesWhereTheDeviceHoldsOne)
{
    m_hub.Spec().locationPaths = {WTEXT("PATH(1)"), WTEXT("PATH(2)")};
    m_dev.strPath = WTEXT("PATH(1)");
    m_dev.nLevel = 5; // not consulted
    EXPECT_TRUE(Topo());
    EXPECT_THAT(m_log.Lines(), ElementsAre(kByPath, kTopoYes));

    m_log.Clear();
    m_dev.strPath = WTEXT("PATH(2)");
    EXPECT_FALSE(Topo());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(kByPath, "1|CTopoMatch::Match|CurrentDevLocationPath:PATH(2)\n",
                            "1|CTopoMatch::Match|EnumDevLocationPath:PATH(1)\n", kTopoNo));
}

TEST_F(Matchers, PathsAreComparedByCaseAndShownInTheNarrowCodePage)
{
    m_hub.Spec().locationPaths = {WTEXT("path\u00E9")};
    m_dev.strPath = WTEXT("PATH\u00E9");
    EXPECT_FALSE(Topo());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(kByPath, "1|CTopoMatch::Match|CurrentDevLocationPath:PATH\xC3\xA9\n",
                            "1|CTopoMatch::Match|EnumDevLocationPath:path\xC3\xA9\n", kTopoNo));
}

TEST_F(Matchers, AnUnreadablePathIsAnotherPath)
{
    m_hub.Spec().locationPaths = {};
    m_dev.strPath = WTEXT("PATH");
    EXPECT_FALSE(Topo());
    EXPECT_EQ(m_log.Lines()[2], "1|CTopoMatch::Match|EnumDevLocationPath:\n");
}

TEST_F(Matchers, WithoutTopologyEveryNodeMatches)
{
    m_hub.Spec().locationPaths = {};
    for (const int nLevel : {0, -1}) {
        m_log.Clear();
        m_dev.nLevel = nLevel;
        EXPECT_TRUE(Topo());
        EXPECT_THAT(m_log.Lines(), ElementsAre(kByPort, kTopoYes));
    }
}

struct TOPOLOGY
{
    int nLevel;
    int nPort;
    const WCHAR* pszPath;
    bool bMatches;
};

TEST_F(Matchers, LevelAndPortDecideWhereNoPathIsHeld)
{
    const TOPOLOGY kTopologies[] = {
        {1, 4, WTEXT("#USBROOT(0)#USB(1)"), true},          // any port of a root hub
        {1, 1, WTEXT("#USBROOT(0)#USB(1)#USB(1)"), false},  // too deep
        {2, 4, WTEXT("#USBROOT(0)#USB(1)#USB(4)"), true},   //
        {2, 4, WTEXT("#USBROOT(0)#USB(1)#USB(5)"), false},  //
        {2, 10, WTEXT("#USBROOT(0)#USB(1)#USB(10)"), false} // ports from 10 on never match
    };
    for (const TOPOLOGY& topology : kTopologies) {
        m_log.Clear();
        m_hub.Spec().locationPaths = {topology.pszPath};
        m_dev.nLevel = topology.nLevel;
        m_dev.nPort = topology.nPort;
        EXPECT_EQ(Topo(), topology.bMatches) << topology.nLevel << "/" << topology.nPort;
        EXPECT_EQ(m_log.LinesOf("CTopoMatch::Match"),
                  (std::vector<std::string>{kByPort, topology.bMatches ? kTopoYes : kTopoNo}));
    }
}

struct IDENTITY
{
    const char* pszCase;
    std::vector<std::pair<DWORD, DWORD>> ids;
    const WCHAR* pszHardwareId;
    bool bMatches;
};

const IDENTITY kIdentities[] = {
    // The first value is the product, the second the vendor.
    {"Same", {{0x5678, 0x1234}}, WTEXT("USB\\VID_1234&PID_5678&REV_0100"), true},
    {"Swapped", {{0x1234, 0x5678}}, WTEXT("USB\\VID_1234&PID_5678&REV_0100"), false},
    {"PaddedToFourDigits", {{0x0007, 0x0012}}, WTEXT("USB\\VID_0012&PID_0007"), true},
    {"AnyOfSeveral", {{1, 2}, {0x5678, 0x1234}}, WTEXT("USB\\VID_1234&PID_5678"), true},
    {"NoneHeld", {}, WTEXT("USB\\VID_1234&PID_5678"), false},
    {"LettersNeverMeetTheSystemsUpperCase", {{0x5678, 0x1A2B}}, WTEXT("VID_1A2B&PID_5678"), false},
    {"LettersInLowerCase", {{0x5678, 0x5A1}}, WTEXT("VID_05a1&PID_5678"), true},
    {"LongerThanFourDigits", {{0x5678, 0x12345}}, WTEXT("VID_12345&PID_5678"), true},
};

class Identity : public Matchers, public testing::WithParamInterface<IDENTITY>
{};

TEST_P(Identity, IsFoundInTheHardwareIds)
{
    m_dev.ids = GetParam().ids;
    m_hub.Spec().hardwareIds = {WTEXT("USB\\OTHER"), GetParam().pszHardwareId};
    EXPECT_EQ(VidPid(), GetParam().bMatches);
    const char* const pszSays = GetParam().bMatches
                                    ? "0|CVidPidMatch::Match|match id return true.\n"
                                    : "1|CVidPidMatch::Match|match id return false.\n";
    EXPECT_THAT(m_log.Lines(), ElementsAre(pszSays));
}

INSTANTIATE_TEST_SUITE_P(All, Identity, testing::ValuesIn(kIdentities),
                         [](const auto& row) { return std::string(row.param.pszCase); });
} // namespace
