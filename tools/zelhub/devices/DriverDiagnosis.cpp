#include "tools/zelhub/devices/DriverDiagnosis.h"

#include "platform/ErrorCodes.h"
#include "platform/IProcess.h"
#include "platform/IServiceManager.h"
#include "wire/DriverNames.h"

#include <algorithm>
#include <iterator>

const char* const kRightsAdvice =
    "Run as administrator (Windows) or with the right to open USB devices (Linux: as root, or "
    "with a udev rule), and close other programs that use the hub.";

namespace
{

constexpr DWORD kRuns = 0; ///< stands for a service that is there and runs

struct Answer
{
    DWORD dwError;
    const char* pszWhat;
    const char* pszNext;
};

const Answer kAnswers[] = {
    {kRuns, "its service runs, but its device does not open",
     "Close other programs that use hubs; if that does not help: sc stop ZelUpx, sc delete ZelUpx, "
     "then type this again."},
    {kErrFileNotFound, "its service names a driver file that is not there",
     "sc qc ZelUpx shows the path. Type as administrator: sc delete ZelUpx, then this again."},
    {kErrPathNotFound, "its service names a driver file that is not there",
     "sc qc ZelUpx shows the path. Type as administrator: sc delete ZelUpx, then this again."},
    {kErrAccessDenied, "its service may not be started by this user", kRightsAdvice},
    {kErrNotSupported, "the driver file refuses to start",
     "This build carries a stand-in instead of a driver (zelhub --version): use a release, or "
     "--bench FILE.json."},
    {577, "the driver file's signature is not accepted",
     "Install a release whose driver is signed for this version of Windows."},
    {1058, "its service is disabled",
     "Type as administrator: sc config ZelUpx start= demand, then this again."},
    {kErrServiceDoesNotExist, "its service could not be made or its file could not be written",
     "Run as administrator; the folders for temporary files and System32\\drivers must be "
     "writable. --log FILE tells more."},
    {kErrServiceMarkedForDelete, "its service is marked for deletion",
     "Close programs that show services or use hubs, or restart Windows; then type this again."},
    {1114, "its driver file is not there or does not load",
     "sc qc ZelUpx shows the path. Type as administrator: sc delete ZelUpx, then this again."},
    {193, "the driver file is not one for this processor",
     "Type as administrator: sc delete ZelUpx, then this again with a release for this processor."},
};

/// @return what the service says: 0 when it runs now
DWORD AskService(Platform& system)
{
    IServiceManager& services = system.ServiceManager();
    const auto error = [&system] { return system.Process().LastError(); };
    HANDLE const hManager = services.OpenManager(kManagerAllAccess);
    if (hManager == nullptr)
        return error();
    DWORD dwResult = kRuns;
    HANDLE const hService = services.OpenNamed(hManager, ZELUPX_SERVICE_NAME, kServiceAllAccess);
    if (hService == nullptr) {
        dwResult = error();
    } else {
        if (!services.Start(hService) && error() != kErrServiceAlreadyRunning)
            dwResult = error();
        services.Close(hService);
    }
    services.Close(hManager);
    return dwResult;
}

} // namespace

Failure WhyNoDriver(Platform& system, const std::string& strReported)
{
    const std::string strWhat = "the hub driver could not be started";
    // What the library reported is nearer to the cause than what the service says afterwards.
    if (!strReported.empty() && strReported.find("hProxyDriver") == std::string::npos)
        return {ExitCode::NoAccess, strWhat + ": " + strReported, "", "", kRightsAdvice};
    const DWORD dwError = AskService(system);
    const auto* const it = std::find_if(std::begin(kAnswers), std::end(kAnswers),
                                        [=](const Answer& a) { return a.dwError == dwError; });
    if (it != std::end(kAnswers))
        return {ExitCode::NoAccess, strWhat + ": " + it->pszWhat, "", "", it->pszNext};
    return {ExitCode::NoAccess, strWhat + ": its service says error " + std::to_string(dwError), "",
            "", kRightsAdvice};
}
