#pragma once

#include "tools/zelhub/context/CToolContext.h"

#include <functional>

/// Runs a call of the library whose waits have no limit. On the real machine the process ends
/// with the failure's text and code when the command's time is over; on a bench the call has two
/// simulated seconds.
///
/// @param endless what a wait without end means
/// Throws CToolError with that failure when the bench gave up.
void RunBounded(CToolContext& context, const Failure& endless, const std::function<void()>& work);
