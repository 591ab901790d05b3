#include "tool/BenchFolder.h"

#include <gtest/gtest.h>

namespace
{

struct NoDriver
{
    const char* pszCall; ///< through the seam; fails three times: the library's two, the tool's one
    unsigned nCode;
    const char* pszWhat;
    const char* pszNext;
};

const NoDriver kCases[] = {
    {"IServiceManager::Start", 1058, "its service is disabled", "sc config ZelUpx start= demand"},
    {"IServiceManager::Start", 1072, "its service is marked for deletion", "restart Windows"},
    {"IServiceManager::Start", 2, "names a driver file that is not there", "sc delete ZelUpx"},
    {"IServiceManager::Start", 577, "signature is not accepted", "signed for this"},
    {"IServiceManager::Start", 31, "its service says error 31", "Run as administrator"},
    {"IDeviceFile::Open", 2, "its service runs, but its device does not open", "sc stop ZelUpx"},
    {"IServiceManager::OpenManager", 5, "OpenSCManager failed with 5", "Run as administrator"},
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
        bench.Expect(4, "list", given.pszWhat, given.pszNext);
    }
}
