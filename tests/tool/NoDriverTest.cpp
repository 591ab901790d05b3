#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

namespace
{

struct NoDriver
{
    unsigned nCode;
    Said what;
    Said next;
    /// Through the seam; fails three times: the library's two, the tool's one.
    const char* pszCall = "IServiceManager::Start";
};

const NoDriver kCases[] = {
    {1058, "the hub driver could not be started: its service is disabled",
     "Type as administrator: sc config ZelUpx start= demand, then this again."},
    {1072, "the hub driver could not be started: its service is marked for deletion",
     "Close programs that show services or use hubs, or restart Windows; then type this again."},
    {2, "the hub driver could not be started: its service names a driver file that is not there",
     "sc qc ZelUpx shows the path. Type as administrator: sc delete ZelUpx, then this again."},
    {577, "the hub driver could not be started: the driver file's signature is not accepted",
     "Install a release whose driver is signed for this version of Windows."},
    {31, "the hub driver could not be started: its service says error 31",
     "Run as administrator (Windows) or with the right to open USB devices (Linux: as root, or "
     "with a udev rule), and close other programs that use the hub."},
    {2, "the hub driver could not be started: its service runs, but its device does not open",
     "Close other programs that use hubs; if that does not help: sc stop ZelUpx, sc delete ZelUpx, "
     "then type this again.",
     "IDeviceFile::Open"},
    {5, testing::HasSubstr("OpenSCManager failed with 5"),
     testing::StartsWith("Run as administrator"), "IServiceManager::OpenManager"},
};

} // namespace

TEST(DriverDoesNotStart, AndTheToolSaysWhyAndWhatToDo)
{
    CBenchFolder bench;
    for (const NoDriver& given : kCases) {
        const std::string strFault = std::string("{'call': '") + given.pszCall +
                                     "', 'code': " + std::to_string(given.nCode) + ", 'nth': ";
        std::string strFaults;
        for (const char* const pszNth : {"1}", "2}", "3}"})
            strFaults.append(strFaults.empty() ? "" : ", ").append(strFault).append(pszNth);
        bench.UseHub("", "", ", 'faults': [" + strFaults + "]");
        bench.Expect(4, "list", given.what, given.next);
    }
}
