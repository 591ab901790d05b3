#pragma once

#include "platform/Platform.h"
#include "sim/driver/BenchProtocol.h"

/// One request to the bench driver's second control device; leaves the last error alone.
/// @return 0 or the error code (2: the driver does not run)
DWORD BenchControlError(Platform& real, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut,
                        DWORD cbOut, DWORD* pcbDone);

/// The same. @return true on success
inline bool BenchControl(Platform& real, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut,
                         DWORD cbOut, DWORD* pcbDone)
{
    return BenchControlError(real, dwCode, pIn, cbIn, pOut, cbOut, pcbDone) == 0;
}
