#pragma once

#include <memory>

#include "find/CUSBDevFind.h"

class CRootHubFilter;
class CU3HubFilter;

/// Finds the maker's hubs. Its cycles see neither root hubs nor SuperSpeed halves; ListDevice
/// lists both halves.
class ZEL_API CHubFind : public CUSBDevFind
{
public:
    CHubFind();
    ~CHubFind() override;

    const GUID* GetClassGUID() override;
    DWORD ListAllDevPortInfo(_Hub_Info** ppList, DWORD* pdwCount) override;
    bool ListDevice(_Hub_Info*& pList, DWORD& dwCount) override;

    void EnumDevs(); ///< refreshes the hub list; a failed request keeps it

    /// The transport's identity test. @param nAcceptSmBus non-zero: "SM BUS" hubs count too
    /// @return non-zero: one of the maker's hubs
    int KyHub_IsVoHub(DWORD devInst, int nAcceptSmBus);

private:
    std::list<DWORD> m_lstHub;
    DWORD m_dwHubCount = 0;
    std::unique_ptr<CRootHubFilter> m_pRootHubFilter;
    std::unique_ptr<CU3HubFilter> m_pU3HubFilter;
};
