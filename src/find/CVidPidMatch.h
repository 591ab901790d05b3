#pragma once

#include "find/IMatch.h"

/// Matches by the device's identifier pairs against the node's hardware IDs.
class ZEL_API CVidPidMatch : public IMatch
{
public:
    bool Match(DWORD devInst, IDev* pDev) override;
};
