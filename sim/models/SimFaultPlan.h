#pragma once

#include "platform/Types.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

enum class SimFaultKind
{
    Fail,      ///< the I/O control fails with dwCode
    Stall,     ///< the device refuses on the wire
    TimeOut,   ///< the transfer's whole time-out passes
    UrbStatus, ///< carried, but the URB says dwCode
    Corrupt,   ///< byte dwOffset of the data is changed on its way, byMask is flipped
    Lie,       ///< reported as done; nothing was done, the buffer is left alone
    Slow,      ///< the device is busy for dwLateMs first, longer than some time-outs
    Vanish     ///< the device drops off the bus, for dwBackMs or (0) until it is powered up
};

/// One thing that goes wrong with a transfer.
struct SimFault
{
    SimFaultKind eKind = SimFaultKind::Fail;
    DWORD dwCode = 31;
    DWORD dwOffset = 0; ///< taken modulo the length of the data
    BYTE byMask = 0x01;
    bool bActs = false; ///< Fail, Stall, TimeOut, UrbStatus: the device acts, its answer is lost
    DWORD dwBackMs = 0;
    DWORD dwLateMs = 1000;
    unsigned nTimes = 1; ///< how many matching transfers in a row it hits
};

/// Which transfers go wrong. Transfers are counted from 0, as the device sees them.
class SimFaultPlan
{
public:
    /// The n-th transfer of all.
    void At(std::uint64_t n, const SimFault& fault) { m_at[n] = fault; }

    /// The n-th transfer with this bRequest.
    void OnRequest(BYTE bRequest, std::uint64_t n, const SimFault& fault)
    {
        m_onRequest[{bRequest, n}] = fault;
    }

    /// Counts a transfer and says what goes wrong with it.
    std::optional<SimFault> Next(BYTE bRequest);

    std::uint64_t Transfers() const { return m_nTransfers; }
    std::uint64_t Transfers(BYTE bRequest) const;

    /// Forgets the faults, not the counts.
    void Clear();

private:
    std::uint64_t m_nTransfers = 0;
    std::map<BYTE, std::uint64_t> m_perRequest;
    std::map<std::uint64_t, SimFault> m_at;
    std::map<std::pair<BYTE, std::uint64_t>, SimFault> m_onRequest;
};
