#pragma once

#include "platform/Platform.h"
#include "tools/zelhub/output/Failure.h"

/// What to do where a hub or its driver is there, but cannot be reached.
extern const char* const kRightsAdvice;

/// Why the hub driver is not open after the library's start, which says little about it: looks at
/// the driver's service and tries to start it.
/// @param strReported what the library reported last, may be empty
Failure WhyNoDriver(Platform& system, const std::string& strReported);
