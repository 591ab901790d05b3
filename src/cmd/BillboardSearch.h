#pragma once

#include "platform/Types.h"

/// Finds the interface path of the USB device with an instance number.
/// @return empty when there is none
WString FindUsbPathByInstance(DWORD devInst);

/// Finds the interface path of the billboard device with these IDs, which are not 0.
/// @return empty when there is none
WString FindBillboardPathById(DWORD dwPid, DWORD dwVid);
