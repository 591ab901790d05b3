#pragma once

#include "tools/zelhub/output/Failure.h"

/// What a person reads after a failure: what happened, in which phase, what state the device is
/// in now, and what to type next; one line each, those that are known.
std::string StateCard(const Failure& failure);
