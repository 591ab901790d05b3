#pragma once

#include <string>

/// What every command takes.
struct Options
{
    std::string strHub;                ///< which hub; empty: the only one
    std::string strBench;              ///< bench file; empty: the real machine
    std::string strBenchState;         ///< where the bench is kept between calls; empty: nowhere
    std::string strRoad = "simulated"; ///< or "driver": the bench is behind the bench driver
    std::string strPace = "instant";
    std::string strLog; ///< a log file of the tool's own
    bool bJson = false;
    bool bQuiet = false;
    bool bVerbose = false;
    bool bLibraryLog = false;
    double dTimeout = 0; ///< seconds of real time, 0: none

    int Verbosity() const { return bQuiet ? -1 : (bVerbose ? 1 : 0); }
};

/// The command line up to the command, so that a hint can be typed as it stands.
std::string CommandPrefix(const Options& options);

/// A word as a shell reads it back: quoted where needed.
std::string ShellWord(const std::string& strWord);
