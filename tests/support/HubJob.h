#pragma once

#include "dev/CHubDev.h"
#include "find/CHubFind.h"
#include "flow/CUniversalFlow.h"

#include <memory>
#include <string>

/// What a host keeps for one hub that it updates: a finder and a device of its own.
struct HubJob
{
    /// @param strPath where the hub is
    explicit HubJob(WString strPath) : pDev(GetHubDev())
    {
        pDev->SetTopo(strPath.data());
        finder.Attach(pDev.get());
        pFlow.reset(GetUniversalFlow(&finder, pDev.get()));
    }
    HubJob(const HubJob&) = delete;
    HubJob& operator=(const HubJob&) = delete;
    ~HubJob()
    {
        (void)finder.DummyRemove(pDev.get());
        finder.Detach(pDev.get());
    }

    bool Update(const std::string& strFile)
    {
        return pFlow->InitFwFinder(strFile) && pFlow->DevUpdate();
    }

    CHubFind finder;
    std::unique_ptr<CHubDev> pDev;
    std::unique_ptr<CUniversalFlow> pFlow;
};
