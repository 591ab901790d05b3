#include "sim/driver/BenchControl.h"

#include "platform/ErrorCodes.h"
#include "platform/IDeviceFile.h"
#include "platform/IProcess.h"

DWORD BenchControlError(Platform& real, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut,
                        DWORD cbOut, DWORD* pcbDone)
{
    IProcess& process = real.Process();
    const DWORD dwBefore = process.LastError();
    IDeviceFile& files = real.DeviceFile();
    HANDLE const hDevice =
        files.Open(BENCH_DEVICE_PATH, kGenericRead | kGenericWrite, kShareAll, kOpenExisting, 0);
    DWORD dwError = kErrNone;
    if (hDevice == InvalidHandle()) {
        dwError = process.LastError();
    } else {
        if (!files.Control(hDevice, dwCode, pIn, cbIn, pOut, cbOut, pcbDone))
            dwError = process.LastError();
        files.Close(hDevice);
    }
    process.SetLastError(dwBefore);
    return dwError;
}
