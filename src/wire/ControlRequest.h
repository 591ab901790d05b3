#pragma once

#include "platform/Types.h"

/// One I/O control request as it reaches a driver, or what stands for one.
struct CONTROL_REQUEST
{
    DWORD dwCode;
    const void* pIn;
    DWORD cbIn;
    void* pOut;
    DWORD cbOut;
    DWORD cbDone = 0; ///< set by the driver: bytes written to pOut
};
