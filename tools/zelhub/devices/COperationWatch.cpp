#include "tools/zelhub/devices/COperationWatch.h"

namespace
{

constexpr int kWriteFrom = 30; ///< the library's percentages of a whole update
constexpr int kWriteTo = 70;
constexpr int kVerifyTo = 88;

int PhaseStart(Phase ePhase)
{
    switch (ePhase) {
    case Phase::Connect:
        return 0;
    case Phase::ResetToRom:
        return 10;
    case Phase::Erase:
        return 20;
    case Phase::Write:
        return kWriteFrom;
    case Phase::Verify:
        return kWriteTo;
    case Phase::ResetToFlash:
        return 90;
    case Phase::Return:
        return 95;
    }
    return 0;
}

bool MovesImage(Phase ePhase)
{
    return ePhase == Phase::Write || ePhase == Phase::Verify;
}

std::string FailedWhat(const OperationFacts& facts)
{
    const std::string strThe = "the " + facts.strDevice;
    const std::string strWhy =
        facts.strTransferError.empty() ? "" : " (" + facts.strTransferError + ")";
    switch (facts.ePhase) {
    case Phase::Connect:
        return strThe + " did not answer" + strWhy;
    case Phase::ResetToRom:
        if (!facts.strCheckError.empty())
            return facts.strCheckError + strWhy;
        if (facts.bReset)
            return strThe + " did not come back after its reset to ROM code";
        return strThe + " could not be reset to ROM code" + strWhy;
    case Phase::Erase:
        return "the flash could not be erased" + strWhy;
    case Phase::Write:
        return "the flash could not be written" + strWhy;
    case Phase::Verify:
        if (facts.difference)
            return "the flash differs from the image at offset " +
                   Hex(facts.difference->dwOffset, 6) + ": image " +
                   Hex(facts.difference->byImage, 2) + ", " + facts.strDevice + " " +
                   Hex(facts.difference->byDevice, 2);
        return facts.strCheckError.empty() ? "the flash could not be checked" + strWhy
                                           : facts.strCheckError;
    case Phase::ResetToFlash:
        if (facts.bStarted)
            return strThe + " did not come back after its restart";
        return strThe + " could not be restarted into its flash code" + strWhy;
    case Phase::Return:
        return strThe + " did not come back after its restart";
    }
    return {};
}

ExitCode FailedCode(const OperationFacts& facts, bool bPresent)
{
    if (facts.difference)
        return ExitCode::Mismatch;
    if (!bPresent)
        return ExitCode::DeviceLost;
    switch (facts.ePhase) {
    case Phase::Erase:
    case Phase::Write:
        return ExitCode::WriteFailed;
    case Phase::Verify:
        return ExitCode::Mismatch;
    case Phase::ResetToRom:
        return facts.bReset ? ExitCode::DeviceLost : ExitCode::General;
    case Phase::ResetToFlash:
        return facts.bStarted ? ExitCode::DeviceLost : ExitCode::WriteFailed;
    case Phase::Connect:
    case Phase::Return:
        break;
    }
    return ExitCode::DeviceLost;
}

WatchedDevice OfHub(CHubSession& session)
{
    return {session.Context(),
            session.Responder(),
            session.Dev(),
            [&session] { return session.IsOnBus(); },
            session.SelectorText(),
            "the hub",
            [&session] { return session.Context().Bench().IdAt(session.Chosen().strLocation); }};
}

} // namespace

COperationWatch::COperationWatch(CHubSession& session, std::string strRepeat,
                                 unsigned long long cbImage, bool bDualBank)
    : COperationWatch(OfHub(session), std::move(strRepeat), cbImage, bDualBank)
{}

COperationWatch::COperationWatch(WatchedDevice device, std::string strRepeat,
                                 unsigned long long cbImage, bool bDualBank)
    : m_device(std::move(device)), m_strRepeat(std::move(strRepeat)), m_cbImage(cbImage)
{
    COperationNotes::Hooks hooks;
    hooks.step = [this](Phase ePhase, int n) { Step(ePhase, n); };
    hooks.wantsToStop = [this] { return WantsToStop(); };
    hooks.transferError = [this] { return m_device.responder.LastFailure(); };
    m_device.notes.SetHooks(std::move(hooks));
    m_device.notes.ForgetFacts(bDualBank);
    m_device.responder.ForgetFailure();
    m_device.responder.OnProgress([this](int n) { LibraryProgress(n); });
    RefreshLeaveCard();
}

COperationWatch::~COperationWatch()
{
    m_device.responder.OnProgress({});
    m_device.notes.SetHooks({});
}

