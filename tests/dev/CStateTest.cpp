#include "dev/CState.h"

#include "dev/CountingDev.h"
#include "dev/DevFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
USHORT g_wVersion = 0;

struct StateOperation
{
    const char* pszName;
    bool (*pfnDo)(IDev& dev);
    const char* pszRefusal; ///< what follows "<mode> not support "
    const char* pszInRom;   ///< the operation that ROM mode calls; null: none
    const char* pszInFlash;
};

const StateOperation kOperations[] = {
    {"Reset2Rom", [](IDev& d) { return d.Reset2Rom(); }, "reset2rom", "Reset2RomEx", "Reset2RomEx"},
    {"Reset2Flash", [](IDev& d) { return d.Reset2Flash(); }, "reset2flash", "Reset2FlashEx",
     "Reset2FlashEx"},
    {"WriteFlash", [](IDev& d) { return d.WriteFlash(); }, "write flash", "WriteFlashEx",
     "WriteFlashEx"},
    {"CheckFlash", [](IDev& d) { return d.CheckFlash(); }, "check flash", "CheckFlashWithCmp",
     "CheckFlashInFlash"},
    {"DevReadVersion", [](IDev& d) { return d.DevReadVersion(g_wVersion); }, "read version",
     nullptr, "DevReadVersionEx"},
    {"DevErase", [](IDev& d) { return d.DevErase(); }, "erase flash", "DevEraseEx", "DevEraseEx"},
};

struct RefusingState
{
    DEVSTATE eState;
    const char* pszClass;
    const char* pszMode;
};

const RefusingState kRefusing[] = {
    {OFFLINE_STATE, "COfflineState", "offline"},
    {UNKNOWN_STATE, "CUnknownState", "unknown"},
    {WAIT_STATE, "CWaitState", "wait mode"},
};

struct Event
{
    const char* pszName;
    bool (*pfnFire)(CState& state);
};

const Event kEvents[] = {
    {"Arrive", [](CState& s) { return s.Arrive(7, 8); }},
    {"Remove", [](CState& s) { return s.Remove(); }},
    {"ToRom", [](CState& s) { return s.ToRom(); }},
    {"ToFlash", [](CState& s) { return s.ToFlash(); }},
    {"ToWait", [](CState& s) { return s.ToWait(); }},
};

struct Move
{
    DEVSTATE eFrom;
    const char* pszEvent;
    DEVSTATE eTo;
    bool bAnswer;
};

// Every other event leaves the state alone and answers false.
const Move kMoves[] = {
    {OFFLINE_STATE, "Arrive", UNKNOWN_STATE, true},
    {WAIT_STATE, "Remove", OFFLINE_STATE, true},
    {UNKNOWN_STATE, "ToRom", ROM_STATE, true},
    {UNKNOWN_STATE, "ToFlash", FLASH_STATE, true},
    {FLASH_STATE, "ToWait", WAIT_STATE, true},
    {ROM_STATE, "ToWait", WAIT_STATE, false}, // changes, and yet answers false
};

Move MoveOf(DEVSTATE eFrom, const std::string& strEvent)
{
    for (const Move& move : kMoves) {
        if (move.eFrom == eFrom && strEvent == move.pszEvent)
            return move;
    }
    return {eFrom, "", eFrom, false};
}

class StateTest : public DevFixture
{
protected:
    StateTest() { Anew(); }

    CState* Enter(DEVSTATE eState)
    {
        CState* const pState = m_dev.GetCertainDevState(eState);
        m_dev.SetDevState(pState);
        return pState;
    }

    CCountingDev m_dev;
};

