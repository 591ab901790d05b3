#pragma once

#include <list>

#include "find/HubInfo.h"
#include "platform/Export.h"
#include "platform/Types.h"

class IDev;
class IFilterEx;
struct _KYHID_INST; // NOLINT(bugprone-reserved-identifier)

/// Keeps track of which nodes are present and tells attached devices of changes. It has no
/// thread: the caller drives it by a cycle or by a wait, which polls the cycle 8 times a second.
/// Devices and filters are not owned and must outlive their use.
class ZEL_API IDevFinder
{
public:
    IDevFinder();
    IDevFinder(const IDevFinder&) = delete;
    IDevFinder& operator=(const IDevFinder&) = delete;
    virtual ~IDevFinder();

    virtual void WatchAllDevs(); ///< one cycle: removals, then at most one arrival

    /// Waits block up to nSeconds * 8 polls, 128 ms apart, and show a count-down. Each poll runs a
    /// cycle, whose own time comes on top: an arrival that does not answer costs 5 s and more, and
    /// without elevation opens wait for the companion service without limit.
    /// @return true when the device came (went) in time
    virtual bool WaitDevConnect(IDev* pDev, int nSeconds);
    virtual bool WaitDevUnconnect(IDev* pDev, int nSeconds);
    virtual bool WaitHidDevConnect(IDev* pDev, int nSeconds);

    /// The interface class to enumerate; null: none, every request then fails.
    virtual const GUID* GetClassGUID();

    /// Not supported by any finder here: 0, with the outputs untouched.
    virtual DWORD ListHidAllDevice(_KYHID_INST** ppList, DWORD* pdwCount);
    virtual DWORD ListHidAllDevice(_KYHID_INST** ppList, DWORD* pdwCount, DWORD dwExtra);

    /// Lists the devices on the ports of all hubs into a new array (delete[], or
    /// XH_FreeAllDevice). After a failure *ppList is null, and *pdwCount 0 or untouched.
    /// @return status: 0 = success, 0xFFFFFFFF = no port, 87 = null pointer, or the system's code
    virtual DWORD ListAllDevPortInfo(_Hub_Info** ppList, DWORD* pdwCount);

    /// Appends; no duplicate check. Throws std::length_error when the list is full.
    virtual void Attach(IDev* pDev);
    virtual void Detach(IDev* pDev); ///< removes every entry equal to pDev

    /// Closes the transport, forgets what was present and tells the device that it has gone.
    /// @return true when supported
    virtual bool DummyRemove(IDev* pDev);

    /// As WaitDevConnect with the extended cycle, which collects the suitable nodes once and
    /// hands them out one a cycle.
    virtual bool WaitDevConnectEx(IDev* pDev, int nSeconds);
    virtual void WatchAllDevsEx();
    virtual void WatchAllHidDevs(); ///< one cycle that opens HID devices

    /// Lists the maker's hubs into a new array (delete[], or XH_FreeAllDevice). Each hub is asked;
    /// without elevation that waits for the companion service without limit.
    /// @return false with count 0 and the list untouched when there is none
    virtual bool ListDevice(_Hub_Info*& pList, DWORD& dwCount);
    virtual bool ForceRemove(IDev* pDev);  ///< as DummyRemove, but the device goes offline
    virtual bool FilterDev(DWORD devInst); ///< true: the node is excluded

    /// Appends a filter. Throws std::length_error when the list is full.
    void AddFilter(IFilterEx* pFilter);

protected:
    std::list<IDev*> m_lstDev;
    std::list<IFilterEx*> m_lstFilter;
};
