#pragma once

#include <optional>

#include "platform/linux/CSysfs.h"
#include "platform/linux/LinuxNode.h"

/// What sysfs says about a USB device by itself; the rest depends on its neighbours. An
/// attribute that is missing or odd leaves its ID out.
struct USB_ENTRY
{
    std::string strIdentity; ///< of its folder
    std::string strFolder;
    std::string strDevNum;
    USB_PLACE place;
    WString strVidPid;   ///< "VID_1234&PID_5678"
    WString strRevision; ///< "0100"; empty: not known
    BYTE byClass = 0;
    std::vector<WString> classIds; ///< empty: not known
    unsigned nSpeed = 0;           ///< Mbit/s, 0: not known
};

/// @return nothing when the device has gone or is none that can be used
std::optional<USB_ENTRY> ReadUsbEntry(const CSysfs& sysfs, const std::string& strFolder,
                                      const USB_PLACE& place);

/// "/dev/bus/usb/001/005".
std::string UsbDeviceFile(const std::string& strDevRoot, const USB_ENTRY& entry);

/// The node of a USB device, complete but for its number and its hub's.
/// @param strController the controller's route @param nRootHub which root hub of it
LINUX_NODE MakeUsbNode(const USB_ENTRY& entry, const std::string& strDevRoot,
                       const WString& strController, unsigned nRootHub);

LINUX_NODE MakeControllerNode(const CSysfs& sysfs, const std::string& strFolder,
                              unsigned nFirstBus);

/// The node of a hidraw device. @param strFolder its folder in sysfs @param device its device
std::optional<LINUX_NODE> MakeHidNode(const std::string& strFolder, const std::string& strDevRoot,
                                      const LINUX_NODE& device);

/// FNV-1a over the text's bytes.
DWORD HashText(const WString& strText);

/// What a node's number is made from: its place and its VID and PID.
WString NumberSeed(const LINUX_NODE& node);
