#pragma once

#include "platform/Types.h"

#include <vector>

/// What the companion service reads from its pipe: the switch byte (1 = on), each ID as UTF-16LE
/// with its zero character, and one more zero character. IDs are cut at 200 characters, the list
/// at 2047.
std::vector<BYTE> BuildPipeRequest(WCHAR* const* ppszIds, int nCount, bool bTurnOn);
