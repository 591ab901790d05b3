#pragma once

#include "tools/zelhub/HostSystem.h"

/// Keeps two processes from working on one hub: named after its location path, ends with the
/// process however that ends.
class CHubLock
{
public:
    /// Takes the lock. Throws CToolError (no access) when another process has it.
    /// @param strBench the bench that the hub is on; empty: the real machine
    CHubLock(const std::string& strLocation, const std::string& strBench);

    static std::string NameOf(const std::string& strLocation, const std::string& strBench);

private:
    std::unique_ptr<HostSystem::CProcessLock> m_pLock;
};
