#pragma once

#include "platform/IHid.h"

class CSimMachine;

/// The HID class services over nodes whose Traits has capabilities.
class CSimHid : public IHid
{
public:
    explicit CSimHid(CSimMachine& machine) : m_machine(machine) {}

    void GetHidGuid(GUID* pGuid) override;
    BYTE GetPreparsedData(HANDLE hDevice, HANDLE* phData) override;
    LONG GetCaps(HANDLE hData, HID_CAPS* pCaps) override;
    BYTE FreePreparsedData(HANDLE hData) override;

private:
    CSimMachine& m_machine;
};
