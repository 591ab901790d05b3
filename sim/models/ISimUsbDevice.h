#pragma once

#include "platform/ErrorCodes.h"
#include "wire/SetupPacket.h"

/// What came of one control transfer.
struct SimTransferResult
{
    DWORD dwError = kErrNone; ///< not 0: the I/O control fails with it (31 stall, 121, 1167, ...)
    DWORD dwUsbdStatus = 0;   ///< not 0: carried, but the URB says this
    DWORD cbDone = 0;         ///< bytes of the data stage that moved
};

/// A USB device as its upstream port sees it: control transfers in, results out.
class ISimUsbDevice
{
public:
    virtual ~ISimUsbDevice() = default;

    /// One control transfer on endpoint 0. pData is null or holds setup.wLength bytes; the
    /// model lets the transfer's time pass on its clock.
    virtual SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData,
                                      DWORD dwTimeoutMs) = 0;
};

/// The port that a device hangs on: models tell it when they leave and return.
class ISimPort
{
public:
    virtual ~ISimPort() = default;

    /// The device is gone from the bus: transfers fail with 1167, its node disappears.
    virtual void DeviceLeft() = 0;

    /// The device is back. With bNewInstance its node gets another instance number.
    virtual void DeviceReturned(bool bNewInstance) = 0;
};
