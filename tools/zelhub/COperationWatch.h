#pragma once

#include "tools/zelhub/CHubSession.h"

/// Shows an operation of the chosen hub, or of what hangs behind it, while it runs, keeps the leave
/// card true, and turns what happened into a failure that a person can act on.
class COperationWatch
{
public:
    /// @param strRepeat the command to type after a failure, from its name on, without --hub
    /// @param bDualBank the hub's other bank is written, not the one that runs
    COperationWatch(CHubSession& session, std::string strRepeat, unsigned long long cbImage,
                    bool bDualBank);

    /// The same for another device. @param isPresent whether it can be reached now
    COperationWatch(CHubSession& session, COperationNotes& notes, std::function<bool()> isPresent,
                    std::string strRepeat, unsigned long long cbImage, bool bDualBank);
    COperationWatch(const COperationWatch&) = delete;
    COperationWatch& operator=(const COperationWatch&) = delete;
    ~COperationWatch();

    /// What to say about the operation as it stands. @param strWhat empty: composed
    [[noreturn]] void Fail(ExitCode eCode, const std::string& strWhat = {});

    /// The failure of a flow that said no, or stopped without saying so.
    [[noreturn]] void FailByFacts();

private:
    void Step(Phase ePhase, int nPhasePercent);
    void LibraryProgress(int nPercent);
    void RefreshLeaveCard();
    bool WantsToStop();
    std::string NextText(bool bPresent, bool bBlank) const;

    CHubSession& m_session;
    COperationNotes& m_notes;
    std::function<bool()> m_isPresent;
    std::string m_strRepeat;
    unsigned long long m_cbImage;
    bool m_bSaidSo = false;
};
