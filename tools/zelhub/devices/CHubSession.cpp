#include "tools/zelhub/devices/CHubSession.h"

#include "api/zelhub.h"
#include "api/zelhub_bench.h"
#include "cmd/CRequestCMD.h"
#include "msg/CMsg.h"
#include "tools/zelhub/context/LibraryLog.h"
#include "tools/zelhub/devices/DriverDiagnosis.h"
#include "tools/zelhub/devices/HubOnBus.h"

namespace
{

constexpr int kConnectSeconds = 2; ///< it is known to be there
constexpr int kReturnSeconds = 20; ///< what is waited for a late hub beyond the flow's waits

} // namespace

CHubSession::CHubSession(CToolContext& context) : m_context(context), m_responder(context)
{
    if (context.OnBench())
        ZelSetPlatform(context.BenchServices());
    if (context.Opts().bLibraryLog)
        CheckLibraryLog();
    StartLibrary();
}

void CHubSession::StartLibrary()
{
    (void)XH_InitDevice(m_context.Opts().bLibraryLog);
    CMsg::GetObj()->Attach(&m_responder); // after the start, which clears the list
    try {
        CheckDriver();
        if (m_context.DriverRoad() != nullptr)
            m_context.DriverRoad()->Begin();
    } catch (...) {
        XH_UnInitDevice();
        ZelSetPlatform(nullptr);
        throw;
    }
}

void CHubSession::CheckDriver()
{
    // The start reports success in any case; asking for the driver again does not.
    IPropertyEx* const pTransport = CRequestCMD::GetRequestObj()->GetProxy()->GetTransport();
    if (pTransport->InitProxyDriver() != 0)
        return;
    throw CToolError(WhyNoDriver(m_context.OnBench() ? *m_context.BenchServices() : RealPlatform(),
                                 m_responder.LastFailure()));
}

CHubSession::~CHubSession()
{
    m_context.Progress().Clear();
    if (m_pFinder) {
        // Closes the hub and gives back its power setting, which only Remove does.
        (void)m_pFinder->DummyRemove(m_pDev.get());
        m_pFinder->Detach(m_pDev.get());
    }
    m_pFlow.reset();
    m_pFinder.reset();
    m_pDev.reset();
    if (m_context.DriverRoad() != nullptr)
        m_context.DriverRoad()->End();
    XH_UnInitDevice();
    ZelSetPlatform(nullptr);
}

void CHubSession::OpenChosen()
{
    m_chosen = List().Select(m_context.Opts().strHub, m_context.Out());
    m_lock.emplace(m_chosen->strLocation, m_context.Opts().strBench);
    Connect();
}

void CHubSession::Connect()
{
    m_pDev = std::make_unique<CGuardedHubDev>();
    WString strLocation(m_chosen->strLocation.begin(), m_chosen->strLocation.end());
    m_pDev->SetTopo(strLocation.data());
    m_pFinder = std::make_unique<CHubFind>();
    m_pFinder->Attach(m_pDev.get());
    m_pFlow.reset(GetUniversalFlow(m_pFinder.get(), m_pDev.get()));
    m_responder.ForgetFailure();
    m_context.Progress().Phase(PhaseName(Phase::Connect), 0);
    if (!m_pFinder->WaitDevConnect(m_pDev.get(), kConnectSeconds))
        RefuseConnect();
    m_pDev->JudgeCodeMode(m_pDev.get());
}

void CHubSession::RefuseConnect()
{
    const std::string strPlace = "the hub at " + Printable(m_chosen->strLocation);
    if (!IsOnBus())
        throw CToolError(ExitCode::DeviceLost, strPlace + " has gone",
                         "Plug it in again, then type this again.");
    const std::string& strWhy = m_responder.LastFailure();
    throw CToolError(ExitCode::NoAccess,
                     strPlace + " does not open or answer" + (strWhy.empty() ? "" : ": " + strWhy),
                     kRightsAdvice);
}

std::string CHubSession::SelectorText() const
{
    return "--hub " + ShellWord("path:" + m_chosen->strLocation);
}

std::optional<HubReads::Status> CHubSession::TryStatus()
{
    HubReads::Status status = {};
    m_responder.ForgetFailure();
    if (!HubReads::ReadStatus(status))
        return std::nullopt;
    return status;
}

HubReads::Status CHubSession::Status()
{
    if (const std::optional<HubReads::Status> status = TryStatus())
        return *status;
    const bool bOnBus = IsStillOnBus();
    const std::string& strWhy = m_responder.LastFailure();
    throw CToolError(bOnBus ? ExitCode::General : ExitCode::DeviceLost,
                     "the hub's status cannot be read" +
                         (strWhy.empty() ? std::string() : ": " + strWhy),
                     bOnBus ? "Type this again; if that does not help, plug the hub in again."
                            : "Plug the hub in again, then type this again.");
}

bool CHubSession::IsOnBus() const
{
    return IsHubOnBus(m_chosen->strLocation);
}

bool CHubSession::IsStillOnBus() const
{
    return m_context.IsThereStill([this] { return IsOnBus(); });
}

bool CHubSession::WaitForReturn()
{
    if (m_pDev->IsAbsent() || !IsOnBus())
        (void)m_pFinder->DummyRemove(m_pDev.get());
    return m_pFinder->WaitDevConnect(m_pDev.get(), kReturnSeconds);
}

std::optional<USHORT> CHubSession::RunningVersion()
{
    // The query returns true with the version untouched where the hub refuses: what comes back
    // must not be what was put in.
    for (const USHORT wPattern : {USHORT{0xA5A5}, USHORT{0x5A5A}}) {
        USHORT wVersion = wPattern;
        if (!m_pFlow->DevReadVersion(wVersion))
            return std::nullopt;
        if (wVersion != wPattern)
            return wVersion;
    }
    return std::nullopt;
}

std::vector<Field> CHubSession::HubFields(const std::vector<Field>& more) const
{
    std::vector<Field> fields = {{{"hub", "Hub"}, Cell(Printable(m_chosen->strLocation))},
                                 {{"instance", "Instance"}, Cell::Number(m_chosen->dwInstance)},
                                 {{"ids", "ID"}, Cell(m_chosen->strIds)}};
    fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}
