#pragma once

#include "platform/Types.h"

#include <cstdint>
#include <string>

/// Small helpers for 16-bit text; case folding is ASCII only.
namespace SimText
{
/// Wide text as UTF-8; unpaired surrogates become "?".
std::string Narrow(const WString& strText);

WString Widen(const std::string& strAscii); ///< ASCII only
WString Upper(const WString& strText);
WString Lower(const WString& strText);
bool SameNoCase(const WString& a, const WString& b);
bool StartsNoCase(const WString& strText, const WString& strStart);

/// Upper-case hexadecimal with at least nDigits digits.
WString Hex(std::uint64_t value, unsigned nDigits);
WString Decimal(std::uint64_t value, unsigned nDigits = 1);

/// "{f18a0e88-c30c-11d0-8815-00a0c906bed8}"
WString GuidText(const GUID& guid);

/// A path as the volume knows it: upper case, repeated backslashes as one, none at the end.
WString PathKey(const WString& strPath);

/// FNV-1a over the text's bytes.
std::uint32_t Hash(const WString& strText);

/// Text from a pointer that may be null.
inline WString Of(const WCHAR* pszText)
{
    return pszText == nullptr ? WString() : WString(pszText);
}
} // namespace SimText
