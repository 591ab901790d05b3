#pragma once

#include "dev/CHubDev.h"
#include "tools/zelhub/OperationFacts.h"

#include <functional>

/// The tool's hub: does every step as the library does, notes what happened, stops for Ctrl-C
/// before flash is touched, and lets no difference between image and flash pass.
class CGuardedHubDev : public CHubDev
{
public:
    /// What the hub tells its user meanwhile. Both may be empty.
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
    void ForgetFacts(bool bDualBank)
    {
        m_facts = OperationFacts();
        m_facts.bDualBank = bDualBank;
    }
    void BeginPhase(Phase ePhase);

    /// Reads flash back and compares it with the firmware buffer, byte by byte. Notes the first
    /// difference. @return true when every byte was read and is the image's
    bool StrictReadBack();

    bool Reset2RomEx() override;
    bool DevEraseEx() override;
    bool WriteFlashEx(const std::vector<BYTE>& vFw) override;

    /// The library's checks can pass on bytes that differ; the strict one goes first.
    bool CheckFlashWithCmp() override;
    bool CheckFlashInFlash() override;
    bool Reset2FlashEx() override;

private:
    bool Stopped();
    void Noted(Phase ePhase); ///< the facts changed within a phase
    bool Complain(bool bDone);

    Hooks m_hooks;
    OperationFacts m_facts;
    bool m_bReadBack = false; ///< the strict check of this round is done
};