TEST_F(StateTest, ModesThatCannotRefuseWithTheirReasonAndChangeNothing)
{
    for (const RefusingState& state : kRefusing) {
        for (const StateOperation& op : kOperations) {
            SCOPED_TRACE(std::string(state.pszClass) + "::" + op.pszName);
            CState* const pState = Enter(state.eState);
            m_reports.Clear();

            EXPECT_FALSE(op.pfnDo(m_dev));

            EXPECT_THAT(m_reports.Lines(),
                        ElementsAre(std::string("1|") + state.pszClass + "::" + op.pszName + "|" +
                                    state.pszMode + " not support " + op.pszRefusal + "\n"));
            EXPECT_EQ(m_dev.GetDevState(), pState);
        }
    }
    EXPECT_THAT(m_dev.m_calls, IsEmpty());
}

TEST_F(StateTest, RomAndFlashModePassOperationsOnAndResultsBack)
{
    for (const DEVSTATE eState : {ROM_STATE, FLASH_STATE}) {
        for (const StateOperation& op : kOperations) {
            const char* const pszCalled = eState == ROM_STATE ? op.pszInRom : op.pszInFlash;
            if (pszCalled == nullptr)
                continue;
            for (const bool bAnswer : {true, false}) {
                SCOPED_TRACE(testing::Message() << op.pszName << " in " << eState << bAnswer);
                (void)Enter(eState);
                m_dev.m_calls.clear();
                m_dev.m_bAnswer = bAnswer;

                EXPECT_EQ(op.pfnDo(m_dev), bAnswer);

                EXPECT_THAT(m_dev.m_calls, ElementsAre(pszCalled));
            }
        }
    }
}

TEST_F(StateTest, RomModeSaysThatItSupportsTheResetAndHasNoVersion)
{
    (void)Enter(ROM_STATE);

    EXPECT_TRUE(m_dev.Reset2Rom());
    EXPECT_THAT(m_reports.Lines(), ElementsAre("0|CRomMode::Reset2Rom|"
                                               "rom code support reset2Rom\n"));
    Anew();
    g_wVersion = 0x1111;
    EXPECT_FALSE(m_dev.DevReadVersion(g_wVersion));
    EXPECT_EQ(g_wVersion, 0x1111);
    EXPECT_THAT(m_reports.Lines(), IsEmpty());
}

TEST_F(StateTest, FlashModeNeedsNoResetWithTwoBanks)
{
    CState* const pState = Enter(FLASH_STATE);
    m_dev.m_bDualBank = true;
    m_dev.m_bAnswer = false;

    EXPECT_TRUE(m_dev.Reset2Rom());

    EXPECT_THAT(m_dev.m_calls, IsEmpty());
    EXPECT_EQ(m_dev.GetDevState(), pState);
}

TEST_F(StateTest, FlashModeReadsTheVersionAndWritesTheFirmwareBuffer)
{
    (void)Enter(FLASH_STATE);
    m_dev.SetFwBuf({1, 2, 3});

    EXPECT_TRUE(m_dev.WriteFlash());
    EXPECT_TRUE(m_dev.DevReadVersion(g_wVersion));

    EXPECT_EQ(m_dev.m_vWritten, Bytes({1, 2, 3}));
    EXPECT_EQ(g_wVersion, 0x0203);
}

TEST_F(StateTest, EventsMoveTheDeviceOnlyAlongTheCycle)
{
    for (const DEVSTATE eFrom :
         {OFFLINE_STATE, UNKNOWN_STATE, ROM_STATE, FLASH_STATE, WAIT_STATE}) {
        for (const Event& event : kEvents) {
            SCOPED_TRACE(testing::Message() << event.pszName << " in state " << eFrom);
            const Move move = MoveOf(eFrom, event.pszName);
            CState* const pState = Enter(eFrom);

            EXPECT_EQ(event.pfnFire(*pState), move.bAnswer);

            EXPECT_EQ(m_dev.GetDevState(), m_dev.GetCertainDevState(move.eTo));
        }
    }
    EXPECT_THAT(m_reports.Lines(), IsEmpty());
}

