#include "sim/CSimLikePattern.h"
#include "sim/CSimMachine.h"
#include "wire/DriverNames.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
struct Like
{
    const char* pszCase;
    const WCHAR* pszPattern;
    const WCHAR* pszText;
    bool bMatches;
};

const Like kLikes[] = {
    {"Tail", WTEXT("ab%%"), WTEXT("abc_0"), true},
    {"NoTail", WTEXT("ab"), WTEXT("abc"), false},
    {"AnyCharacter", WTEXT("a_c"), WTEXT("axc"), true},
    {"EscapedUnderscore", WTEXT("a[_]c"), WTEXT("axc"), false},
    {"RealUnderscore", WTEXT("a[_]c"), WTEXT("a_c"), true},
    {"Range", WTEXT("[a-c]"), WTEXT("B"), true},
    {"Not", WTEXT("[^a-c]"), WTEXT("b"), false},
    {"SetThatNeverEnds", WTEXT("[a"), WTEXT("a"), false},
    {"Backtracking", WTEXT("%ab%c"), WTEXT("aabxabc"), true},
};

class LikePattern : public testing::TestWithParam<Like>
{};

TEST_P(LikePattern, MatchesAsTheQueryLanguageSays)
{
    EXPECT_EQ(CSimLikePattern(GetParam().pszPattern).Matches(GetParam().pszText),
              GetParam().bMatches);
}

INSTANTIATE_TEST_SUITE_P(Every, LikePattern, testing::ValuesIn(kLikes),
                         [](const auto& entry) { return std::string(entry.param.pszCase); });

class PowerSwitch : public testing::Test
{
protected:
    void Connect()
    {
        HANDLE hLocator = nullptr;
        ASSERT_EQ(m_power.InitializeCom(2), kHrOk);
        ASSERT_EQ(m_power.InitializeSecurity(-1, 1, 4, 0), kHrOk);
        ASSERT_EQ(m_power.CreateLocator(&hLocator), kHrOk);
        ASSERT_EQ(m_power.ConnectServer(hLocator, WTEXT("ROOT\\WMI"), &m_hServices), kHrOk);
        ASSERT_EQ(m_power.SetProxyBlanket(m_hServices, 10, 0, 3, 3, 0), kHrOk);
        m_power.Release(hLocator);
    }
    LONG Query(const WString& strPattern)
    {
        const WString strQuery =
            WTEXT("SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE \"") + strPattern +
            WTEXT("\"");
        return m_power.ExecQuery(m_hServices, WTEXT("WQL"), strQuery.c_str(), 0x30, &m_hEnum);
    }

    CSimMachine m_machine;
    CSimPowerSwitch& m_power = m_machine.PowerSwitch();
    CSimNode& m_hub = m_machine.Tree().AddHub(m_machine.RootHub(), 1, {});
    HANDLE m_hServices = nullptr;
    HANDLE m_hEnum = nullptr;
};

TEST_F(PowerSwitch, SwitchesEveryObjectThatTheQueryFinds)
{
    m_hub.PowerObjects() = {
        {WTEXT("USB\\X_1_0"), true}, {WTEXT("USB\\X_10_0"), true}, {WTEXT("USB\\XY1_0"), true}};
    Connect();
    ASSERT_EQ(Query(WTEXT("USB\\\\X[_]1%%")), kHrOk);
    HANDLE hObject = nullptr;
    DWORD dwReturned = 0;
    std::vector<WString> names;
    while (m_power.Next(m_hEnum, -1, &hObject, &dwReturned) == kHrOk) {
        WString strName;
        DWORD dwValue = 0;
        EXPECT_EQ(m_power.GetText(hObject, WTEXT("InstanceName"), &strName), kHrOk);
        EXPECT_EQ(m_power.GetSwitch(hObject, WTEXT("Enable"), &dwValue), kHrOk);
        EXPECT_EQ(dwValue, 0xFFFFFFFFu);
        EXPECT_EQ(m_power.PutSwitch(hObject, WTEXT("Enable"), false), kHrOk);
        EXPECT_EQ(m_power.PutInstance(m_hServices, hObject, 1), kHrOk);
        m_power.Release(hObject);
        names.push_back(strName);
    }
    EXPECT_EQ(dwReturned, 0u);
    EXPECT_THAT(names, ElementsAre(WTEXT("USB\\X_1_0"), WTEXT("USB\\X_10_0")));
    EXPECT_FALSE(m_hub.PowerObjects()[1].bEnabled);
    EXPECT_TRUE(m_hub.PowerObjects()[2].bEnabled);
}

