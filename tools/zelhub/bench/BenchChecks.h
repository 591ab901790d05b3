#pragma once

#include "tools/zelhub/bench/BenchDescription.h"
#include "tools/zelhub/input/CJsonObject.h"

/// Checks what a bench file says as a whole: references, loops, ports and instance numbers used
/// twice, texts that the library does not survive. Throws CToolError (usage).
void CheckBench(const JsonSource& source, const BenchDescription& bench);
