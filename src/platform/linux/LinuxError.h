#pragma once

#include "platform/Types.h"

/// The system's error number as our code; the one place where the two meet.
DWORD ErrorFromErrno(int nErrno);

/// libusb's result of a call as our code.
DWORD ErrorFromUsb(int nError);

/// Sets the calling thread's last error. @return always false
bool FailWith(DWORD dwError);

/// Sets the calling thread's last error from errno. @return always false
bool FailWithErrno();

DWORD ThreadLastError();
