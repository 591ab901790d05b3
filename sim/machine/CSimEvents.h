#pragma once

#include "sim/machine/CSimHandles.h"

#include <map>
#include <memory>

/// An event object; named ones are shared by all simulated processes.
struct SimEvent
{
    bool bManualReset = false;
    bool bSignalled = false;
};

/// The machine's named events.
class CSimEvents
{
public:
    std::shared_ptr<SimEvent> MakeNamed(const WString& strName, bool bManualReset);
    std::shared_ptr<SimEvent> FindNamed(const WString& strName) const; ///< null: not there
    void RemoveNamed(const WString& strName) { m_named.erase(strName); }

private:
    std::map<WString, std::shared_ptr<SimEvent>> m_named;
};
