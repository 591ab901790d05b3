#include "tools/zelhub/devices/CHubLock.h"

#include "tools/zelhub/output/COutput.h"
#include "tools/zelhub/output/Failure.h"

#include <cctype>
#include <cstdint>

namespace
{

constexpr const char* kStep = "#USB("; ///< of a location path, one for each tier

/// FNV-1a: the same in every process.
std::uint64_t HashOf(const std::string& strText)
{
    std::uint64_t n = 14695981039346656037ULL;
    for (const char ch : strText) {
        n ^= static_cast<unsigned char>(ch);
        n *= 1099511628211ULL;
    }
    return n;
}

} // namespace

std::string CHubLock::NameOf(const std::string& strLocation, const std::string& strBench)
{
    constexpr size_t kReadable = 100;
    std::string strName;
    for (const char ch : strLocation.substr(0, kReadable))
        strName += std::isalnum(static_cast<unsigned char>(ch)) != 0 ? ch : '_';
    const std::string strWhole = strBench.empty() ? strLocation : strLocation + "\n" + strBench;
    return "zelhub-" + strName + "-" + Hex(HashOf(strWhole), 16).substr(2) + ".lock";
}

CHubLock::CHubLock(const std::string& strLocation, const std::string& strBench,
                   const std::string& strWhat)
{
    const std::string strPlace = strBench.empty() ? strBench : HostSystem::AbsolutePath(strBench);
    Take(strLocation, strPlace, strWhat, false);
    std::string strAbove = strLocation;
    for (size_t n = strAbove.rfind(kStep); n != std::string::npos; n = strAbove.rfind(kStep)) {
        strAbove.erase(n);
        if (strAbove.find(kStep) != std::string::npos)
            Take(strAbove, strPlace, "the hub above it at ", true);
    }
}

void CHubLock::Take(const std::string& strLocation, const std::string& strBench,
                    const std::string& strWhat, bool bShared)
{
    const std::string strDevice = strWhat + Printable(strLocation);
    std::unique_ptr<HostSystem::CProcessLock> pLock;
    std::string strWhy;
    switch (HostSystem::TakeLock(NameOf(strLocation, strBench), bShared, pLock, strWhy)) {
    case HostSystem::LockResult::Held:
        m_locks.push_back(std::move(pLock));
        return;
    case HostSystem::LockResult::Busy:
        throw CToolError(ExitCode::NoAccess,
                         "another zelhub is working on " + strDevice +
                             (bShared ? "" : ", or on what hangs on it"),
                         "Wait until it has finished, then type this again.");
    case HostSystem::LockResult::Failed:
        throw CToolError(ExitCode::NoAccess, strDevice + " cannot be locked: " + Printable(strWhy),
                         "Make that file writable for you, or run as the user who made it.");
    }
}
