#include "sim/driver/BenchControl.h"

#include "platform/IDeviceFile.h"
#include "platform/IProcess.h"

bool BenchControl(Platform& real, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut,
                  DWORD cbOut, DWORD* pcbDone)
{
    const DWORD dwBefore = real.Process().LastError();
    IDeviceFile& files = real.DeviceFile();
    HANDLE const hDevice =
        files.Open(BENCH_DEVICE_PATH, kGenericRead | kGenericWrite, kShareAll, kOpenExisting, 0);
    bool bDone = false;
    if (hDevice != InvalidHandle()) {
        bDone = files.Control(hDevice, dwCode, pIn, cbIn, pOut, cbOut, pcbDone);
        files.Close(hDevice);
    }
    real.Process().SetLastError(dwBefore);
    return bDone;
}