TEST_F(StateTest, OnlyOfflineIsAbsent)
{
    const std::pair<DEVSTATE, const char*> states[] = {{OFFLINE_STATE, "OfflineState"},
                                                       {UNKNOWN_STATE, "UnknownState"},
                                                       {ROM_STATE, "RomState"},
                                                       {FLASH_STATE, "FlashState"},
                                                       {WAIT_STATE, "WaitState"}};
    for (const auto& [eState, pszName] : states) {
        CState* const pState = Enter(eState);
        EXPECT_EQ(pState->GetName(), pszName);
        EXPECT_EQ(m_dev.IsPresent(), eState != OFFLINE_STATE) << pszName;
        EXPECT_EQ(m_dev.IsAbsent(), eState == OFFLINE_STATE) << pszName;
    }
}

TEST_F(StateTest, OnlyAnUnknownDeviceCanBeJudged)
{
    const struct
    {
        DEVSTATE eFrom;
        bool bRom;
        DEVSTATE eTo;
        const char* pszName;
    } cases[] = {{UNKNOWN_STATE, true, ROM_STATE, "RomState"},
                 {UNKNOWN_STATE, false, FLASH_STATE, "FlashState"},
                 {ROM_STATE, false, ROM_STATE, "RomState"},
                 {FLASH_STATE, true, FLASH_STATE, "FlashState"},
                 {WAIT_STATE, true, WAIT_STATE, "WaitState"},
                 {OFFLINE_STATE, false, OFFLINE_STATE, "OfflineState"}};
    for (const auto& judged : cases) {
        (void)Enter(judged.eFrom);
        m_dev.m_bRomCode = judged.bRom;
        m_reports.Clear();

        m_dev.JudgeCodeMode(&m_dev);

        EXPECT_EQ(m_dev.GetDevState(), m_dev.GetCertainDevState(judged.eTo));
        EXPECT_THAT(m_reports.Lines(), ElementsAre(std::string("0|CZelHubPDDev::JudgeCodeMode|"
                                                               "current state is ") +
                                                   judged.pszName + "\n"));
    }
}

TEST_F(StateTest, JudgingAnotherDeviceAsksOneAndMovesTheOther)
{
    CCountingDev other;
    other.SetDevState(other.GetCertainDevState(UNKNOWN_STATE));
    m_dev.m_bRomCode = true;

    m_dev.JudgeCodeMode(&other);

    EXPECT_EQ(other.GetDevState(), other.GetCertainDevState(ROM_STATE));
    EXPECT_EQ(m_dev.GetDevState(), m_dev.GetCertainDevState(OFFLINE_STATE));
    EXPECT_THAT(m_reports.Lines(),
                ElementsAre("0|CZelHubPDDev::JudgeCodeMode|current state is OfflineState\n"));
}

TEST_F(StateTest, ForceRemoveEndsOfflineFromEverywhere)
{
    for (const DEVSTATE eFrom : {UNKNOWN_STATE, ROM_STATE, FLASH_STATE, WAIT_STATE}) {
        (void)Enter(eFrom);
        m_dev.ForceRemove();
        EXPECT_EQ(m_dev.GetDevState(), m_dev.GetCertainDevState(OFFLINE_STATE)) << eFrom;
    }
}

TEST_F(StateTest, WithoutAStateEveryOperationSaysNoSilently)
{
    m_dev.UninitState();

    for (const StateOperation& op : kOperations)
        EXPECT_FALSE(op.pfnDo(m_dev)) << op.pszName;
    EXPECT_FALSE(m_dev.IsPresent());
    EXPECT_FALSE(m_dev.IsAbsent());
    EXPECT_THAT(m_reports.Lines(), IsEmpty());
    m_dev.JudgeCodeMode(&m_dev);
    EXPECT_EQ(m_dev.GetDevState(), nullptr);

    m_dev.InitState();
    EXPECT_TRUE(m_dev.IsAbsent());
}
} // namespace
