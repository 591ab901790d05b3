#include "bench/CRatioReporter.h"
#include "bench/Targets.h"

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    CRatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return PrintTargets(reporter) ? 0 : 1;
}
