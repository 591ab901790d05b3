#include "bench/CRatioReporter.h"

CRatioReporter::CRatioReporter() : ConsoleReporter(OO_Tabular) {}

void CRatioReporter::ReportRuns(const std::vector<Run>& runs)
{
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration || run.error_occurred || run.iterations == 0)
            continue;
        // Manual time is processor time as well, of the measured part alone.
        const bool bManual = !run.run_name.time_type.empty();
        const double dSeconds = (bManual ? run.real_accumulated_time : run.cpu_accumulated_time) /
                                static_cast<double>(run.iterations);
        Best best{dSeconds, {}};
        for (const auto& [sCounter, counter] : run.counters)
            best.counters[sCounter] = counter.value;
        const auto [it, bNew] =
            m_best.emplace(run.run_name.function_name + "/" + run.run_name.args, best);
        if (!bNew && dSeconds < it->second.dSeconds)
            it->second = best;
    }
}

double CRatioReporter::Seconds(const std::string& sName) const
{
    const auto it = m_best.find(sName);
    return it == m_best.end() ? -1 : it->second.dSeconds;
}

double CRatioReporter::Counter(const std::string& sName, const std::string& sCounter) const
{
    const auto it = m_best.find(sName);
    if (it == m_best.end())
        return -1;
    const auto counter = it->second.counters.find(sCounter);
    return counter == it->second.counters.end() ? -1 : counter->second;
}
