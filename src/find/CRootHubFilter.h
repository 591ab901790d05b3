#pragma once

#include <list>
#include <string>

#include "find/IFilterEx.h"

/// Excludes root hubs: nodes whose parent is a host controller.
class ZEL_API CRootHubFilter : public IFilterEx
{
public:
    bool Filter(DWORD devInst) override;

    /// Fills the host-controller list; it is not refreshed afterwards. After a failure the list
    /// stays empty.
    void EnumHostController();

private:
    std::string m_strText; ///< not used
    std::list<DWORD> m_lstHostController;
};
