#include "tools/zelhub/devices/CPortDriver.h"

#include "api/zelhub_bench.h"
#include "cmd/CRequestCMD.h"
#include "msg/CLogResponder.h"
#include "msg/CMsg.h"
#include "tools/zelhub/context/LibraryLog.h"

namespace
{

/// What a system error at the driver's start asks for.
std::string StartAdvice(const std::string& strWhy)
{
    const size_t n = strWhy.rfind("==> ");
    const std::string strCode = n == std::string::npos ? "" : strWhy.substr(n + 4);
    if (strCode == "5")
        return "Run as administrator (Windows) or as root (Linux).";
    if (strCode == "2" || strCode == "1450" || strCode == "577")
        return "Install the port driver's file and service (voport), signed for this system.";
    if (strWhy.find("ExtractVoport") != std::string::npos ||
        strWhy.find("FindResource") != std::string::npos)
        return "Install a build of the library that carries the port driver (voport); single "
               "bytes can be had through the hub driver: zelhub port ... --driver hub.";
    return "Install the port driver's service (voport) and run as administrator (Windows), or "
           "run as root where /dev/port is there (Linux).";
}

} // namespace

CPortDriver::CPortDriver(CToolContext& context) : m_context(context), m_responder(context)
{
    if (context.OnBench())
        ZelSetPlatform(context.BenchServices());
    if (context.Opts().bLibraryLog) {
        CheckLibraryLog();
        m_pLog = std::make_unique<CLogResponder>();
        CMsg::GetObj()->Attach(m_pLog.get());
    }
    CMsg::GetObj()->Attach(&m_responder);
    try {
        Start();
    } catch (...) {
        Stop();
        throw;
    }
}

CPortDriver::~CPortDriver()
{
    Stop();
}

void CPortDriver::Start()
{
    m_responder.ForgetFailure();
    m_bStarted = CRequestCMD::GetRequestObj()->XH_InitVoPortDriver(0, 0, 0) == 1;
    if (!m_bStarted)
        RefuseStart();
}

void CPortDriver::Stop()
{
    if (m_bStarted)
        (void)CRequestCMD::GetRequestObj()->XH_UnInitVoPortDriver();
    CMsg::GetObj()->ClearResponder();
    ZelSetPlatform(nullptr);
}

void CPortDriver::RefuseStart()
{
    const std::string strWhy = m_responder.FirstFailure();
    throw CToolError(ExitCode::NoAccess,
                     "the port driver (voport) could not be started" +
                         (strWhy.empty() ? "" : ": " + strWhy),
                     StartAdvice(strWhy));
}

DWORD CPortDriver::Read(DWORD dwPort, unsigned cb)
{
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    const unsigned nFailed = m_responder.FailedTransfers();
    const DWORD dwValue =
        cb == 1 ? static_cast<DWORD>(cmd.VoInputByte(dwPort)) : cmd.VoInputDword(dwPort);
    CheckAccess(nFailed, dwPort);
    return dwValue;
}

void CPortDriver::Write(DWORD dwPort, DWORD dwValue, unsigned cb)
{
    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    const unsigned nFailed = m_responder.FailedTransfers();
    if (cb == 1)
        (void)cmd.VoOutputByte(dwPort, static_cast<BYTE>(dwValue));
    else
        (void)cmd.VoOutputDword(dwPort, dwValue);
    CheckAccess(nFailed, dwPort);
}

void CPortDriver::CheckAccess(unsigned nFailed, DWORD dwPort)
{
    if (m_responder.FailedTransfers() != nFailed)
        throw CToolError(ExitCode::NoAccess,
                         "port " + Hex(dwPort, 4) +
                             " could not be accessed: " + m_responder.LastFailure(),
                         "Run as administrator or root, and with nothing else using the port.");
}
