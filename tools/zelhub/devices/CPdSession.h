#pragma once

#include "flow/CUniversalFlow.h"
#include "tools/zelhub/devices/CGuardedPdDev.h"
#include "tools/zelhub/devices/COperationWatch.h"
#include "tools/zelhub/devices/PdStatus.h"
#include "tools/zelhub/devices/UpdateGuards.h"

#include <memory>
#include <optional>

/// A PD controller that commands work on, by whatever road it is reached.
class CPdSession
{
public:
    CPdSession(const CPdSession&) = delete;
    CPdSession& operator=(const CPdSession&) = delete;
    virtual ~CPdSession();

    CToolContext& Context() { return m_context; }
    CGuardedPdDev& Dev() { return *m_pDev; }
    CUniversalFlow& Flow() { return *m_pFlow; }
    const std::string& Name() const { return m_pDev->Facts().strDevice; }

    /// Asks politely: a read, which changes nothing.
    std::optional<PdStatus> TryStatus();
    PdStatus Status(); ///< throws CToolError where it does not answer

    virtual bool IsRoadOpen() = 0; ///< the device that carries its transfers is on the bus
    bool Answers();                ///< it can be reached now

    /// Waits for it after it was restarted. @return whether it answers
    bool WaitForReturn();

    /// Flash of a bank from its start, with progress. Throws CToolError.
    std::vector<BYTE> ReadBank(unsigned nBank, DWORD cb, const char* pszWhat);

    /// What the guards compare. Reads the chip ID where the running code is (or was) stored.
    HubBefore Before();

    /// A watch over its operations.
    COperationWatch Watch(const std::string& strRepeat, DWORD cbImage, bool bDualBank);

    /// Which one it is, and what follows, for results.
    virtual std::vector<Field> Fields(const std::vector<Field>& more) const = 0;

protected:
    /// @param finder where it is waited for; outlives this
    CPdSession(CToolContext& context, CToolResponder& responder, IDevFinder& finder,
               std::unique_ptr<CGuardedPdDev> pDev);

    CToolResponder& Responder() { return m_responder; }
    virtual std::string SelectorText() const = 0; ///< as a shell reads it
    virtual const char* PlugText() const = 0;     ///< what a person unplugs to restart it
    virtual std::string BenchId() = 0;            ///< what to plug on a bench when it is gone

    /// It did not answer a status. @param strWhy what the library says; may be empty
    [[noreturn]] virtual void RefuseSilence(const std::string& strWhy) = 0;

private:
    bool ReadSure(DWORD dwAddr, std::vector<BYTE>& bytes);

    CToolContext& m_context;
    CToolResponder& m_responder;
    IDevFinder& m_finder;
    std::unique_ptr<CGuardedPdDev> m_pDev;
    std::unique_ptr<CUniversalFlow> m_pFlow;
};
