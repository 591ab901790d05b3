#pragma once

#include "platform/Types.h"

#include <cstring>
#include <vector>

/// How device trees hand out texts: 16-bit characters with their terminator.
inline std::vector<BYTE> TextBytes(const WString& strText)
{
    std::vector<BYTE> bytes(sizeof(WCHAR) * (strText.size() + 1));
    std::memcpy(bytes.data(), strText.c_str(), bytes.size());
    return bytes;
}

/// A list of texts: each terminated, and the list once more. Nothing for an empty list.
inline std::vector<BYTE> ListBytes(const std::vector<WString>& list)
{
    if (list.empty())
        return {};
    WString strAll;
    for (const WString& strEntry : list) {
        strAll += strEntry;
        strAll += WCHAR(0);
    }
    return TextBytes(strAll);
}
