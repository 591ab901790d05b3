#pragma once

#include "find/IFilterEx.h"

/// Excludes the SuperSpeed halves of USB 3 hubs, so that a hub is handled through its USB 2 half.
class ZEL_API CU3HubFilter : public IFilterEx
{
public:
    bool Filter(DWORD devInst) override;
};
