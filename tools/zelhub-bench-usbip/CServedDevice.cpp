#include "tools/zelhub-bench-usbip/CServedDevice.h"

#include "tools/zelhub/output/Failure.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <sys/socket.h>

CServedDevice::CServedDevice(Settings settings, CSimNode& node, CSimClock& clock, const CVhci& vhci,
                             std::ostream* pLog)
    : m_settings(std::move(settings)), m_node(node), m_clock(clock), m_vhci(vhci), m_pLog(pLog)
{}

void CServedDevice::CheckPortIsFree() const
{
    if (CVhci::HasDevice(m_settings.port))
        throw CToolError(ExitCode::NoAccess,
                         "\"" + m_settings.strName + "\": its port has a device already (" +
                             m_settings.port.strNode + ")",
                         "Give it another port in the bench file, or end the other server.");
}

void CServedDevice::Run(CSimClock::Micros now)
{
    if (m_session) {
        m_session->Run(now); // a transfer can be what makes the device leave
        Flush();
    }
    const bool bSameStay = m_node.IsPresent() && m_node.Generation() == m_nGeneration;
    if (m_socket.IsOpen() && !bSameStay)
        Detach();
    if (m_bDropped && !bSameStay)
        m_bDropped = false;
    // The kernel takes a device that comes back before it dropped the old one for the same one.
    if (Waits() && !CVhci::HasDevice(m_settings.port))
        Attach();
}

void CServedDevice::Attach()
{
    m_socket = m_vhci.Attach(m_settings.port);
    if (!m_socket.IsOpen())
        return; // the port is not free yet
    m_nGeneration = m_node.Generation();
    m_face.emplace(*m_node.Device(), m_settings.eKind, m_settings.byInterfaceClass);
    m_session.emplace(
        *m_face, m_clock,
        [this](const SETUP_PACKET& setup, const SimTransferResult& res) { Log(setup, res); });
}

void CServedDevice::Detach()
{
    m_socket.Close();
    m_session.reset();
    m_face.reset();
}

void CServedDevice::Receive()
{
    std::array<BYTE, 0x4000> bytes;
    const ssize_t cb = ::recv(m_socket.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (cb < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (cb > 0 && m_session->Receive(bytes.data(), static_cast<size_t>(cb)))
        return;
    Detach();
    m_bDropped = true;
}

void CServedDevice::Flush()
{
    const std::vector<BYTE> bytes = m_session->TakeOutput();
    size_t nSent = 0;
    while (nSent < bytes.size()) {
        const ssize_t cb =
            ::send(m_socket.Get(), bytes.data() + nSent, bytes.size() - nSent, MSG_NOSIGNAL);
        if (cb <= 0)
            return; // the kernel has let go; Receive will find that out
        nSent += static_cast<size_t>(cb);
    }
}

std::optional<CSimClock::Micros> CServedDevice::NextDue() const
{
    return m_session ? m_session->NextDue() : std::nullopt;
}

void CServedDevice::Log(const SETUP_PACKET& setup, const SimTransferResult& res)
{
    if (m_pLog == nullptr)
        return;
    char line[96];
    std::snprintf(line, sizeof line, " %02x/%02x value %04x index %04x length %u: %lu",
                  setup.bmRequestType, setup.bRequest, setup.wValue, setup.wIndex, setup.wLength,
                  static_cast<unsigned long>(res.dwError != 0 ? res.dwError : res.dwUsbdStatus));
    *m_pLog << m_settings.strName << line << std::endl;
}
