#pragma once

#include "tools/zelhub/devices/CHubSession.h"

/// A device whose operation is watched.
struct WatchedDevice
{
    CToolContext& context;
    CToolResponder& responder;
    COperationNotes& notes;
    std::function<bool()> isPresent;      ///< whether it can be reached now
    std::string strSelector;              ///< how the command line names it
    const char* pszPlug;                  ///< what a person unplugs
    std::function<std::string()> benchId; ///< what to plug on a bench, when it is gone
};

/// Shows an operation of a device while it runs, keeps the leave card true, and turns what happened
/// into a failure that a person can act on.
class COperationWatch
{
public:
    /// @param strRepeat the command to type after a failure, from its name on, without selector
    /// @param bDualBank the device's other bank is written, not the one that runs
    COperationWatch(WatchedDevice device, std::string strRepeat, unsigned long long cbImage,
                    bool bDualBank);

    /// The same for the chosen hub.
    COperationWatch(CHubSession& session, std::string strRepeat, unsigned long long cbImage,
                    bool bDualBank);
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

    WatchedDevice m_device;
    std::string m_strRepeat;
    unsigned long long m_cbImage;
    bool m_bSaidSo = false;
};
