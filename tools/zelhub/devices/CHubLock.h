#pragma once

#include "tools/zelhub/system/HostSystem.h"

#include <vector>

/// Keeps two processes from working on one hub or other device, and from working on a hub (which
/// may restart it) while another works on something that hangs below it: one lock of its own,
/// named after the location path, and a shared one of every hub above. Ends with the process,
/// however that ends.
class CHubLock
{
public:
    /// Takes the locks. Throws CToolError (no access) when another process has one of them.
    /// @param strBench the bench that the device is on; empty: the real machine
    /// @param strWhat what is locked, for messages
    CHubLock(const std::string& strLocation, const std::string& strBench,
             const std::string& strWhat = "the hub at ");

    static std::string NameOf(const std::string& strLocation, const std::string& strBench);

private:
    void Take(const std::string& strLocation, const std::string& strBench,
              const std::string& strWhat, bool bShared);

    std::vector<std::unique_ptr<HostSystem::CProcessLock>> m_locks;
};
