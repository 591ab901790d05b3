#pragma once

#include "platform/IHid.h"

class CWinHid : public IHid
{
public:
    void GetHidGuid(GUID* pGuid) override;
    BYTE GetPreparsedData(HANDLE hDevice, HANDLE* phData) override;
    LONG GetCaps(HANDLE hData, HID_CAPS* pCaps) override;
    BYTE FreePreparsedData(HANDLE hData) override;
};
