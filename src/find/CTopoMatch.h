#pragma once

#include "find/IMatch.h"

/// Matches by the device's location path, or by its level and port where it holds none.
class ZEL_API CTopoMatch : public IMatch
{
public:
    bool Match(DWORD devInst, IDev* pDev) override;
};
