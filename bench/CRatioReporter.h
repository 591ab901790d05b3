#pragma once

#include <benchmark/benchmark.h>
#include <map>
#include <string>

/// Prints runs as usual and remembers of each benchmark its quickest repetition, so that
/// benchmarks of one run can be compared with each other.
class CRatioReporter : public benchmark::ConsoleReporter
{
public:
    CRatioReporter();
    void ReportRuns(const std::vector<Run>& runs) override;

    /// Processor seconds that one iteration took at best; negative when the benchmark did not run.
    double Seconds(const std::string& sName) const;

    /// A counter of the benchmark; negative when there is none.
    double Counter(const std::string& sName, const std::string& sCounter) const;

private:
    struct Best
    {
        double dSeconds;
        std::map<std::string, double> counters;
    };
    std::map<std::string, Best> m_best;
};
