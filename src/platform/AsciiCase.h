#pragma once

#include "platform/Types.h"

/// Case folding of device texts: ASCII letters only, whatever the system's language.
inline WCHAR LowerAscii(WCHAR ch)
{
    return ch >= WTEXT('A') && ch <= WTEXT('Z') ? static_cast<WCHAR>(ch - WTEXT('A') + WTEXT('a'))
                                                : ch;
}

inline WCHAR UpperAscii(WCHAR ch)
{
    return ch >= WTEXT('a') && ch <= WTEXT('z') ? static_cast<WCHAR>(ch - WTEXT('a') + WTEXT('A'))
                                                : ch;
}
