#pragma once

#include <string>

/// A place in a text, both from 1.
struct TextPlace
{
    unsigned nLine = 1;
    unsigned nColumn = 1;
};

TextPlace PlaceOf(const std::string& strText, size_t nOffset);

/// Where a member or element stands in a JSON text that is known to be valid.
/// @param strPointer "/hubs/0/vid" (keys without "/" and "~")
TextPlace FindJsonPlace(const std::string& strText, const std::string& strPointer);
