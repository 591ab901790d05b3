#include "sim/machine/CSimEvents.h"

std::shared_ptr<SimEvent> CSimEvents::MakeNamed(const WString& strName, bool bManualReset)
{
    auto& pEvent = m_named[strName];
    if (pEvent == nullptr)
        pEvent = std::make_shared<SimEvent>(SimEvent{bManualReset, false});
    return pEvent;
}

std::shared_ptr<SimEvent> CSimEvents::FindNamed(const WString& strName) const
{
    const auto it = m_named.find(strName);
    return it == m_named.end() ? nullptr : it->second;
}
