#pragma once

#include "platform/IHid.h"
#include "platform/linux/CLinuxHandles.h"

/// HID class services on hidraw: capabilities from the report descriptor that sysfs shows. Of
/// several top-level collections the first of a vendor's counts, or else the first.
class CLinuxHid : public IHid
{
public:
    /// @param handles shared with the device files, outlives this object
    explicit CLinuxHid(CLinuxHandles& handles) : m_handles(handles) {}

    void GetHidGuid(GUID* pGuid) override;
    BYTE GetPreparsedData(HANDLE hDevice, HANDLE* phData) override;
    LONG GetCaps(HANDLE hData, HID_CAPS* pCaps) override;
    BYTE FreePreparsedData(HANDLE hData) override;

private:
    CLinuxHandles& m_handles;
};
