#include "find/CVidPidMatch.h"

#include "dev/IDev.h"
#include "find/CDevProperty.h"
#include "msg/CMsg.h"
#include "platform/HexText.h"

bool CVidPidMatch::Match(DWORD devInst, IDev* pDev)
{
    DWORD dwFirst = 0;
    DWORD dwSecond = 0;
    for (DWORD dwIndex = 0; pDev->GetDevID(dwFirst, dwSecond, dwIndex); ++dwIndex) {
        // Deliberate: lower-case digits, though the system's hardware IDs are in upper case. An
        // identifier with letters is not found by this matcher; hosts rely on topology there.
        const WString strText =
            WTEXT("VID_") + HexText(dwSecond) + WTEXT("&PID_") + HexText(dwFirst);
        if (CDevProperty::GetObj()->HasHardwareId(devInst, strText)) {
            CMsg::GetObj()->ShowMsg(MSG_INFO, "CVidPidMatch::Match", "match id return true.\n");
            return true;
        }
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CVidPidMatch::Match", "match id return false.\n");
    return false;
}
