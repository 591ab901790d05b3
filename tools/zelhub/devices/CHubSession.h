#pragma once

#include "find/CHubFind.h"
#include "flow/CUniversalFlow.h"
#include "tools/zelhub/context/CToolResponder.h"
#include "tools/zelhub/devices/CGuardedHubDev.h"
#include "tools/zelhub/devices/CHubList.h"
#include "tools/zelhub/devices/CHubLock.h"
#include "tools/zelhub/devices/HubReads.h"

#include <memory>
#include <optional>

/// The library started for one command: lists hubs, opens one, and releases everything at its
/// end. The order of things here is what an integrator's host needs as well.
class CHubSession
{
public:
    /// Starts the library on the bench or on the real machine. Throws CToolError when the hub
    /// driver did not start, although the library's start says otherwise.
    explicit CHubSession(CToolContext& context);
    CHubSession(const CHubSession&) = delete;
    CHubSession& operator=(const CHubSession&) = delete;
    ~CHubSession();

    CToolResponder& Responder() { return m_responder; }

    /// The hubs on the machine, for when none is open.
    CHubList List(bool bDetails = false) { return CHubList::Make(m_responder, bDetails); }

    /// Chooses by --hub, locks and opens it, and asks which code it runs. Throws CToolError.
    void OpenChosen();

    // The rest is for when a hub is open.

    const HubRow& Chosen() const { return *m_chosen; }
    std::string SelectorText() const; ///< "--hub path:..." as a shell reads it
    CGuardedHubDev& Dev() { return *m_pDev; }
    CUniversalFlow& Flow() { return *m_pFlow; }
    CHubFind& Finder() { return *m_pFinder; }
    CToolContext& Context() { return m_context; }

    /// The 20 status bytes. Throws CToolError where they cannot be read.
    HubReads::Status Status();
    std::optional<HubReads::Status> TryStatus(); ///< nothing where they cannot be read

    /// Whether a hub's node is at the chosen place now.
    bool IsOnBus() const;
    bool IsStillOnBus() const; ///< the same after something failed (CToolContext::IsThereStill)

    /// Waits for the hub after it went. @return true when it is open again
    bool WaitForReturn();

    /// The version that the hub runs, asked through the flow; nothing when it could not be read,
    /// whatever the flow returned.
    std::optional<USHORT> RunningVersion();

    /// Label and value of the chosen hub, and what follows, for results.
    std::vector<Field> HubFields(const std::vector<Field>& more) const;

private:
    void StartLibrary();
    void CheckDriver();
    void Connect();
    [[noreturn]] void RefuseConnect();

    CToolContext& m_context;
    CToolResponder m_responder;
    std::optional<HubRow> m_chosen;
    std::optional<CHubLock> m_lock;
    std::unique_ptr<CGuardedHubDev> m_pDev;
    std::unique_ptr<CHubFind> m_pFinder;
    std::unique_ptr<CUniversalFlow> m_pFlow;
};
