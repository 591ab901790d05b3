#pragma once

#include <list>

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

    std::list<DWORD> m_lstLast;     ///< present after the previous cycle, ascending
    std::list<DWORD> m_lstCurrent;  ///< found by the latest enumeration
    std::list<DWORD> m_lstArrived;  ///< ascending
    std::list<DWORD> m_lstRemoved;  ///< ascending
    std::list<DWORD> m_lstSuitable; ///< waiting to be handed out by the extended cycle
    bool m_bAccepting = true;       ///< the extended cycle still collects
};
