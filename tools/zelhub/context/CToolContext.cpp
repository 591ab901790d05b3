#include "tools/zelhub/context/CToolContext.h"

#include "tools/zelhub/bench/CBenchFile.h"
#include "tools/zelhub/bench/CBenchState.h"
#include "tools/zelhub/output/StateCard.h"
#include "tools/zelhub/system/HostSystem.h"

#include <chrono>
#include <thread>

namespace
{

double RealSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double PaceFactor(const std::string& strPace)
{
    if (strPace == "instant")
        return 0;
    if (strPace == "real")
        return 1;
    size_t nEnd = 0;
    double dFactor = 0;
    try {
        dFactor = std::stod(strPace, &nEnd);
    } catch (const std::exception&) {
        nEnd = 0;
    }
    constexpr double kMost = 1e6;
    if (nEnd == 0 || nEnd != strPace.size() || !(dFactor > 0 && dFactor <= kMost))
        throw CToolError(ExitCode::Usage,
                         "--bench-pace: \"" + Printable(strPace) +
                             "\" is neither real nor instant nor a factor",
                         "Give a factor such as 10: ten simulated seconds in one.");
    return dFactor;
}

} // namespace

CToolContext::CToolContext(const Options& options, COutput& output, std::string strCommand)
    : m_options(options),
      m_output(output),
      m_strCommand(std::move(strCommand)),
      m_progress(output, !options.bJson && !options.bQuiet && HostSystem::IsTerminal(true),
                 [this] { return Seconds(); })
{}

CToolContext::~CToolContext() = default;

Platform* CToolContext::BenchServices()
{
    if (m_pRoad)
        return &m_pRoad->Services();
    return m_pBench ? &m_pBench->Machine() : nullptr;
}

void CToolContext::StartBench(bool bAtWork)
{
    const bool bDriver = m_options.strRoad == "driver";
    if (bDriver && m_options.strBench.empty())
        throw CToolError(ExitCode::Usage, "--bench-road is a road to a bench, and none is given",
                         "Add --bench FILE.json (examples/ has some).");
    if (m_options.strBench.empty())
        return;
    const double dFactor = PaceFactor(m_options.strPace);
    m_pBench = std::make_unique<CBenchMachine>(CBenchFile::Load(m_options.strBench));
    if (!m_options.strBenchState.empty())
        CBenchState(m_options.strBenchState).Load(*m_pBench);
    if (bAtWork)
        m_pBench->StartEvents();
    if (bAtWork && bDriver)
        m_pRoad = std::make_unique<CBenchDriverRoad>(*m_pBench, m_options.strBench,
                                                     m_options.strBenchState);
    m_pBench->SetPace(dFactor);
}

void CToolContext::SaveBench(bool bFinal)
{
    if (!m_pBench)
        return;
    if (m_pRoad) {
        m_pRoad->Keep(bFinal); // what the bench came to is the driver's to know
    } else {
        if (bFinal)
            m_pBench->Settle();
        if (!m_options.strBenchState.empty())
            CBenchState(m_options.strBenchState).Save(*m_pBench);
    }
    m_dSaved = RealSeconds();
}

void CToolContext::SaveBenchNowAndThen()
{
    constexpr double kBearable = 0.25;
    if (m_pBench && !m_options.strBenchState.empty() && RealSeconds() - m_dSaved >= kBearable)
        SaveBench(false);
}

double CToolContext::Seconds() const
{
    return m_pBench ? m_pBench->Seconds() : RealSeconds();
}

void CToolContext::Sleep(unsigned nMs)
{
    if (m_pBench)
        m_pBench->Machine().Clock().Sleep(nMs);
    else
        std::this_thread::sleep_for(std::chrono::milliseconds(nMs));
}

bool CToolContext::IsThereStill(const std::function<bool()>& isThere)
{
    constexpr int kLooks = 10;
    constexpr unsigned kPauseMs = 50;
    bool bThere = isThere();
    for (int i = 0; i < kLooks && bThere && !OnBench(); ++i) {
        Sleep(kPauseMs);
        bThere = isThere();
    }
    return bThere;
}

void CToolContext::SetLeave(const Failure& failure)
{
    HostSystem::SetLeaveCard(StateCard(failure) + "\n",
                             m_output.Document(m_strCommand, failure.eCode, &failure),
                             static_cast<int>(failure.eCode));
}

void CToolContext::StopIfInterrupted() const
{
    if (HostSystem::Interrupts() != 0)
        throw CToolError(ExitCode::General, "interrupted", "Nothing was changed; type it again.");
}
