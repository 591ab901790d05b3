#pragma once

#include "platform/Types.h"

/// System error codes, in Windows numbers on every platform.
constexpr DWORD kErrNone = 0;
constexpr DWORD kErrFileNotFound = 2;
constexpr DWORD kErrPathNotFound = 3;
constexpr DWORD kErrTooManyOpenFiles = 4;
constexpr DWORD kErrAccessDenied = 5;
constexpr DWORD kErrInvalidHandle = 6;
constexpr DWORD kErrNotEnoughMemory = 8;
constexpr DWORD kErrInvalidData = 13;
constexpr DWORD kErrNotReady = 21;
constexpr DWORD kErrGenFailure = 31;
constexpr DWORD kErrSharingViolation = 32;
constexpr DWORD kErrNotSupported = 50;
constexpr DWORD kErrFileExists = 80;
constexpr DWORD kErrInvalidParameter = 87;
constexpr DWORD kErrDiskFull = 112;
constexpr DWORD kErrCallNotImplemented = 120;
constexpr DWORD kErrSemTimeout = 121;
constexpr DWORD kErrInsufficientBuffer = 122;
constexpr DWORD kErrBusy = 170;
constexpr DWORD kErrNoMoreItems = 259;
constexpr DWORD kErrOperationAborted = 995;
constexpr DWORD kErrServiceAlreadyRunning = 1056;
constexpr DWORD kErrServiceDoesNotExist = 1060;
constexpr DWORD kErrServiceNotActive = 1062;
constexpr DWORD kErrServiceMarkedForDelete = 1072;
constexpr DWORD kErrServiceExists = 1073;
constexpr DWORD kErrIoDevice = 1117;   // ERROR_IO_DEVICE
constexpr DWORD kErrDeviceGone = 1167; // ERROR_DEVICE_NOT_CONNECTED
constexpr DWORD kErrNotFound = 1168;
constexpr DWORD kErrNotAllAssigned = 1300;
constexpr DWORD kErrResourceDataNotFound = 1812;
constexpr DWORD kErrResourceTypeNotFound = 1813;
constexpr DWORD kErrResourceNameNotFound = 1814;
constexpr DWORD kErrNoSuchDevInst = 0xE000020B;

/// Configuration manager results (DWORD, 0 = success).
constexpr DWORD kCrSuccess = 0x00;
constexpr DWORD kCrInvalidPointer = 0x03;
constexpr DWORD kCrInvalidDevNode = 0x05;
constexpr DWORD kCrNoSuchDevNode = 0x0D;
constexpr DWORD kCrFailure = 0x13;
constexpr DWORD kCrBufferSmall = 0x1A;
constexpr DWORD kCrNoSuchValue = 0x25;

/// HRESULTs (32-bit, 0 and positive = success).
constexpr LONG kHrOk = 0;
constexpr LONG kHrFalse = 1;
constexpr LONG kHrFail = static_cast<LONG>(0x80004005);
constexpr LONG kHrNotImplemented = static_cast<LONG>(0x80004001);
constexpr LONG kHrTooLate = static_cast<LONG>(0x80010119); // RPC_E_TOO_LATE
