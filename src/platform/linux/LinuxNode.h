#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Types.h"
#include "platform/linux/UsbPlace.h"

enum class LinuxNodeKind
{
    Controller, ///< a USB host controller, whatever bus it sits on
    RootHub,
    Hub,
    Device, ///< any other USB device
    Hid     ///< a HID collection of a USB device
};

/// One node of the device tree, with what the system says about it that does not change while
/// it is there.
struct LINUX_NODE
{
    LinuxNodeKind eKind = LinuxNodeKind::Device;
    DWORD devInst = 0;
    std::string strFolder;       ///< in sysfs: "devices/pci0000:00/0000:00:14.0/usb1/1-1"
    std::string strParentFolder; ///< empty: none
    std::string strDevNum;       ///< changes when the device went and came back
    std::string strDeviceFile;   ///< its interface path: "/dev/bus/usb/001/005", "/dev/hidraw0"
    USB_PLACE place;
    BYTE byClass = 0;
    bool bSuperSpeed = false;
    WString strInstanceId;
    std::vector<WString> hardwareIds;
    std::vector<WString> compatibleIds;
    std::vector<WString> locationPaths;
    WString strLocationInformation; ///< empty: there is none

    bool IsUsb() const { return eKind != LinuxNodeKind::Controller && eKind != LinuxNodeKind::Hid; }
};
using LinuxNodePtr = std::shared_ptr<const LINUX_NODE>;

/// The interface class that a node offers.
const GUID& InterfaceClassOf(const LINUX_NODE& node);
