#include "sweeps/SeamFaults.h"

#include "platform/ErrorCodes.h"

#include <gtest/gtest.h>

#include <utility>

namespace
{
constexpr unsigned kEnds = 60; ///< the calls at a session's begin and end that are all taken

/// Two codes that a failing operation may really give.
std::pair<DWORD, DWORD> CodesOf(const std::string& strOperation)
{
    switch (CSimFaults::KindOf(strOperation)) {
    case SimCodeKind::ConfigResult:
        return {0x0D, 0x33}; // no such node; access denied
    case SimCodeKind::HResult:
        return {0x80070005, 0x80004005}; // access denied; unspecified
    default:
        return {kErrAccessDenied, kErrGenFailure};
    }
}
} // namespace

std::ostream& operator<<(std::ostream& out, const SeamFault& fault)
{
    return out << fault.strOperation << " call " << fault.nCall << " fails with " << fault.dwCode;
}

std::vector<SeamFault> FaultsOf(const std::map<std::string, unsigned>& counts, unsigned nStep)
{
    std::vector<SeamFault> faults;
    for (const auto& [strOperation, nCalls] : counts) {
        if (CSimFaults::KindOf(strOperation) == SimCodeKind::None)
            continue;
        const auto [dwFirst, dwSecond] = CodesOf(strOperation);
        for (unsigned n = 1; n <= nCalls; ++n) {
            if (n > kEnds && n + kEnds < nCalls && n % nStep != 0)
                continue;
            faults.push_back({strOperation, n, dwFirst});
            faults.push_back({strOperation, n, dwSecond});
        }
    }
    return faults;
}

void ExpectTidy(const CSimHandles& handles, const std::string& strOperation)
{
    const bool bCloses = strOperation.find("::Close") != std::string::npos ||
                         strOperation.find("::Free") != std::string::npos ||
                         strOperation.find("::DestroySet") != std::string::npos;
    EXPECT_LE(handles.Open().size(), bCloses ? 1u : 0u) << handles.Describe();
    // COM is taken back also where its start failed: nobody looks at that result.
    if (strOperation != "IPowerSwitch::InitializeCom") {
        EXPECT_TRUE(handles.Misuses().empty()) << handles.Misuses().front();
    }
}
