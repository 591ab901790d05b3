#pragma once

#include <vector>

#include "platform/Export.h"
#include "platform/Types.h"

/// Produces the firmware image of a device.
class ZEL_API IFwFinder
{
public:
    IFwFinder() = default;
    IFwFinder(const IFwFinder&) = delete;
    IFwFinder& operator=(const IFwFinder&) = delete;
    virtual ~IFwFinder() = default;

    /// Replaces vFw by the image. @return true when there is at least one byte; after a failure
    /// vFw is as it was
    virtual bool LoadFwbin2Buf(std::vector<BYTE>& vFw) = 0;
};
