#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Types.h"

/// Where a USB device sits, as the kernel names it: "usb1" is bus 1's root hub, "1-2.3" what
/// hangs on port 3 of the hub on port 2 of that root hub.
struct USB_PLACE
{
    unsigned nBus = 0;
    std::vector<unsigned> ports; ///< from the root hub on; empty: the root hub itself

    auto operator<=>(const USB_PLACE&) const = default;
};

/// @return nothing when it is no device's name ("1-2:1.0" is an interface's)
std::optional<USB_PLACE> UsbPlaceOf(const std::string& strName);

/// The folder of the host controller above a device folder; empty when there is none.
std::string ControllerFolderOf(const std::string& strFolder, unsigned nBus);

/// A host controller's route from the root of the machine: "PCIROOT(0)#PCI(1400)",
/// "PLATFORM(soc)#PLATFORM(fe980000.usb)". Different folders have different routes.
WString ControllerPath(const std::string& strFolder);

/// A device's location path. @param nRootHub which root hub of its controller, from 0
WString LocationPath(const WString& strController, unsigned nRootHub,
                     const std::vector<unsigned>& ports);

/// Text that the kernel gave, without the characters that paths and IDs are made of.
WString PlainText(const std::string& strText);

WString Join(std::initializer_list<std::basic_string_view<WCHAR>> parts);
WString WideNumber(unsigned nValue, unsigned nDigits = 1);    ///< decimal
WString WideHex(unsigned long long nValue, unsigned nDigits); ///< upper case
