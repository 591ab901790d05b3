#include "sim/machine/CSimCompanion.h"

#include "sim/machine/CSimDeviceTree.h"
#include "wire/DriverNames.h"

#include <cstring>

namespace
{
constexpr size_t kIdLimit = 200;
} // namespace

CSimCompanion::CSimCompanion(CSimClock& clock, CSimEvents& events, CSimDeviceTree& tree)
    : m_clock(clock), m_events(events), m_tree(tree)
{}

void CSimCompanion::Install()
{
    m_bPipe = true;
    m_events.MakeNamed(SS_EVENT_NAME, false);
}

void CSimCompanion::Remove()
{
    m_bPipe = false;
    m_events.RemoveNamed(SS_EVENT_NAME);
}

void CSimCompanion::Receive(const BYTE* pData, size_t cb)
{
    SimCompanionRequest request;
    if (const char* const pszReason = Decode(pData, cb, &request)) {
        m_rejections.emplace_back(pszReason);
        return;
    }
    m_requests.push_back(request);
    m_clock.Schedule(m_delay, [this, request] { Complete(request); });
}

const char* CSimCompanion::Decode(const BYTE* pData, size_t cb, SimCompanionRequest* pRequest)
{
    if (cb < 3 || cb % 2 == 0)
        return "the request is not a switch byte and 16-bit text";
    if (pData[0] > 1)
        return "the switch byte is neither 0 nor 1";
    pRequest->bTurnOn = pData[0] == 1;
    std::vector<WCHAR> text((cb - 1) / 2);
    std::memcpy(text.data(), pData + 1, cb - 1);
    if (text.back() != 0)
        return "the list does not end with a zero";
    WString strId;
    for (size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != 0) {
            strId.push_back(text[i]);
            continue;
        }
        if (strId.empty())
            return "the list ends before the request does";
        pRequest->ids.push_back(strId);
        strId.clear();
    }
    if (!strId.empty())
        return "the last text has no zero of its own";
    for (const WString& strOne : pRequest->ids)
        if (strOne.size() > kIdLimit)
            return "a text is longer than 200 characters";
    return pRequest->ids.empty() ? "the list is empty" : nullptr;
}

void CSimCompanion::Complete(const SimCompanionRequest& request)
{
    for (const WString& strId : request.ids)
        if (CSimNode* const pNode = m_tree.FindById(strId))
            pNode->SetPowerSaving(request.bTurnOn);
    const auto pEvent = m_events.FindNamed(SS_EVENT_NAME);
    if (m_bSignals && pEvent != nullptr)
        pEvent->bSignalled = true;
}
