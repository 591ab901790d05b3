#pragma once

#include "tools/zelhub/devices/OperationFacts.h"

#include <functional>

/// What happens to a device during an operation: its facts, and who wants to hear of them.
class COperationNotes
{
public:
    /// What the device tells its user meanwhile. All may be empty.
    struct Hooks
    {
        /// A phase begins, or (with a percentage of it) goes on.
        std::function<void(Phase, int nPhasePercent)> step;
        std::function<bool()> wantsToStop;
        /// The transport's last complaint.
        std::function<std::string()> transferError;
    };

    void SetHooks(Hooks hooks) { m_hooks = std::move(hooks); }
    const OperationFacts& Facts() const { return m_facts; }
    void ForgetFacts(bool bDualBank);
    void BeginPhase(Phase ePhase);

protected:
    /// @param strDevice what messages call the device ("hub")
    explicit COperationNotes(std::string strDevice) { m_facts.strDevice = std::move(strDevice); }
    COperationNotes(const COperationNotes&) = delete;
    COperationNotes& operator=(const COperationNotes&) = delete;
    ~COperationNotes() = default;

    bool Stopped();             ///< the user wants to stop, and flash was not touched
    void Noted(Phase ePhase);   ///< the facts changed within a phase
    bool Complain(bool bDone);  ///< notes why a step failed. @return bDone
    void Advance(int nPercent); ///< of the verification

    Hooks m_hooks;
    OperationFacts m_facts;
};
