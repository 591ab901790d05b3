#pragma once

#include <cstddef>
#include <string>

#include "platform/Types.h"

/// UTF-16 to UTF-8, zero characters included; a lone surrogate becomes "?".
std::string Utf8FromWide(const WCHAR* pText, std::size_t nUnits);
