#include "find/CDevProperty.h"

#include "find/FindFixture.h"

using testing::ElementsAre;

namespace
{
constexpr DWORD kHub = 7;

/// "#USB(3)" and its zero.
WString Tail(const WString& strPort)
{
    return WTEXT("#USB(") + strPort + WTEXT(")") + WString(1, WCHAR{0});
}

class DevProperty : public FindTest
{
protected:
    SimNodeTraits& Traits() { return m_hub.Traits(); }

    CSimNode& m_hub = Hub(3, kHub);
    CDevProperty& m_property = *CDevProperty::GetObj();
};

using DevPropertyDeathTest = DevProperty;

struct PLACE
{
    const char* pszCase;
    std::vector<WString> paths;
    int nLevel;
    const WCHAR* pszPort;
    bool bMatches;
};

const PLACE kPlaces[] = {
    {"OnARootPort", {WTEXT("PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(2)")}, 1, WTEXT("2"), true},
    {"OnARootPortWhateverThePort", {WTEXT("#USBROOT(0)#USB(2)")}, 1, WTEXT("9"), true},
    {"TooDeep", {WTEXT("#USBROOT(0)#USB(2)#USB(3)")}, 1, WTEXT("3"), false},
    {"TooHigh", {WTEXT("#USBROOT(0)#USB(2)")}, 2, WTEXT("2"), false},
    {"BehindPort3", {WTEXT("#USBROOT(0)#USB(2)#USB(3)")}, 2, WTEXT("3"), true},
    {"BehindAnotherPort", {WTEXT("#USBROOT(0)#USB(2)#USB(3)")}, 2, WTEXT("4"), false},
    {"PortsFrom10OnNeverMatch", {WTEXT("#USBROOT(0)#USB(2)#USB(12)")}, 2, WTEXT("12"), false},
    {"NoPartOfALongerPort", {WTEXT("#USBROOT(0)#USB(2)#USB(12)")}, 2, WTEXT("2"), false},
    {"TheSecondPathMayBringThePort",
     {WTEXT("#USBROOT(0)#USB(2)#USB(3)"), WTEXT("ACPI(_SB_)#USB(1)#USB(5)")},
     2,
     WTEXT("5"),
     true},
    {"TheFirstPathAloneCountsForTheLevel",
     {WTEXT("#USBROOT(0)#USB(2)"), WTEXT("ACPI(_SB_)#USB(1)#USB(5)")},
     2,
     WTEXT("5"),
     false},
    {"LowerCaseIsSomethingElse", {WTEXT("#usbroot(0)#usb(2)")}, 1, WTEXT("2"), false},
    {"Unreadable", {}, 1, WTEXT("2"), false},
};

TEST_F(DevProperty, APlaceIsJudgedByLevelAndPort)
{
    for (const PLACE& place : kPlaces) {
        Traits().locationPaths = place.paths;
        EXPECT_EQ(m_property.IsLevelAndPort(place.nLevel, kHub, Tail(place.pszPort)),
                  place.bMatches)
            << place.pszCase;
    }
}

TEST_F(DevProperty, LogsTheFirstPathByItsLowBytes)
{
    Traits().locationPaths = {WTEXT("#USBROOT(0)#USB(1)\u4141"), WTEXT("second")};
    const CMessageLog log;
    EXPECT_FALSE(m_property.IsLevelAndPort(4, kHub, Tail(WTEXT("1"))));
    EXPECT_THAT(log.Lines(), ElementsAre("0|CDevProperty::IsLevelNum|Current device location path "
                                         "is#USBROOT(0)#USB(1)A\n"));
}

TEST_F(DevProperty, NoPathIsNoLevel)
{
    Traits().locationPaths = {};
    (void)m_property.GetLocationPath(kHub);
    EXPECT_FALSE(m_property.IsLevelNum(0));
}

TEST_F(DevProperty, TheRawPropertyKeepsEveryPathAndTheListsEnd)
{
    Traits().locationPaths = {WTEXT("A"), WTEXT("BC")};
    const WString strRaw = m_property.GetLocationPath(kHub);
    // Bytes are taken as characters, so that the second half is zeros.
    EXPECT_EQ(strRaw, WString(WTEXT("A\0BC\0\0"), 6) + WString(6, WCHAR{0}));
}

TEST_F(DevProperty, AnUnterminatedTailIsNoEntry)
{
    Traits().rawProperties[3] = {'x'}; // one byte counts as one character
    EXPECT_FALSE(m_property.HasHardwareId(kHub, WTEXT("x")));
    Traits().rawProperties[3] = {'x', 0}; // and two as a character and its zero
    EXPECT_TRUE(m_property.HasHardwareId(kHub, WTEXT("x")));
}

TEST_F(DevProperty, MoreThan512CharactersAreUnreadable)
{
    const WString strTooLong(510, WTEXT('x'));
    Traits().locationPaths = {WTEXT("#USB(1)"), strTooLong};
    Traits().hardwareIds = {WTEXT("USB\\VID_1234"), strTooLong};
    EXPECT_FALSE(m_property.IsLevelAndPort(1, kHub, Tail(WTEXT("1"))));
    EXPECT_FALSE(m_property.HasHardwareId(kHub, WTEXT("VID_1234")));

    Traits().locationPaths = {WTEXT("#USB(1)"), strTooLong.substr(0, 502)};
    EXPECT_TRUE(m_property.IsLevelAndPort(1, kHub, Tail(WTEXT("1"))));
}

TEST_F(DevPropertyDeathTest, APathOfLessThan8CharactersIsFatal)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Traits().locationPaths = {WTEXT("#USB(1)#USB(2)"), WTEXT("short")};
    EXPECT_DEATH((void)m_property.IsLevelAndPort(2, kHub, Tail(WTEXT("9"))),
                 "invalid string position");
    EXPECT_TRUE(m_property.IsLevelAndPort(2, kHub, Tail(WTEXT("2")))) << "the first one matched";
}

TEST_F(DevProperty, AnyCompatibleIdMayTellASuperSpeedHub)
{
    Traits().compatibleIds = {WTEXT("USB\\Class_09"), WTEXT("xUSB30_HUBx")};
    EXPECT_TRUE(m_property.IsU3Hub(kHub));
    Traits().compatibleIds = {WTEXT("usb30_hub")};
    EXPECT_FALSE(m_property.IsU3Hub(kHub));
    EXPECT_FALSE(m_property.IsU3Hub(4711)) << "no such node";
}

} // namespace
