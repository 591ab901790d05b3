#include "sim/models/SimFaultPlan.h"

namespace
{

bool Hits(std::uint64_t nFirst, const SimFault& fault, std::uint64_t n)
{
    return n >= nFirst && n - nFirst < fault.nTimes;
}

} // namespace

std::optional<SimFault> SimFaultPlan::Next(BYTE bRequest)
{
    const std::uint64_t n = m_nTransfers++;
    const std::uint64_t nOfRequest = m_perRequest[bRequest]++;
    for (const auto& [nFirst, fault] : m_at)
        if (Hits(nFirst, fault, n))
            return fault;
    for (const auto& [key, fault] : m_onRequest)
        if (key.first == bRequest && Hits(key.second, fault, nOfRequest))
            return fault;
    return std::nullopt;
}

std::uint64_t SimFaultPlan::Transfers(BYTE bRequest) const
{
    const auto it = m_perRequest.find(bRequest);
    return it == m_perRequest.end() ? 0 : it->second;
}

void SimFaultPlan::Clear()
{
    m_at.clear();
    m_onRequest.clear();
}
