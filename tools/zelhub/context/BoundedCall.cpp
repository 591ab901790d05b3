#include "tools/zelhub/context/BoundedCall.h"

namespace
{

constexpr CSimClock::Micros kBenchMicros = 2'000'000;
constexpr unsigned long long kBenchPolls = 100'000; ///< in a row, while nothing is scheduled

/// A bench's limits for as long as it lives: what comes after the call must not meet them.
class CBenchLimits
{
public:
    explicit CBenchLimits(CToolContext& context)
        : m_pPolls(context.OnBench() ? &context.Bench().Machine().Polls() : nullptr)
    {
        if (m_pPolls == nullptr)
            return;
        m_pPolls->Progress();
        m_pPolls->SetLimit(kBenchPolls);
        m_pPolls->SetDeadline(context.Bench().Machine().Time().Now() + kBenchMicros);
    }
    CBenchLimits(const CBenchLimits&) = delete;
    CBenchLimits& operator=(const CBenchLimits&) = delete;
    ~CBenchLimits()
    {
        if (m_pPolls == nullptr)
            return;
        m_pPolls->Progress();
        m_pPolls->SetLimit(CSimPolls::kUsualLimit);
        m_pPolls->SetDeadline(0);
    }

private:
    CSimPolls* m_pPolls;
};

} // namespace

void RunBounded(CToolContext& context, const Failure& endless, const std::function<void()>& work)
{
    context.SetLeave(endless);
    const CBenchLimits limits(context);
    try {
        work();
    } catch (const CWouldBlockForever&) {
        throw CToolError(endless);
    }
}
