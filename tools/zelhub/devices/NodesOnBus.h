#pragma once

#include "platform/Types.h"

#include <string>
#include <vector>

/// The nodes that show a device interface of a class now, in the system's order. Nothing is opened.
std::vector<DWORD> NodesOf(const GUID& interfaceClass);

/// The IDs of a node as "1234:5678"; empty where its hardware ID holds none. They are found digit
/// by digit: hardware IDs can be searched but not read.
std::string IdsOfNode(DWORD dwInstance);
