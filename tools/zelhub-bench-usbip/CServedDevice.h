#pragma once

#include "sim/machine/CSimNode.h"
#include "sim/usbip/CUsbFace.h"
#include "sim/usbip/CUsbipSession.h"
#include "tools/zelhub-bench-usbip/CVhci.h"

#include <optional>
#include <ostream>

/// One device in the running kernel: follows a node of a simulated machine onto the bus and off
/// it, and lets the kernel talk to the node's model.
class CServedDevice
{
public:
    struct Settings
    {
        std::string strName; ///< how the request log calls it
        VhciPort port;
        UsbFaceKind eKind = UsbFaceKind::Hub;
        BYTE byInterfaceClass = 9;
    };

    /// Everything must outlive the device. @param pLog requests are written there, null: nowhere
    CServedDevice(Settings settings, CSimNode& node, CSimClock& clock, const CVhci& vhci,
                  std::ostream* pLog);

    /// Throws CToolError when the kernel shows a device on its port: somebody else's.
    void CheckPortIsFree() const;

    /// Attaches or detaches as the node says, carries out transfers, sends answers that are due.
    void Run(CSimClock::Micros now);

    /// Reads what the kernel sent; to be called when the socket has something.
    void Receive();

    int Socket() const { return m_socket.Get(); } ///< -1: not attached

    /// Whether it waits for the kernel to drop a device: Run must be called soon again.
    bool Waits() const { return !m_socket.IsOpen() && m_node.IsPresent() && !m_bDropped; }
    std::optional<CSimClock::Micros> NextDue() const;

private:
    void Attach();
    void Detach();
    void Flush();
    void Log(const SETUP_PACKET& setup, const SimTransferResult& res);

    Settings m_settings;
    CSimNode& m_node;
    CSimClock& m_clock;
    const CVhci& m_vhci;
    std::ostream* m_pLog;
    COpenFile m_socket;
    std::optional<CUsbFace> m_face;
    std::optional<CUsbipSession> m_session;
    unsigned m_nGeneration = 0; ///< of the node when it was attached
    bool m_bDropped = false;    ///< somebody else detached it: it stays away until it is replugged
};
