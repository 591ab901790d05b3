#pragma once

#include <list>
#include <vector>

#include "find/IDevFinder.h"

/// Enumerates the nodes of one interface class, compares with the last cycle, and tells the
/// attached devices.
class ZEL_API CUSBDevFind : public IDevFinder
{
public:
    CUSBDevFind();
    ~CUSBDevFind() override;

    void WatchAllDevs() override;
    bool DummyRemove(IDev* pDev) override;
    void WatchAllDevsEx() override;
    void WatchAllHidDevs() override;
    bool ForceRemove(IDev* pDev) override;
    bool FilterDev(DWORD devInst) override;

    /// Refreshes the list of current nodes; after a failure it keeps its content.
    void EnumAllDevs();

private:
    void DiffWithLast();
    void RemoveAllDevs();
    void ArriveAllDevs();
    void ArriveAllHidDevs();
    void CollectSuitable();
    void ArriveAllDevsEx();

    std::vector<DWORD> m_vLast;     ///< present after the previous cycle, ascending
    std::vector<DWORD> m_vCurrent;  ///< found by the latest enumeration
    std::vector<DWORD> m_vArrived;  ///< ascending
    std::vector<DWORD> m_vRemoved;  ///< ascending
    std::list<DWORD> m_lstSuitable; ///< waiting to be handed out by the extended cycle
    bool m_bAccepting = true;       ///< the extended cycle still collects
};
