#pragma once

#include "platform/linux/CLinuxHandles.h"
#include "wire/ControlRequest.h"

/// What stands behind the name of a driver's control device, inside this process.
class CLinuxChannel : public CLinuxHandleObject
{
public:
    /// @return 0, or the error with which the I/O control fails
    virtual DWORD Control(CONTROL_REQUEST& request) = 0;
};
