#include "platform/linux/LinuxError.h"

#include <cerrno>
#include <libusb.h>

#include "platform/ErrorCodes.h"

namespace
{
thread_local DWORD t_dwLastError = 0;
}

DWORD ErrorFromErrno(int nErrno)
{
    switch (nErrno) {
    case 0:
        return kErrNone;
    case ENOENT:
        return kErrFileNotFound;
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
        return kErrPathNotFound;
    case EACCES:
    case EPERM:
    case EISDIR:
    case EROFS:
        return kErrAccessDenied;
    case EMFILE:
    case ENFILE:
        return kErrTooManyOpenFiles;
    case ENOMEM:
        return kErrNotEnoughMemory;
    case EBADF:
        return kErrInvalidHandle;
    case EEXIST:
        return kErrFileExists;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return kErrDiskFull;
    case EBUSY:
    case EAGAIN:
        return kErrBusy;
    case ETXTBSY:
        return kErrSharingViolation;
    case EINVAL:
        return kErrInvalidParameter;
    case EPIPE:
        return kErrGenFailure;
    case ETIMEDOUT:
        return kErrSemTimeout;
    case ENODEV:
    case ENXIO:
    case ESHUTDOWN:
        return kErrDeviceGone;
    case EIO:
    case EPROTO: // what an error on the bus comes as
    case EILSEQ:
    case EOVERFLOW:
        return kErrIoDevice;
    case ECANCELED:
        return kErrOperationAborted;
    case EOPNOTSUPP:
        return kErrNotSupported;
    case ENOSYS:
        return kErrCallNotImplemented;
    default:
        return kErrGenFailure;
    }
}

DWORD ErrorFromUsb(int nError)
{
    switch (nError) {
    case LIBUSB_SUCCESS:
        return kErrNone;
    case LIBUSB_ERROR_TIMEOUT:
        return kErrSemTimeout;
    case LIBUSB_ERROR_NO_DEVICE:
        return kErrDeviceGone;
    case LIBUSB_ERROR_ACCESS:
        return kErrAccessDenied;
    case LIBUSB_ERROR_BUSY:
        return kErrBusy;
    case LIBUSB_ERROR_INVALID_PARAM:
        return kErrInvalidParameter;
    case LIBUSB_ERROR_NO_MEM:
        return kErrNotEnoughMemory;
    case LIBUSB_ERROR_NOT_SUPPORTED:
        return kErrNotSupported;
    case LIBUSB_ERROR_INTERRUPTED:
        return kErrOperationAborted;
    case LIBUSB_ERROR_IO:
    case LIBUSB_ERROR_OVERFLOW:
        return kErrIoDevice;
    default: // a stall is among them
        return kErrGenFailure;
    }
}

bool FailWith(DWORD dwError)
{
    t_dwLastError = dwError;
    return false;
}

bool FailWithErrno()
{
    return FailWith(ErrorFromErrno(errno));
}

DWORD ThreadLastError()
{
    return t_dwLastError;
}
