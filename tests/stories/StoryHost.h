#pragma once

#include "api/zelhub.h"
#include "api/zelhub_bench.h"
#include "msg/CMsg.h"
#include "msg/IResponder.h"
#include "sim/machine/CSimMachine.h"
#include "sim/models/CSimHub.h"
#include "sim/models/CSimImage.h"
#include "support/HubJob.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

using Image = std::vector<BYTE>;

/// What a host's user interface shows.
class CHostView : public IResponder
{
public:
    CHostView() { CMsg::GetObj()->Attach(this); }
    ~CHostView() override { CMsg::GetObj()->ClearResponder(); }

    void ShowMsg(const char*, ERRORLEVEL) override {}
    void ShowUIMsg(const char* pszText, RESTYPE eType) override
    {
        if (eType != RES_INFO)
            m_results.push_back(std::to_string(eType) + " " + pszText);
    }
    void CountDown(const char*, int nSeconds, ERRORLEVEL) override
    {
        m_nLongestCount = std::max(m_nLongestCount, nSeconds);
    }
    void ShowProgress(int nPercent) override { m_progress.push_back(nPercent); }
    void SetMsgLevel(ERRORLEVEL) override {}

    std::vector<int> m_progress;
    std::vector<std::string> m_results;
    int m_nLongestCount = -1;
};

/// A hub on the story's computer: the chip and the node by which the system knows it.
struct StoryHub
{
    std::unique_ptr<CSimHub> pChip;
    CSimNode* pNode;

    DWORD DevInst() const { return pNode->DevInst(); }
    WString Path() const { return pNode->Traits().locationPaths.front(); }
};

/// A computer whose process uses the shared library, and nothing else of it.
class StoryTest : public testing::Test
{
protected:
    StoryTest()
    {
        m_machine.HostFiles().UseMemory();
        m_machine.HostFiles().SetSeparator('/');
        m_machine.Traits().modulePath = "/opt/host/libZelhublib64.so";
        ZelSetPlatform(&m_machine);
    }

    ~StoryTest() override
    {
        XH_UnInitDevice();
        ZelSetPlatform(nullptr);
    }

    StoryHub AddHub(unsigned nPort, const SimHubSettings& settings = {}, CSimNode* pAbove = nullptr)
    {
        CSimNode& above = pAbove != nullptr ? *pAbove : m_machine.RootHub();
        StoryHub hub;
        hub.pChip = std::make_unique<CSimHub>(m_machine.Time(), settings);
        hub.pNode = &m_machine.Tree().AddHub(above, nPort, {}, hub.pChip.get());
        hub.pChip->AddPort(hub.pNode);
        hub.pChip->LoadImage(m_old);
        return hub;
    }

    void Offer(const std::string& strPath, const Image& image)
    {
        m_machine.HostFiles().Put(strPath, image);
    }

    std::string Log() { return m_machine.HostFiles().Text("/opt/host/info.txt"); }

    const Image m_old = CSimImage(0x8100).Version(0x0111).Seed(1).Build();
    const Image m_new = CSimImage(0x9123).Version(0x0222).Seed(2).Build();
    CSimMachine m_machine;
};
