#include "tools/zelhub-bench-usbip/CVhci.h"

#include "tools/zelhub/output/Failure.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

constexpr const char* kPlatformDevices = "/sys/devices/platform";
constexpr const char* kUsbDevices = "/sys/bus/usb/devices";
constexpr unsigned kSpeedHigh = 3; // the kernel's numbers
constexpr unsigned kSpeedSuper = 5;

std::string ReadWord(const fs::path& path)
{
    std::ifstream file(path);
    std::string strWord;
    file >> strWord;
    return strWord;
}

fs::path ControllerPath(size_t n)
{
    return fs::path(kPlatformDevices) / ("vhci_hcd." + std::to_string(n));
}

[[noreturn]] void Refused(const std::string& strWhat)
{
    throw CToolError(ExitCode::NoAccess, "vhci_hcd: " + strWhat + ": " + std::strerror(errno),
                     "Run it as root, on ports that nothing else is attached to.");
}

} // namespace

CVhci::CVhci()
{
    for (size_t n = 0; fs::exists(ControllerPath(n)); ++n) {
        Controller controller;
        for (const fs::directory_entry& entry : fs::directory_iterator(ControllerPath(n))) {
            const std::string strName = entry.path().filename().string();
            if (strName.rfind("usb", 0) != 0)
                continue;
            const bool bHighSpeed = ReadWord(entry.path() / "speed") == "480";
            (bHighSpeed ? controller.strHighSpeedBus : controller.strSuperSpeedBus) =
                strName.substr(3);
        }
        m_controllers.push_back(controller);
    }
    const std::string strPorts = ReadWord(ControllerPath(0) / "nports");
    if (!m_controllers.empty() && !strPorts.empty())
        m_nPorts = static_cast<unsigned>(std::stoul(strPorts) / m_controllers.size() / 2);
}

VhciPort CVhci::Port(unsigned nController, unsigned nPort, bool bSuperSpeed) const
{
    if (m_nPorts == 0)
        throw CToolError(ExitCode::General, "this kernel has no virtual USB controller",
                         "Load its module: modprobe vhci-hcd");
    if (nController >= m_controllers.size() || nPort == 0 || nPort > m_nPorts)
        throw CToolError(ExitCode::Usage,
                         "port " + std::to_string(nPort) + " of controller " +
                             std::to_string(nController + 1) + ": this kernel has " +
                             std::to_string(m_controllers.size()) + " controllers of " +
                             std::to_string(m_nPorts) + " ports",
                         "Give the device another port in the bench file.");
    const Controller& controller = m_controllers[nController];
    const std::string& strBus =
        bSuperSpeed ? controller.strSuperSpeedBus : controller.strHighSpeedBus;
    const unsigned nRow = nController * 2 + (bSuperSpeed ? 1 : 0);
    return {nRow * m_nPorts + nPort - 1, bSuperSpeed, strBus + "-" + std::to_string(nPort)};
}

COpenFile CVhci::Attach(const VhciPort& port) const
{
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        Refused("no socket");
    const COpenFile kernelEnd(ends[0]);
    COpenFile ownEnd(ends[1]);
    const COpenFile file(::open((ControllerPath(0) / "attach").c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.IsOpen())
        Refused("attach");
    const std::string strLine = std::to_string(port.nNumber) + " " +
                                std::to_string(kernelEnd.Get()) + " " +
                                std::to_string(port.nNumber + 1) + " " +
                                std::to_string(port.bSuperSpeed ? kSpeedSuper : kSpeedHigh);
    if (::write(file.Get(), strLine.data(), strLine.size()) >= 0)
        return ownEnd;
    if (errno != EBUSY)
        Refused("port " + std::to_string(port.nNumber));
    return COpenFile();
}

bool CVhci::HasDevice(const VhciPort& port)
{
    return fs::exists(fs::path(kUsbDevices) / port.strNode);
}
