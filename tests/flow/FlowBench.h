#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "dev/CFlashMode.h"
#include "dev/COfflineState.h"
#include "dev/CRomMode.h"
#include "dev/CUnknownState.h"
#include "dev/CWaitState.h"
#include "dev/IDev.h"
#include "find/IDevFinder.h"
#include "flow/CUniversalFlow.h"
#include "flow/IFwFinder.h"
#include "msg/CMsg.h"
#include "msg/IResponder.h"

/// What happened, in order and with "|" in between: calls of device and finder by name, "30%" for
/// progress, "ui0" for results. Calls fail when a test says so: "connect#2" is the second.
class CTrace : public IResponder
{
public:
    CTrace() { CMsg::GetObj()->Attach(this); }
    CTrace(const CTrace&) = delete;
    CTrace& operator=(const CTrace&) = delete;
    ~CTrace() override { CMsg::GetObj()->ClearResponder(); }

    bool Call(const std::string& strName)
    {
        Note(strName);
        return fails.count(strName + "#" + std::to_string(++m_counts[strName])) == 0;
    }

    void ShowMsg(const char*, ERRORLEVEL) override {}
    void ShowUIMsg(const char*, RESTYPE eType) override { Note("ui" + std::to_string(eType)); }
    void CountDown(const char*, int, ERRORLEVEL) override {}
    void ShowProgress(int nPercent) override { Note(std::to_string(nPercent) + "%"); }
    void SetMsgLevel(ERRORLEVEL) override {}

    std::string steps;
    std::set<std::string> fails;

private:
    void Note(const std::string& strStep) { steps += (steps.empty() ? "" : "|") + strStep; }

    std::map<std::string, int> m_counts;
};

/// A finder whose waits end at once, as the trace says. Its unit of time is checked here.
class CFlowFinder : public IDevFinder
{
public:
    explicit CFlowFinder(CTrace& trace) : m_trace(trace) {}

    bool WaitDevConnect(IDev* pDev, int nSeconds) override
    {
        EXPECT_EQ(nSeconds, 10);
        return Call(pDev, "connect");
    }
    bool WaitDevUnconnect(IDev* pDev, int nSeconds) override
    {
        EXPECT_EQ(nSeconds, 10);
        return Call(pDev, "disconnect");
    }
    bool DummyRemove(IDev* pDev) override { return Call(pDev, "forget"); }

    IDev* pExpected = nullptr;

private:
    bool Call(IDev* pDev, const char* pszName)
    {
        EXPECT_EQ(pDev, pExpected);
        return m_trace.Call(pszName);
    }

    CTrace& m_trace;
};

/// A device that answers as the trace says. A reset leads to the Wait state unless the device is
/// said to stay; judging finds what it is said to run.
class CFlowDev : public IDev
{
public:
    explicit CFlowDev(CTrace& trace) : m_trace(trace) {}

    CState* GetDevState() override { return GetCertainDevState(eState); }
    CState* GetCertainDevState(DEVSTATE eWanted) override
    {
        CState* const states[] = {&m_offline, &m_unknown, &m_rom, &m_flash, &m_wait};
        return states[eWanted];
    }
    void JudgeCodeMode(IDev* pDev) override
    {
        EXPECT_EQ(pDev, this);
        eState = eRuns;
        m_trace.Call("judge");
    }
    bool ForceReset2Rom() override { return Reset("force reset to rom"); }
    bool Reset2Rom() override { return Reset("reset to rom"); }
    bool Reset2Flash() override { return Reset("reset to flash"); }
    bool WriteFlash() override { return m_trace.Call("write"); }
    bool CheckFlash() override { return m_trace.Call("check"); }
    bool DevErase() override { return m_trace.Call("erase"); }
    bool UnInitDev(BYTE byParam) override
    {
        EXPECT_EQ(byParam, 0);
        return m_trace.Call("uninit");
    }
    bool DevReadVersion(USHORT& wVersion) override
    {
        if (!m_trace.Call("read version"))
            return false;
        wVersion = 0x1234;
        return true;
    }
    bool DevReadBINVersion(USHORT& wVersion, int nWhich) override
    {
        wVersion = static_cast<USHORT>(0x5600 + nWhich);
        return m_trace.Call("read image version");
    }
    void InitFwFinder(const std::string& strPath) override { strImagePath = strPath; }
    IFwFinder* GetFwFinder() override { return pImages; }

    DEVSTATE eState = UNKNOWN_STATE;
    DEVSTATE eRuns = ROM_STATE;
    bool bStays = false; ///< dual bank: resets do not take it off the bus
    std::string strImagePath;
    IFwFinder* pImages = nullptr;

private:
    bool Reset(const char* pszName)
    {
        const bool bDone = m_trace.Call(pszName);
        if (bDone && !bStays)
            eState = WAIT_STATE;
        return bDone;
    }

    CTrace& m_trace;
    COfflineState m_offline;
    CUnknownState m_unknown;
    CRomMode m_rom;
    CFlashMode m_flash;
    CWaitState m_wait;
};
