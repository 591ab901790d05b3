#include "platform/windows/CWinDeviceFile.h"

#include <windows.h>

HANDLE CWinDeviceFile::Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare,
                            DWORD dwDisposition, DWORD dwFlags)
{
    return ::CreateFileW(pszPath, dwAccess, dwShare, nullptr, dwDisposition, dwFlags, nullptr);
}

bool CWinDeviceFile::Close(HANDLE hDevice)
{
    return ::CloseHandle(hDevice) != FALSE;
}

bool CWinDeviceFile::Control(HANDLE hDevice, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut,
                             DWORD cbOut, DWORD* pcbDone)
{
    return ::DeviceIoControl(hDevice, dwCode, const_cast<void*>(pIn), cbIn, pOut, cbOut, pcbDone,
                             nullptr) != FALSE;
}
