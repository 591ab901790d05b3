#include "find/CRootHubFilter.h"
#include "find/CTopoMatch.h"
#include "find/CVidPidMatch.h"
#include "find/FindFixture.h"
#include "support/CFakeDev.h"

namespace
{
constexpr DWORD kHub = 31;

class Matchers : public FindTest
{
protected:
    bool Topo() { return m_topo.Match(kHub, &m_dev); }

    CSimNode& m_hub = Hub(1, kHub);
    CFakeDev m_dev;
    CTopoMatch m_topo;
    CVidPidMatch m_vidPid;
    CMessageLog m_log;
};

TEST_F(Matchers, TheFirstLocationPathDecidesWhereTheDeviceHoldsOne)
{
    m_hub.Traits().locationPaths = {WTEXT("PATH(1)"), WTEXT("PATH(2)")};
    m_dev.strPath = WTEXT("PATH(1)");
    m_dev.nLevel = 5; // not consulted
    EXPECT_TRUE(Topo());
    m_dev.strPath = WTEXT("PATH(2)");
    EXPECT_FALSE(Topo());
}

TEST_F(Matchers, PathsAreComparedByCaseAndShownInTheNarrowCodePage)
{
    m_hub.Traits().locationPaths = {WTEXT("path\u00E9")};
    m_dev.strPath = WTEXT("PATH\u00E9");
    EXPECT_FALSE(Topo());
    EXPECT_EQ(m_log.Lines()[1], "1|CTopoMatch::Match|CurrentDevLocationPath:PATH\xC3\xA9\n");
    EXPECT_EQ(m_log.Lines()[2], "1|CTopoMatch::Match|EnumDevLocationPath:path\xC3\xA9\n");
}

TEST_F(Matchers, AnUnreadablePathIsNoPathButAnyPlaceWithoutTopology)
{
    m_hub.Traits().locationPaths = {};
    m_dev.strPath = WTEXT("PATH");
    EXPECT_FALSE(Topo());
    m_dev.strPath.clear();
    for (const int nLevel : {0, -1}) {
        m_dev.nLevel = nLevel;
        EXPECT_TRUE(Topo());
    }
}

TEST_F(Matchers, LevelAndPortDecideWhereNoPathIsHeld)
{
    m_hub.Traits().locationPaths = {WTEXT("#USBROOT(0)#USB(1)#USB(4)")};
    for (const int nLevel : {1, 2, 3}) {
        for (const int nPort : {4, 5}) {
            m_dev.nLevel = nLevel;
            m_dev.nPort = nPort;
            EXPECT_EQ(Topo(), nLevel == 2 && nPort == 4) << nLevel << "/" << nPort;
        }
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

TEST_F(Matchers, AnIdentityIsFoundInTheHardwareIds)
{
    for (const IDENTITY& identity : kIdentities) {
        m_dev.ids = identity.ids;
        m_hub.Traits().hardwareIds = {WTEXT("USB\\OTHER"), identity.pszHardwareId};
        EXPECT_EQ(m_vidPid.Match(kHub, &m_dev), identity.bMatches) << identity.pszCase;
    }
}

class Filters : public FindTest
{
protected:
    CSimNode& m_hub = Hub(1, 11);
    CRootHubFilter m_rootFilter;
};

} // namespace
