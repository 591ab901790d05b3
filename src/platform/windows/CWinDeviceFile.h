#pragma once

#include "platform/IDeviceFile.h"

class CWinDeviceFile : public IDeviceFile
{
public:
    HANDLE Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
                DWORD dwFlags) override;
    bool Close(HANDLE hDevice) override;
    bool Control(HANDLE hDevice, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut, DWORD cbOut,
                 DWORD* pcbDone) override;
};
