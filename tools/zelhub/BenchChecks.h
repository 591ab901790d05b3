#pragma once

#include "tools/zelhub/BenchDescription.h"
#include "tools/zelhub/CJsonObject.h"

/// Checks what a bench file says as a whole: references, loops, ports and instance numbers used
/// twice, texts that the library does not survive. Throws CToolError (usage).
void CheckBench(const JsonSource& source, const BenchDescription& bench);
