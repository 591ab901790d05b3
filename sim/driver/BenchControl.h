#pragma once

#include "platform/Platform.h"
#include "sim/driver/BenchProtocol.h"

/// One request to the bench driver's second control device; leaves the last error alone.
/// @return true on success, false also while the driver does not run
bool BenchControl(Platform& real, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut,
                  DWORD cbOut, DWORD* pcbDone);
