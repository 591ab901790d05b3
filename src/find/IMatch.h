#pragma once

#include "platform/Export.h"
#include "platform/Types.h"

class IDev;

/// Tells whether a node is a device.
class ZEL_API IMatch
{
public:
    IMatch() = default;
    IMatch(const IMatch&) = delete;
    IMatch& operator=(const IMatch&) = delete;
    virtual ~IMatch() = default;

    /// @return true when the node is that device
    virtual bool Match(DWORD devInst, IDev* pDev) = 0;
};
