#pragma once

#include "platform/Types.h"

#include <array>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the code of a failing operation means.
enum class SimCodeKind
{
    LastError,    ///< the operation says no and the thread's last error is the code
    ConfigResult, ///< the operation returns the code (configuration manager)
    HResult,      ///< the operation returns the code (HRESULT)
    HidStatus,    ///< the operation returns the code (HID status)
    None          ///< the operation cannot fail; it is only counted
};

/// Counts every call through the seam of one simulated process and makes chosen ones fail.
/// Operations are named as the seam declares them: "IServiceManager::OpenManager". An unknown
/// name throws std::invalid_argument, so that a misspelt fault cannot pass unnoticed.
class CSimFaults
{
public:
    CSimFaults();

    /// Makes the n-th call fail with a code; the first call that the process ever made is 1.
    void FailCall(std::string_view strOperation, unsigned n, DWORD dwCode);

    /// Makes the next call from now on fail with a code.
    void FailNext(std::string_view strOperation, DWORD dwCode);

    /// Makes every call from now on fail with a code, until Clear.
    void FailAlways(std::string_view strOperation, DWORD dwCode);

    /// Takes back all faults; the counters go on.
    void Clear();

    /// Calls of one operation so far, failing ones included.
    unsigned Calls(std::string_view strOperation) const;

    /// Calls of every operation that was called, by name.
    std::map<std::string, unsigned> Counts() const;

    /// Sets all counters to 0 (FailCall then counts from here).
    void ResetCounts();

    unsigned Fired() const;   ///< calls that were made to fail
    unsigned Pending() const; ///< single faults (FailCall, FailNext) that have not fired yet

    static std::vector<std::string> Operations(); ///< the names of all operations
    static SimCodeKind KindOf(std::string_view strOperation);

    /// For the services: counts a call; the name is a literal. @return the code that it has to fail
    /// with, if any
    std::optional<DWORD> Count(const char* pszOperation);

private:
    struct Entry
    {
        unsigned nCalls = 0;
        std::map<unsigned, DWORD> single; // number of the call, code
        std::optional<DWORD> always;
    };

    size_t CachedPlaceOf(const char* pszOperation);

    mutable std::mutex m_lock;
    std::array<std::pair<const char*, size_t>, 64> m_cache = {}; // by the literal's address
    std::vector<Entry> m_entries; // by the operation's place in the table
    unsigned m_nFired = 0;
};
