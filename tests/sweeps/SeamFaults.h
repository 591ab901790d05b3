#pragma once

#include "sim/machine/CSimFaults.h"
#include "sim/machine/CSimHandles.h"

#include <map>
#include <ostream>
#include <string>
#include <vector>

/// One call through the seam that fails.
struct SeamFault
{
    std::string strOperation;
    unsigned nCall;
    DWORD dwCode;
};

std::ostream& operator<<(std::ostream& out, const SeamFault& fault);

/// Every call of a session, once with each of two codes that it may really give.
/// @param counts  the calls that the whole session makes, by operation
/// @param nStep   of an operation's inner calls every how many; its first and last are all taken
std::vector<SeamFault> FaultsOf(const std::map<std::string, unsigned>& counts, unsigned nStep = 1);

/// Nothing stays open but what could not be closed, and nothing is closed twice.
void ExpectTidy(const CSimHandles& handles, const std::string& strOperation);
