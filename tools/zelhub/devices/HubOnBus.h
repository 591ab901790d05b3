#pragma once

#include "platform/Types.h"

#include <string>
#include <vector>

/// The instance numbers of the hub nodes that are present, root hubs left out. Nothing is
/// opened.
std::vector<DWORD> PresentHubs();

/// Whether a hub node is at a place now.
bool IsHubOnBus(const std::string& strLocation);
