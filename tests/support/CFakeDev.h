#pragma once

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "dev/IDev.h"

/// A device for finders and matchers: it takes the nodes in `mine`, holds the node that arrived
/// last, and writes down what it is told. Each call of InitDev, IsPresent and IsAbsent counts.
class CFakeDev : public IDev
{
public:
    CFakeDev() = default;
    explicit CFakeDev(std::set<DWORD> takes) : mine(std::move(takes)) {}

    std::set<DWORD> mine;
    std::vector<std::string> told;
    DWORD held = 0;
    bool bInits = true;
    WString strPath;
    int nLevel = 0;
    int nPort = 0;
    std::vector<std::pair<DWORD, DWORD>> ids; ///< as GetDevID gives them

    bool MatchDev(DWORD devInst) override { return mine.count(devInst) != 0; }
    bool IsMeEx(DWORD devInst) override { return held == devInst; }
    bool IsPresent() override { return held != 0; }
    bool IsAbsent() override { return held == 0; }
    bool InitDev(BYTE byParam) override
    {
        vInitParams.push_back(byParam);
        return bInits;
    }
    bool Arrive(DWORD devInst, DWORD dwOldSS) override
    {
        char szText[64];
        std::snprintf(szText, sizeof szText, "arrive %u ss=%x", static_cast<unsigned>(devInst),
                      static_cast<unsigned>(dwOldSS));
        return Tell(szText, devInst);
    }
    bool Arrive(DWORD devInst) override
    {
        return Tell("arrive " + std::to_string(devInst), devInst);
    }
    bool Remove() override { return Tell("remove", 0); }
    void ForceRemove() override { (void)Tell("force remove", 0); }
    WString GetLocationPath() override { return strPath; }
    int GetLevel() override { return nLevel; }
    int GetPort() override { return nPort; }
    bool GetDevID(DWORD& dwFirst, DWORD& dwSecond, DWORD dwIndex) override
    {
        if (dwIndex >= ids.size())
            return false;
        dwFirst = ids[dwIndex].first;
        dwSecond = ids[dwIndex].second;
        return true;
    }

    std::vector<BYTE> vInitParams;

private:
    bool Tell(std::string strWhat, DWORD holds)
    {
        told.push_back(std::move(strWhat));
        held = holds;
        return true;
    }
};
