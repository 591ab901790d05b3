#pragma once

#include "platform/Export.h"
#include "platform/Types.h"

/// Excludes nodes from a finder's lists.
class ZEL_API IFilterEx
{
public:
    IFilterEx() = default;
    IFilterEx(const IFilterEx&) = delete;
    IFilterEx& operator=(const IFilterEx&) = delete;
    virtual ~IFilterEx() = default;

    /// @return true when the node is to be excluded
    virtual bool Filter(DWORD devInst) = 0;
};
