#pragma once

#include "tools/zelhub-bench-usbip/COpenFile.h"

#include <string>
#include <vector>

/// A port of the kernel's virtual host controllers.
struct VhciPort
{
    unsigned nNumber = 0; ///< counted over all controllers, as the kernel's files want it
    bool bSuperSpeed = false;
    std::string strNode; ///< the sysfs node that a device on it has
};

/// The kernel's virtual host controllers (module vhci_hcd).
class CVhci
{
public:
    CVhci();

    /// A port by its controller (from 0) and number (from 1). Throws CToolError when the
    /// module is not there, or (usage) when the kernel has none such.
    VhciPort Port(unsigned nController, unsigned nPort, bool bSuperSpeed) const;

    /// Plugs a device in. @return the other end of its conversation with the kernel, none while
    /// the kernel is not done with the device before. Throws CToolError when it refuses.
    COpenFile Attach(const VhciPort& port) const;

    /// Whether the kernel shows a device there.
    static bool HasDevice(const VhciPort& port);

private:
    struct Controller
    {
        std::string strHighSpeedBus; ///< bus number, as in node names
        std::string strSuperSpeedBus;
    };

    std::vector<Controller> m_controllers;
    unsigned m_nPorts = 0; ///< of each speed, on each controller
};
