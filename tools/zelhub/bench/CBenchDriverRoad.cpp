#include "tools/zelhub/bench/CBenchDriverRoad.h"

#include "platform/ErrorCodes.h"
#include "tools/zelhub/output/COutput.h"
#include "tools/zelhub/output/Failure.h"
#include "tools/zelhub/system/HostSystem.h"

CBenchDriverRoad::CBenchDriverRoad(CBenchMachine& bench, const std::string& strFile,
                                   const std::string& strState)
    : m_strFile(HostSystem::AbsolutePath(strFile)),
      m_strState(strState.empty() ? strState : HostSystem::AbsolutePath(strState)),
      m_road(bench.Machine())
{
    if (!HostSystem::LoadsDrivers())
        throw CToolError(ExitCode::Usage,
                         "--bench-road driver needs Windows: its driver is started by the service "
                         "manager there",
                         "Leave it out: the bench is then simulated inside the tool.");
}

void CBenchDriverRoad::Begin()
{
    switch (const DWORD dwError = m_road.Load(m_strFile, m_strState)) {
    case kErrNone:
        m_bBegun = true;
        return;
    case kErrFileNotFound:
        throw CToolError(
            ExitCode::NoAccess,
            "the driver that runs is not the bench driver: this library does not "
            "carry it",
            "Run the zelhub.exe in the folder \"bench\" of a build, beside the library "
            "that does.");
    case kErrBusy:
        throw CToolError(ExitCode::NoAccess, "another program uses the bench driver",
                         "Wait until it has finished, then type this again.");
    default:
        throw CToolError(ExitCode::General,
                         "the bench driver does not take the bench: error " +
                             std::to_string(dwError),
                         "Leave --bench-road out: the bench is then simulated inside the tool.");
    }
}

void CBenchDriverRoad::Keep(bool bFinal)
{
    if (m_bBegun && !m_strState.empty() && !m_road.Keep(bFinal))
        m_bLost = true;
    if (m_bLost)
        throw CToolError(ExitCode::General,
                         "the bench driver could not keep the bench in " + Printable(m_strState),
                         "Give --bench-state a file that can be written.");
}

void CBenchDriverRoad::End()
{
    if (m_bBegun && !m_strState.empty() && !m_road.Keep(true))
        m_bLost = true;
    m_bBegun = false;
}
