#pragma once

#include "tools/zelhub/bench/CBenchDriverRoad.h"
#include "tools/zelhub/bench/CBenchMachine.h"
#include "tools/zelhub/context/Options.h"
#include "tools/zelhub/output/COutput.h"
#include "tools/zelhub/output/CProgressView.h"

#include <functional>
#include <memory>

/// What a running command has at hand.
class CToolContext
{
public:
    CToolContext(const Options& options, COutput& output, std::string strCommand);
    CToolContext(const CToolContext&) = delete;
    CToolContext& operator=(const CToolContext&) = delete;
    ~CToolContext();

    const Options& Opts() const { return m_options; }
    COutput& Out() { return m_output; }
    CProgressView& Progress() { return m_progress; }

    bool OnBench() const { return m_pBench != nullptr; }
    CBenchMachine& Bench() { return *m_pBench; }

    /// The bench's services, for the library; null: the real machine's.
    Platform* BenchServices();
    CBenchDriverRoad* DriverRoad() { return m_pRoad.get(); } ///< null: the bench is inside the tool

    /// Builds the bench where one is asked for (throws CToolError).
    /// @param bAtWork the command works on its devices: events begin, and the road counts
    void StartBench(bool bAtWork);

    /// Keeps the bench where that is asked for. @param bFinal lets what is under way end first
    void SaveBench(bool bFinal);

    /// The same while a long command runs, not more often than is bearable.
    void SaveBenchNowAndThen();

    double Seconds() const; ///< of real or of simulated time, from any start
    void Sleep(unsigned nMs);

    /// After something failed: whether a device is there to stay. A transfer fails at once when its
    /// device leaves; the system takes the node away a little later.
    bool IsThereStill(const std::function<bool()>& isThere);

    /// What an end in the middle says from now on (second Ctrl-C, time-out).
    void SetLeave(const Failure& failure);

    /// Throws CToolError (general) after a Ctrl-C, for commands that may stop anywhere.
    void StopIfInterrupted() const;

private:
    const Options& m_options;
    COutput& m_output;
    std::string m_strCommand;
    std::unique_ptr<CBenchMachine> m_pBench;
    std::unique_ptr<CBenchDriverRoad> m_pRoad;
    CProgressView m_progress;
    double m_dSaved = 0;
};
