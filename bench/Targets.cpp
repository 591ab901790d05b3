#include "bench/Targets.h"

#include "bench/CRatioReporter.h"

#include <cstdio>
#include <utility>

namespace
{
constexpr double kMicro = 1e-6;
constexpr double kMiB = 1024.0 * 1024.0;

struct Measured
{
    std::string sWhat;
    double dValue;
    double dAtMost;
    const char* pszUnit;
    bool bRan;
};

/// What the library adds to one request beyond two copies of its data, in microseconds.
Measured PerRequest(const CRatioReporter& run, const std::string& sBytes, int nResponders)
{
    const double dLibrary =
        run.Seconds("LibraryRequest/" + sBytes + "/" + std::to_string(nResponders));
    const double dBare = run.Seconds("BareRequest/" + sBytes);
    const double dCopy = run.Seconds("Copy/" + sBytes);
    return {"added to a request of " + sBytes + " bytes, " + std::to_string(nResponders) +
                " responders",
            (dLibrary - dBare - 2 * dCopy) / kMicro, nResponders == 0 ? 1.0 : 3.0, "us",
            dLibrary > 0 && dBare > 0 && dCopy > 0};
}

/// What the library adds to one unit of a PD update, beyond two copies of its data.
Measured PerUnit(const CRatioReporter& run, int nResponders)
{
    const double dLibrary = run.Seconds("PdUnit/" + std::to_string(nResponders));
    const double dBare = run.Seconds("PdBareUnit/");
    const double dCopy = run.Seconds("Copy/20");
    return {"added to a PD unit of 29 bytes, " + std::to_string(nResponders) + " responders",
            (dLibrary - dBare - 2 * dCopy) / kMicro, nResponders == 0 ? 1.0 : 3.0, "us",
            dLibrary > 0 && dBare > 0 && dCopy > 0};
}

Measured Ratio(const CRatioReporter& run, const std::string& sWhat, const std::string& sOf,
               const std::string& sTo, double dAtMost)
{
    const double dOf = run.Seconds(sOf);
    const double dTo = run.Seconds(sTo);
    return {sWhat, dOf / dTo, dAtMost, "times", dOf > 0 && dTo > 0};
}

Measured PeakHeap(const CRatioReporter& run, double dKiB)
{
    const std::string sKiB = std::to_string(static_cast<int>(dKiB));
    const double dPeak = run.Counter("Update/" + sKiB + "/0", "peak");
    return {"peak heap of an update of " + sKiB + " KiB", dPeak / kMiB, 4 * dKiB / 1024 + 1, "MiB",
            dPeak >= 0};
}

void PrintMultiples(const CRatioReporter& run)
{
    std::printf("\nWhole updates, as multiples of the bare model with the same requests:\n");
    std::printf("%8s %10s %14s %14s %14s\n", "image", "requests", "no responder", "null responder",
                "log file");
    for (const char* pszKiB : {"64", "256", "1024"}) {
        const std::string sUpdate = std::string("Update/") + pszKiB + "/";
        const double dBare = run.Seconds(std::string("BareModel/") + pszKiB);
        if (dBare <= 0)
            continue;
        std::printf("%4s KiB %10.0f %14.2f %14.2f %14.2f\n", pszKiB,
                    run.Counter(sUpdate + "0", "requests"), run.Seconds(sUpdate + "0") / dBare,
                    run.Seconds(sUpdate + "1") / dBare, run.Seconds(sUpdate + "2") / dBare);
    }
}

void PrintFamilies(const CRatioReporter& run)
{
    const double dBare = run.Seconds("PdBareModel/");
    if (dBare > 0)
        std::printf(
            "\nA PD image of 128 KiB in %.0f requests: %.2f times the bare model, %.2f with "
            "a null responder\n",
            run.Counter("PdUpdate/0", "requests"), run.Seconds("PdUpdate/0") / dBare,
            run.Seconds("PdUpdate/1") / dBare);
    for (const auto& [pszWhat, pszName] : {std::pair{"EC register reads", "EcRegisterRead/"},
                                           std::pair{"SMBus writes of 32 bytes", "SmbusBlock/1"},
                                           std::pair{"SMBus reads of 32 bytes", "SmbusBlock/0"}}) {
        if (run.Seconds(pszName) > 0)
            std::printf("%-28s %10.0f a second\n", pszWhat, 1 / run.Seconds(pszName));
    }
}

bool Print(const Measured& measured)
{
    if (!measured.bRan) {
        std::printf("%-52s not run\n", measured.sWhat.c_str());
        return false;
    }
    const bool bMet = measured.dValue <= measured.dAtMost;
    std::printf("%-52s %8.2f %-5s (at most %.2f) %s\n", measured.sWhat.c_str(), measured.dValue,
                measured.pszUnit, measured.dAtMost, bMet ? "met" : "MISSED");
    return bMet;
}
} // namespace

bool PrintTargets(const CRatioReporter& reporter)
{
    PrintMultiples(reporter);
    PrintFamilies(reporter);
    std::printf("\nTargets:\n");
    const Measured measured[] = {
        PerRequest(reporter, "20", 0),
        PerRequest(reporter, "4096", 0),
        PerRequest(reporter, "20", 1),
        PerRequest(reporter, "4096", 1),
        PerUnit(reporter, 0),
        PerUnit(reporter, 1),
        Ratio(reporter, "a log line, against a bare one", "LogLine/", "BareLine/", 1.2),
        Ratio(reporter, "a watch cycle with 1,000 hubs, against 100", "WatchCycle/1000",
              "WatchCycle/100", 12),
        PeakHeap(reporter, 64),
        PeakHeap(reporter, 256),
        PeakHeap(reporter, 1024),
    };
    bool bAllMet = true;
    for (const Measured& one : measured)
        bAllMet = Print(one) && bAllMet;
    return bAllMet;
}