TEST_F(PowerSwitch, AnswersAsTheSystemWouldOutOfOrder)
{
    HANDLE h = nullptr;
    EXPECT_LT(m_power.CreateLocator(&h), 0) << "no apartment";
    Connect();
    EXPECT_EQ(m_power.InitializeCom(2), kHrFalse);
    EXPECT_EQ(m_power.InitializeSecurity(-1, 1, 4, 0), kHrTooLate);
    EXPECT_LT(Query(WTEXT("USB\\X%%")), 0) << "a single backslash is no literal";
    ASSERT_EQ(Query(WTEXT("USB\\\\%%")), kHrOk);
    DWORD dwReturned = 0;
    ASSERT_EQ(m_power.Next(m_hEnum, -1, &h, &dwReturned), kHrOk);
    m_machine.Traits().bElevated = false;
    EXPECT_LT(m_power.PutInstance(m_hServices, h, 1), 0);
    m_power.UninitializeCom();
    m_power.UninitializeCom();
    EXPECT_EQ(m_power.ComDepth(), 0);
    EXPECT_EQ(m_machine.Handles().Open().size(), 3u) << "services, enumerator, object";
}

TEST_F(PowerSwitch, ResumesASuspendedDeviceAWhileAfterItWasSwitchedOff)
{
    m_hub.Suspend(300000);
    const unsigned n = m_hub.Generation();
    EXPECT_EQ(m_hub.TransferError(n), kErrNotReady);
    m_hub.SetPowerSaving(false);
    EXPECT_EQ(m_hub.TransferError(n), kErrNotReady);
    m_machine.Clock().Sleep(300);
    EXPECT_EQ(m_hub.TransferError(n), kErrNone);
}

class Companion : public PowerSwitch
{
protected:
    DWORD Ask(const std::string& strRequest)
    {
        CSimEventPipe& pipes = m_machine.EventPipe();
        const HANDLE hEvent = pipes.OpenNamedEvent(kEventAllAccess, SS_EVENT_NAME);
        const HANDLE hPipe = pipes.OpenPipe(SS_PIPE_NAME, kGenericRead | kGenericWrite);
        DWORD cb = 0;
        EXPECT_TRUE(
            pipes.WritePipe(hPipe, strRequest.data(), static_cast<DWORD>(strRequest.size()), &cb));
        return pipes.WaitEvent(hEvent, kWaitForever);
    }
    std::string Request(bool bTurnOn)
    {
        const WString strId = m_hub.Spec().strInstanceId;
        std::string strRequest(1, bTurnOn ? '\1' : '\0');
        strRequest.append(reinterpret_cast<const char*>(strId.c_str()), 2 * (strId.size() + 1));
        return strRequest.append(2, '\0');
    }
};

TEST_F(Companion, SwitchesTheNodeThenSignals)
{
    EXPECT_EQ(m_machine.EventPipe().OpenNamedEvent(kEventAllAccess, SS_EVENT_NAME), nullptr);
    m_machine.Companion().Install();
    EXPECT_EQ(Ask(Request(false)), kWaitSignalled);
    EXPECT_FALSE(m_hub.PowerSaving());
    EXPECT_EQ(m_machine.Time().Now(), 5000u);
    EXPECT_EQ(Ask(Request(true)), kWaitSignalled);
    EXPECT_TRUE(m_hub.PowerSaving());
}

TEST_F(Companion, ThatNeverSignalsEndsAnEndlessWaitByAnException)
{
    m_machine.Companion().Install();
    m_machine.Companion().SetSignals(false);
    EXPECT_THROW(Ask(Request(false)), CWouldBlockForever);
}

TEST_F(Companion, RefusesWhatIsNotExactlyARequest)
{
    const auto reasonFor = [](const std::string& strBytes) {
        SimCompanionRequest request;
        return CSimCompanion::Decode(reinterpret_cast<const BYTE*>(strBytes.data()),
                                     strBytes.size(), &request);
    };
    using namespace std::string_literals;
    EXPECT_EQ(reasonFor("\0a\0\0\0b\0c\0\0\0\0\0"s), nullptr);
    EXPECT_NE(reasonFor("\2a\0\0\0\0\0"s), nullptr) << "switch byte";
    EXPECT_NE(reasonFor("\0a\0\0\0"s), nullptr) << "no closing zero";
    EXPECT_NE(reasonFor("\0a\0\0\0\0"s), nullptr) << "odd text";
    EXPECT_NE(reasonFor("\0a\0\0\0\0\0\0\0"s), nullptr) << "too much behind the list";
    EXPECT_NE(reasonFor("\0\0\0"s), nullptr) << "empty list";
}
} // namespace
