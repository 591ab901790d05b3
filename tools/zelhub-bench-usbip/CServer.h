#pragma once

#include "tools/zelhub-bench-usbip/CControlSocket.h"
#include "tools/zelhub-bench-usbip/CServedMachine.h"

#include <chrono>
#include <memory>

struct ServerOptions
{
    std::string strBench;
    std::string strControl;  ///< path of the control socket; empty: none
    std::string strStateDir; ///< a state file for each machine there; empty: nowhere
    std::string strLog;      ///< every control request is written there; empty: nowhere
};

/// Serves a bench file until it is told to end, in real time.
class CServer
{
public:
    /// Builds the machines; nothing is attached yet. Throws CToolError.
    explicit CServer(const ServerOptions& options);

    /// Attaches and serves until SIGINT, SIGTERM or "quit". Devices then leave the bus.
    void Run();

    size_t Devices() const;

    /// Carries out a control line. @return the answer: lines, the last one "ok" or "error: ..."
    std::string Command(const std::string& strLine);

private:
    struct Sources; // of poll

    CSimClock::Micros Now() const;
    void RunMachines();
    timespec Pause() const;
    void Wait(Sources& sources);
    CServedMachine& MachineOf(const std::string& strId);
    void Act(const std::string& strWord, const std::string& strRest);
    void AddFault(const std::string& strJson);
    std::string Check();
    std::string StateFile(const CServedMachine& machine) const;

    ServerOptions m_options;
    CVhci m_vhci;
    std::unique_ptr<std::ostream> m_pLog;
    std::vector<std::unique_ptr<CServedMachine>> m_machines;
    std::unique_ptr<CControlSocket> m_pControl;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    bool m_bEnd = false;
};
