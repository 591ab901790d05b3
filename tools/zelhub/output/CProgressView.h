#pragma once

#include "tools/zelhub/output/COutput.h"

#include <functional>
#include <string>

/// Shows how a long command gets on: a bar on a terminal, else lines (or JSON lines) of steps.
class CProgressView
{
public:
    /// @param seconds the time that rates are measured in (simulated time on a bench)
    CProgressView(COutput& output, bool bBar, std::function<double()> seconds);
    CProgressView(const CProgressView&) = delete;
    CProgressView& operator=(const CProgressView&) = delete;
    ~CProgressView() { Clear(); }

    /// A new phase at an overall percentage; bytes that the phase moves (0: none).
    void Phase(const std::string& strPhase, int nPercent, unsigned long long cbPhase = 0);

    /// Within the phase: its own percentage, and the overall one.
    void Step(int nPhasePercent, int nPercent);

    /// A wait: whole seconds that remain at most.
    void Wait(int nSeconds);

    void Clear(); ///< takes the bar away, so that text can be written

private:
    void Draw(const std::string& strTail);
    double Rate(int nPhasePercent) const;

    COutput& m_output;
    bool m_bBar;
    bool m_bDrawn = false;
    std::function<double()> m_seconds;
    std::string m_strPhase;
    int m_nPercent = 0;
    int m_nShown = -1; ///< percentage of the last line
    int m_nWaitShown = -1;
    unsigned long long m_cbPhase = 0;
    double m_dStart = 0;
};
