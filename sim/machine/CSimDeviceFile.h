#pragma once

#include "platform/IDeviceFile.h"

class CSimMachine;

/// Device files: interface paths of nodes, and the control devices of running drivers. Sharing
/// is not enforced.
class CSimDeviceFile : public IDeviceFile
{
public:
    explicit CSimDeviceFile(CSimMachine& machine) : m_machine(machine) {}

    HANDLE Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
                DWORD dwFlags) override;
    bool Close(HANDLE hDevice) override;
    bool Control(HANDLE hDevice, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut, DWORD cbOut,
                 DWORD* pcbDone) override;

private:
    CSimMachine& m_machine;
};
