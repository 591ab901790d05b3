#include "platform/linux/LinuxError.h"

#include <cerrno>

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
