#pragma once

#include "platform/Types.h"

/// Capabilities of a top-level collection (layout of HIDP_CAPS).
struct HID_CAPS
{
    USHORT Usage;
    USHORT UsagePage;
    USHORT InputReportByteLength;
    USHORT OutputReportByteLength;
    USHORT FeatureReportByteLength;
    USHORT Reserved[27];
};
static_assert(sizeof(HID_CAPS) == 64);

constexpr LONG kHidSuccess = 0x00110000; ///< HIDP_STATUS_SUCCESS

/// The HID class services.
class IHid
{
public:
    virtual ~IHid() = default;

    virtual void GetHidGuid(GUID* pGuid) = 0;

    /// @return 1 (TRUE) on success; *phData is then for FreePreparsedData
    virtual BYTE GetPreparsedData(HANDLE hDevice, HANDLE* phData) = 0;

    /// @return kHidSuccess, or an error status
    virtual LONG GetCaps(HANDLE hData, HID_CAPS* pCaps) = 0;

    /// @return 1 on success
    virtual BYTE FreePreparsedData(HANDLE hData) = 0;
};
