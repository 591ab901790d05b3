#pragma once

#include "sim/models/ISimUsbDevice.h"
#include "wire/ControlRequest.h"

#include <memory>

using SimControlRequest = CONTROL_REQUEST;

/// The process that sends a request, as a driver sees it.
class ISimDriverCaller
{
public:
    virtual ~ISimDriverCaller() = default;

    /// The device behind one of the caller's file handles, null for any other value. It stays
    /// usable after the handle was closed.
    virtual std::shared_ptr<ISimUsbDevice> DeviceBehind(ULONGLONG fileHandle) = 0;

    /// cb bytes of the caller's memory, null when they cannot be reached.
    virtual void* Memory(ULONGLONG address, size_t cb) = 0;
};

/// A kernel driver behind a control device.
class ISimDriver
{
public:
    virtual ~ISimDriver() = default;

    /// @return 0, or the error with which the I/O control fails
    virtual DWORD Control(ISimDriverCaller& caller, SimControlRequest& request) = 0;

    virtual void Unload() = 0; ///< forgets all that was open
};
