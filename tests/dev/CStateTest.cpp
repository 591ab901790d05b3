#include "dev/CState.h"

#include "dev/CountingDev.h"
#include "dev/DevFixture.h"

using testing::IsEmpty;

namespace
{
USHORT g_wVersion = 0;

struct StateOperation
{
    bool (*pfnDo)(IDev& dev);
    const char* pszInRom; ///< the operation that ROM mode calls; empty: none
    const char* pszInFlash;
};

const StateOperation kOperations[] = {
    {[](IDev& d) { return d.Reset2Rom(); }, "Reset2RomEx", "Reset2RomEx"},
    {[](IDev& d) { return d.Reset2Flash(); }, "Reset2FlashEx", "Reset2FlashEx"},
    {[](IDev& d) { return d.WriteFlash(); }, "WriteFlashEx", "WriteFlashEx"},
    {[](IDev& d) { return d.CheckFlash(); }, "CheckFlashWithCmp", "CheckFlashInFlash"},
    {[](IDev& d) { return d.DevReadVersion(g_wVersion); }, "", "DevReadVersionEx"},
    {[](IDev& d) { return d.DevErase(); }, "DevEraseEx", "DevEraseEx"},
};

const std::pair<DEVSTATE, const char*> kStates[] = {{OFFLINE_STATE, "OfflineState"},
                                                    {UNKNOWN_STATE, "UnknownState"},
                                                    {ROM_STATE, "RomState"},
                                                    {FLASH_STATE, "FlashState"},
                                                    {WAIT_STATE, "WaitState"}};

const std::pair<const char*, bool (*)(CState&)> kEvents[] = {
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

class StateTest : public FixtureOf<CCountingDev>
{
protected:
    StateTest() { Anew(); }
};

TEST_F(StateTest, OnlyRomAndFlashModePassOperationsOnAndResultsBack)
{
    for (const auto& [eState, pszName] : kStates) {
        for (const StateOperation& op : kOperations) {
            for (const bool bAnswer : {true, false}) {
                SCOPED_TRACE(testing::Message() << pszName << " " << op.pszInFlash << bAnswer);
                CState* const pState = Enter(eState);
                m_dev.m_calls.clear();
                m_dev.m_bAnswer = bAnswer;
                std::vector<std::string> calls;
                if (eState == FLASH_STATE || (eState == ROM_STATE && op.pszInRom[0] != 0))
                    calls = {eState == ROM_STATE ? op.pszInRom : op.pszInFlash};

                EXPECT_EQ(op.pfnDo(m_dev), bAnswer && !calls.empty());

                EXPECT_EQ(m_dev.m_calls, calls);
                EXPECT_EQ(m_dev.GetDevState(), pState);
            }
        }
    }
}

TEST_F(StateTest, EventsMoveTheDeviceOnlyAlongTheCycle)
{
    for (const auto& [eFrom, pszName] : kStates) {
        for (const auto& [pszEvent, pfnFire] : kEvents) {
            SCOPED_TRACE(testing::Message() << pszEvent << " in " << pszName);
            const Move move = MoveOf(eFrom, pszEvent);
            CState* const pState = Enter(eFrom);

            EXPECT_EQ(pfnFire(*pState), move.bAnswer);

            EXPECT_EQ(m_dev.GetDevState(), m_dev.GetCertainDevState(move.eTo));
        }
    }
}

TEST_F(StateTest, JudgingAsksOneDeviceAndMovesAnUnknownOther)
{
    CCountingDev other;
    for (const bool bRom : {true, false}) {
        other.SetDevState(other.GetCertainDevState(UNKNOWN_STATE));
        for (const bool bNow : {bRom, !bRom}) { // once judged, it stays
            m_dev.m_bRomCode = bNow;
            m_dev.JudgeCodeMode(&other);
            EXPECT_EQ(other.GetDevState(),
                      other.GetCertainDevState(bRom ? ROM_STATE : FLASH_STATE));
        }
    }
    EXPECT_TRUE(m_dev.IsAbsent());
    EXPECT_EQ(m_reports.Lines().back(),
              "0|CZelHubPDDev::JudgeCodeMode|current state is OfflineState\n");
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
        EXPECT_FALSE(op.pfnDo(m_dev)) << op.pszInFlash;
    EXPECT_FALSE(m_dev.IsPresent());
    EXPECT_FALSE(m_dev.IsAbsent());
    EXPECT_THAT(m_reports.Lines(), IsEmpty());
    m_dev.JudgeCodeMode(&m_dev);
    EXPECT_EQ(m_dev.GetDevState(), nullptr);

    m_dev.InitState();
    EXPECT_TRUE(m_dev.IsAbsent());
}
} // namespace
