#pragma once

#include "platform/IDeviceTree.h"
#include "platform/IHid.h"

#include <map>
#include <optional>
#include <vector>

/// One device interface of a node.
struct SimInterface
{
    GUID guidClass;
    WString strPath; ///< empty: composed from the instance ID
};

/// Everything that the system says about a node. The tree's builders fill it with the texts that
/// Windows would show; a test overrides whatever it likes, also later (CSimNode::Traits).
struct SimNodeTraits
{
    DWORD devInst = 0;                  ///< 0: derived from place and VID/PID
    WString strInstanceId;              ///< "USB\VID_1234&PID_5678\5&1A2B3C4&0&1"
    std::vector<WString> hardwareIds;   ///< empty: the property is not there
    std::vector<WString> compatibleIds; ///< empty: the property is not there
    std::vector<WString> locationPaths; ///< empty: the property is not there
    WString strLocationInformation;     ///< empty: the property is not there
    WString strDescription;             ///< empty: the property is not there
    std::vector<SimInterface> interfaces;
    DWORD dwStatus = 0x0180200A; ///< started; | kNodeHasProblem for one with a problem
    DWORD dwProblem = 0;
    DWORD dwOpenError = 0;           ///< not 0: opening its interface paths fails with it
    bool bWinUsb = false;            ///< WinUSB is its driver
    std::optional<HID_CAPS> hidCaps; ///< there: its interface is a HID collection
    LONG lHidCapsStatus = kHidSuccess;
    unsigned nHubNumber = 0; ///< the "Hub_#" in the location information of what hangs on it
    /// Node properties by number (37, 4, 3), byte for byte instead of the lists above.
    std::map<DWORD, std::vector<BYTE>> rawProperties;
};
