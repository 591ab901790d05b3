#include "tools/zelhub/devices/COperationNotes.h"

void COperationNotes::ForgetFacts(bool bDualBank)
{
    OperationFacts facts;
    facts.strDevice = m_facts.strDevice;
    facts.bDualBank = bDualBank;
    m_facts = facts;
}

void COperationNotes::BeginPhase(Phase ePhase)
{
    m_facts.ePhase = ePhase;
    if (m_hooks.step)
        m_hooks.step(ePhase, 0);
}

bool COperationNotes::Stopped()
{
    // Once flash is touched, going on is the safest way out.
    if (m_facts.FlashTouched() || !m_hooks.wantsToStop || !m_hooks.wantsToStop())
        return false;
    m_facts.bInterrupted = true;
    return true;
}

void COperationNotes::Noted(Phase ePhase)
{
    constexpr int kUnderWay = 1;
    if (m_hooks.step)
        m_hooks.step(ePhase, kUnderWay);
}

bool COperationNotes::Complain(bool bDone)
{
    if (!bDone && m_hooks.transferError)
        m_facts.strTransferError = m_hooks.transferError();
    return bDone;
}

void COperationNotes::Advance(int nPercent)
{
    if (m_hooks.step)
        m_hooks.step(Phase::Verify, nPercent);
}
