#pragma once

#include <cstdarg>
#include <cstddef>

#include "platform/Types.h"

/// The one formatter of message texts; it understands a format the same way on every platform.
/// Flags, width, precision; d i u x X o take 32 bits (also with h, l), 64 with ll; c; p prints 16
/// upper-case digits; s and S print narrow or wide text: in a narrow format %s is narrow, %S and
/// %ws are wide; in a wide one %s and %ws are wide, %S is narrow. Null text prints "(null)". Any
/// other conversion is copied as it stands and takes no argument.
///
/// Never writes past the buffer and always terminates it; does not allocate.
/// @param nRoom size of the buffer with the terminator, in characters; 0 writes nothing
/// @return characters written without the terminator
std::size_t FormatText(char* pOut, std::size_t nRoom, const char* pszFormat, va_list args);
std::size_t FormatText(WCHAR* pOut, std::size_t nRoom, const WCHAR* pszFormat, va_list args);
