#pragma once

#include "platform/ErrorCodes.h"
#include "platform/IDeviceTree.h"
#include "platform/Platform.h"
#include "transport/CScopedHandle.h"

/// Requests the present nodes that offer an interface class.
/// @return a set that is open on success; otherwise the last error says why
inline CScopedHandle RequestPresentSet(const GUID* pClass)
{
    return {CurrentPlatform().DeviceTree().GetClassDevs(pClass, nullptr,
                                                        kSetPresent | kSetDeviceInterface),
            CloseDeviceSet};
}

/// Calls fnNode with every node of a set, in the set's order, until the walk fails.
/// @return the error that ended the walk (259: all were seen)
template<class Node>
DWORD ForEachInSet(HANDLE hSet, Node fnNode)
{
    IDeviceTree& tree = CurrentPlatform().DeviceTree();
    for (DWORD dwIndex = 0;; ++dwIndex) {
        DEVINFO_DATA dev = {};
        dev.cbSize = sizeof dev;
        if (!tree.EnumDeviceInfo(hSet, dwIndex, &dev))
            return SystemError();
        fnNode(dev.DevInst);
    }
}
