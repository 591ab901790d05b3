#include "tool/BenchFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace
{

struct NoDriver
{
    const char* pszCase;
    const char* pszCall; ///< through the seam; fails three times: the library's two, the tool's one
    unsigned nCode;
    const char* pszWhat;
    const char* pszNext;
};

const NoDriver kCases[] = {
    {"Disabled", "IServiceManager::Start", 1058, "its service is disabled",
     "sc config ZelUpx start= demand"},
    {"MarkedForDeletion", "IServiceManager::Start", 1072, "its service is marked for deletion",
     "restart Windows"},
    {"FileGone", "IServiceManager::Start", 2, "names a driver file that is not there",
     "sc delete ZelUpx"},
    {"Unsigned", "IServiceManager::Start", 577, "signature is not accepted", "signed for this"},
    {"OtherReason", "IServiceManager::Start", 31, "its service says error 31",
     "Run as administrator"},
    {"NoDevice", "IDeviceFile::Open", 2, "its service runs, but its device does not open",
     "sc stop ZelUpx"},
    {"NoManager", "IServiceManager::OpenManager", 5, "OpenSCManager failed with 5",
     "Run as administrator"},
};

class DriverDoesNotStart : public testing::TestWithParam<NoDriver>
{
protected:
    CBenchFolder m_bench;
};

} // namespace

TEST_P(DriverDoesNotStart, AndTheToolSaysWhyAndWhatToDo)
{
    std::string strFaults;
    for (const unsigned n : {1u, 2u, 3u})
        strFaults += (strFaults.empty() ? "" : ", ") + std::string(R"({"call": ")") +
                     GetParam().pszCall + R"(", "nth": )" + std::to_string(n) + R"(, "code": )" +
                     std::to_string(GetParam().nCode) + "}";
    m_bench.UseHub("", "", R"(, "faults": [)" + strFaults + "]");

    const ToolResult result = m_bench.Run({"--json", "list"});

    EXPECT_EQ(result.nExit, 4);
    const nlohmann::json error = result.Json()["error"];
    EXPECT_THAT(error["what"].get<std::string>(), HasSubstr(GetParam().pszWhat));
    EXPECT_THAT(error["next"].get<std::string>(), HasSubstr(GetParam().pszNext));
}

INSTANTIATE_TEST_SUITE_P(Of, DriverDoesNotStart, testing::ValuesIn(kCases),
                         [](const auto& test) { return test.param.pszCase; });
