#pragma once

#include "platform/Types.h"

#include <optional>
#include <string>
#include <vector>

/// Bytes of "01 2A FF": two digits each; blanks, commas and colons between them are ignored.
/// @return nothing where the text is no such list, or empty
std::optional<std::vector<BYTE>> ParseHexBytes(const std::string& strText);

/// The bytes of a command's --data. Throws CToolError (usage) where they are none.
std::vector<BYTE> DataOption(const std::string& strText);
