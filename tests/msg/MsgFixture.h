#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "msg/CMsgBase.h"
#include "msg/IResponder.h"
#include "sim/machine/CSimMachine.h"

/// Keeps what it is told, in order.
class CNotebook : public IResponder
{
public:
    void ShowMsg(const char* pszText, ERRORLEVEL eLevel) override
    {
        lines.emplace_back(pszText);
        levels.push_back(eLevel);
    }
    void ShowUIMsg(const char* pszText, RESTYPE eType) override
    {
        lines.emplace_back(std::to_string(eType) + "|" + pszText);
    }
    void CountDown(const char* pszTitle, int nSeconds, ERRORLEVEL eLevel) override
    {
        lines.emplace_back(std::string(pszTitle) + "|" + std::to_string(nSeconds) + "|" +
                           std::to_string(eLevel));
    }
    void ShowProgress(int nPercent) override { lines.emplace_back(std::to_string(nPercent)); }
    void SetMsgLevel(ERRORLEVEL) override {}

    std::vector<std::string> lines;
    std::vector<int> levels;
};

/// A simulated machine whose clock shows 15 January 2024, 09:05:03.
class MsgTest : public testing::Test
{
protected:
    MsgTest()
    {
        m_machine.Clock().SetStart({2024, 0, 15, 9, 5, 3});
        m_machine.Clock().SetFixed(true);
        m_machine.HostFiles().UseMemory();
        SetCurrentPlatform(&m_machine);
    }
    ~MsgTest() override { SetCurrentPlatform(nullptr); }

    CSimMachine m_machine;
};

constexpr const char* kStamp = "[2024-0-15, 9:5:3]  ";
