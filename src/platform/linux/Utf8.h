#pragma once

#include <cstddef>
#include <string>

#include "platform/Types.h"

/// UTF-16 to UTF-8, zero characters included; a lone surrogate becomes "?".
std::string Utf8FromWide(const WCHAR* pText, std::size_t nUnits);

/// UTF-8 to UTF-16; bytes that are no UTF-8 become "?" one by one.
WString WideFromUtf8(const std::string& strText);
