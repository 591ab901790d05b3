#include "platform/windows/CWinHid.h"

// clang-format off
#include <windows.h>
// Not every version of the header says itself that these are C functions.
extern "C"
{
#include <hidsdi.h>
}
// clang-format on

static_assert(sizeof(HID_CAPS) == sizeof(HIDP_CAPS));

void CWinHid::GetHidGuid(GUID* pGuid)
{
    ::HidD_GetHidGuid(pGuid);
}

BYTE CWinHid::GetPreparsedData(HANDLE hDevice, HANDLE* phData)
{
    return ::HidD_GetPreparsedData(hDevice, reinterpret_cast<PHIDP_PREPARSED_DATA*>(phData));
}

LONG CWinHid::GetCaps(HANDLE hData, HID_CAPS* pCaps)
{
    return ::HidP_GetCaps(static_cast<PHIDP_PREPARSED_DATA>(hData),
                          reinterpret_cast<HIDP_CAPS*>(pCaps));
}

BYTE CWinHid::FreePreparsedData(HANDLE hData)
{
    return ::HidD_FreePreparsedData(static_cast<PHIDP_PREPARSED_DATA>(hData));
}