void COperationWatch::Step(Phase ePhase, int nPhasePercent)
{
    CProgressView& view = m_device.context.Progress();
    const int nStart = PhaseStart(ePhase);
    if (nPhasePercent == 0) {
        m_device.responder.ForgetFailure();
        view.Phase(PhaseName(ePhase), nStart, MovesImage(ePhase) ? m_cbImage : 0);
    } else if (ePhase == Phase::Verify) {
        view.Step(nPhasePercent, nStart + nPhasePercent * (kVerifyTo - nStart) / 100);
    }
    RefreshLeaveCard();
    if (nPhasePercent <= 1)
        m_device.context.SaveBench(false);
    else
        m_device.context.SaveBenchNowAndThen();
}

void COperationWatch::LibraryProgress(int nPercent)
{
    const Phase ePhase = m_device.notes.Facts().ePhase;
    if (ePhase == Phase::Write && nPercent >= kWriteFrom && nPercent < kWriteTo)
        m_device.context.Progress().Step((nPercent - kWriteFrom) * 100 / (kWriteTo - kWriteFrom),
                                         nPercent);
    m_device.context.SaveBenchNowAndThen();
    if (!m_bSaidSo && HostSystem::Interrupts() != 0 && m_device.notes.Facts().FlashTouched())
        (void)WantsToStop(); // only to say so: from here on it goes on to its end
}

bool COperationWatch::WantsToStop()
{
    if (HostSystem::Interrupts() == 0)
        return false;
    if (!m_bSaidSo) {
        m_bSaidSo = true;
        m_device.context.Progress().Clear();
        m_device.context.Out().Warn(
            m_device.notes.Facts().FlashTouched()
                ? "interrupted: the flash is being changed, so this goes on to its end; press "
                  "Ctrl-C again to leave at once"
                : "interrupted: stopping before the flash is touched");
    }
    return true;
}

void COperationWatch::RefreshLeaveCard()
{
    const OperationFacts& facts = m_device.notes.Facts();
    Failure failure;
    failure.eCode = facts.FlashTouched() && !facts.bVerified ? ExitCode::WriteFailed
                    : facts.bReset || facts.bStarted         ? ExitCode::DeviceLost
                                                             : ExitCode::General;
    failure.strWhat = "ended before the " + facts.strDevice + " was done";
    failure.strPhase = PhaseName(facts.ePhase);
    const bool bRestarting =
        facts.ePhase == Phase::ResetToRom || facts.ePhase == Phase::ResetToFlash;
    failure.strState =
        StateText(facts, bRestarting && (facts.bReset || facts.bStarted) ? Presence::Restarting
                                                                         : Presence::OnBus);
    failure.strNext = NextText(true, facts.FlashTouched() && !facts.bDualBank);
    m_device.context.SetLeave(failure);
}

std::string COperationWatch::NextText(bool bPresent, bool bBlank) const
{
    const Options& options = m_device.context.Opts();
    std::string strNext;
    if (!bPresent && m_device.context.OnBench())
        strNext =
            CommandPrefix(options) + " bench plug " + ShellWord(m_device.benchId()) + ", then: ";
    else if (!bPresent)
        strNext = std::string("Unplug ") + m_device.pszPlug + " and plug it in again, then: ";
    const OperationFacts& facts = m_device.notes.Facts();
    const std::string strVerify = "verify ";
    const size_t nVerify = m_strRepeat.find(strVerify);
    if (facts.difference && !facts.FlashTouched() && nVerify != std::string::npos) {
        // Comparing again would find the same.
        std::string strUpdate = m_strRepeat;
        strUpdate.replace(nVerify, strVerify.size(), "update ");
        return strNext + CommandPrefix(options) + " " + strUpdate + " " + m_device.strSelector +
               "  (writes this image, if it is to run)";
    }
    strNext += CommandPrefix(options) + " " + m_strRepeat + " " + m_device.strSelector;
    const bool bForced = m_strRepeat.find(" --force") != std::string::npos;
    if (bBlank && !bForced && m_strRepeat.find("update ") != std::string::npos)
        strNext += " --force"; // its chip ID cannot be read any more
    return strNext;
}

void COperationWatch::Fail(ExitCode eCode, const std::string& strWhat)
{
    const OperationFacts& facts = m_device.notes.Facts();
    const bool bPresent = m_device.isPresent();
    const bool bBlank = facts.FlashTouched() && !facts.bVerified && !facts.bDualBank;
    throw CToolError(Failure{
        eCode, strWhat.empty() ? FailedWhat(facts) : strWhat, PhaseName(facts.ePhase),
        StateText(facts, bPresent ? Presence::OnBus : Presence::Gone), NextText(bPresent, bBlank)});
}

void COperationWatch::FailByFacts()
{
    const OperationFacts& facts = m_device.notes.Facts();
    if (facts.bInterrupted)
        Fail(ExitCode::General, "interrupted before the flash was touched");
    Fail(FailedCode(facts, m_device.context.IsThereStill(m_device.isPresent)));
}
