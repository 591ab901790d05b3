#include "tools/zelhub-bench-usbip/CServer.h"

#include "tools/zelhub/bench/CBenchFile.h"
#include "tools/zelhub/bench/CBenchState.h"
#include "tools/zelhub/output/Failure.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <poll.h>
#include <sys/signalfd.h>

namespace
{

constexpr CSimClock::Micros kLongestPauseMicros = 1'000'000;
constexpr long kNanosPerMicro = 1000;

/// Ending signals become readable instead of ending the process.
COpenFile CatchEnd()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return COpenFile(::signalfd(-1, &signals, SFD_CLOEXEC));
}

std::string Described(CBenchMachine& bench, const std::string& strId)
{
    char text[160];
    const auto line = [&](bool bOnBus, bool bFlash, USHORT wVersion, const CSimMisuse& misuse) {
        std::snprintf(text, sizeof text, "%s: %s, runs %s, version 0x%04x, misuse %zu\n",
                      strId.c_str(), bOnBus ? "on the bus" : "away", bFlash ? "flash" : "ROM",
                      wVersion, static_cast<size_t>(misuse.Count()));
        return std::string(text);
    };
    if (CSimPd* const pPd = bench.Pd(strId))
        return line(pPd->IsOnBus(), pPd->Banks().RunsFlash(), pPd->Version(), pPd->Misuse());
    CSimHub* const pHub = bench.Hub(strId);
    return pHub == nullptr
               ? std::string()
               : line(pHub->IsOnBus(), pHub->RunsFlash(), pHub->Version(), pHub->Misuse());
}

} // namespace

struct CServer::Sources
{
    explicit Sources(COpenFile endOfProcess) : end(std::move(endOfProcess)) {}

    void Add(int nDescriptor, CServedDevice* pDevice)
    {
        polled.push_back({nDescriptor, POLLIN, 0});
        devices.push_back(pDevice);
    }

    COpenFile end;
    std::vector<pollfd> polled;
    std::vector<CServedDevice*> devices; ///< in step with polled; null: no device
};

CServer::CServer(const ServerOptions& options) : m_options(options)
{
    const BenchDescription bench = CBenchFile::Load(m_options.strBench);
    if (!m_options.strLog.empty())
        m_pLog = std::make_unique<std::ofstream>(m_options.strLog, std::ios::app);
    m_machines = CServedMachine::Divide(bench, m_vhci, m_pLog.get());
    for (const auto& pMachine : m_machines)
        for (const auto& pDevice : pMachine->Devices())
            pDevice->CheckPortIsFree();
    if (!m_options.strStateDir.empty())
        for (const auto& pMachine : m_machines)
            CBenchState(StateFile(*pMachine)).Load(pMachine->Bench());
    if (!m_options.strControl.empty())
        m_pControl = std::make_unique<CControlSocket>(m_options.strControl);
}

size_t CServer::Devices() const
{
    size_t n = 0;
    for (const auto& pMachine : m_machines)
        n += pMachine->Devices().size();
    return n;
}

void CServer::Run()
{
    Sources sources(CatchEnd());
    m_start = std::chrono::steady_clock::now();
    for (const auto& pMachine : m_machines)
        pMachine->Bench().StartEvents();
    while (!m_bEnd) {
        RunMachines();
        Wait(sources);
    }
    if (!m_options.strStateDir.empty())
        for (const auto& pMachine : m_machines)
            CBenchState(StateFile(*pMachine)).Save(pMachine->Bench());
}

CSimClock::Micros CServer::Now() const
{
    const auto passed = std::chrono::steady_clock::now() - m_start;
    return static_cast<CSimClock::Micros>(
        std::chrono::duration_cast<std::chrono::microseconds>(passed).count());
}

void CServer::RunMachines()
{
    for (const auto& pMachine : m_machines)
        pMachine->Run(Now());
}

/// Until the next thing that happens without the kernel.
timespec CServer::Pause() const
{
    const CSimClock::Micros now = Now();
    CSimClock::Micros until = now + kLongestPauseMicros;
    for (const auto& pMachine : m_machines)
        until = std::min(until, pMachine->NextDue().value_or(until));
    const CSimClock::Micros us = until > now ? until - now : 0;
    return {static_cast<time_t>(us / kLongestPauseMicros),
            static_cast<long>(us % kLongestPauseMicros) * kNanosPerMicro};
}

void CServer::Wait(Sources& sources)
{
    sources.polled.clear();
    sources.devices.clear();
    sources.Add(sources.end.Get(), nullptr);
    sources.Add(m_pControl ? m_pControl->Socket() : -1, nullptr);
    for (const auto& pMachine : m_machines)
        for (const auto& pDevice : pMachine->Devices())
            if (pDevice->Socket() >= 0)
                sources.Add(pDevice->Socket(), pDevice.get());
    const timespec pause = Pause();
    if (::ppoll(sources.polled.data(), sources.polled.size(), &pause, nullptr) <= 0)
        return;
    m_bEnd = sources.polled[0].revents != 0;
    for (size_t i = 2; i < sources.polled.size(); ++i)
        if (sources.polled[i].revents != 0)
            sources.devices[i]->Receive();
    if (sources.polled[1].revents != 0)
        m_pControl->Serve([this](const std::string& strLine) { return Command(strLine); });
}

std::string CServer::Command(const std::string& strLine)
{
    const size_t nBlank = strLine.find(' ');
    const std::string strWord = strLine.substr(0, nBlank);
    const std::string strRest = nBlank == std::string::npos ? "" : strLine.substr(nBlank + 1);
    try {
        if (strWord == "check")
            return Check() + "ok\n";
        Act(strWord, strRest);
        return "ok\n";
    } catch (const std::exception& error) {
        return std::string("error: ") + error.what() + "\n";
    }
}

void CServer::Act(const std::string& strWord, const std::string& strRest)
{
    if (strWord == "plug" || strWord == "unplug")
        MachineOf(strRest).Bench().Plug(strRest, strWord == "plug");
    else if (strWord == "fault")
        AddFault(strRest);
    else if (strWord == "quit")
        m_bEnd = true;
    else
        throw CToolError(ExitCode::Usage,
                         "\"" + strWord + "\" is none of plug, unplug, fault, " + "check, quit");
}

void CServer::AddFault(const std::string& strJson)
{
    const JsonSource source{"fault", strJson};
    const nlohmann::json document = ParseJson(source);
    const BenchFault fault = CBenchFile::ParseFault(CJsonObject(source, document, ""));
    MachineOf(fault.strTarget).Bench().AddFault(fault);
}

CServedMachine& CServer::MachineOf(const std::string& strId)
{
    for (const auto& pMachine : m_machines)
        if (pMachine->Id() == strId || pMachine->Bench().Pd(strId) != nullptr)
            return *pMachine;
    throw CToolError(ExitCode::Usage, "the bench has nothing named \"" + strId + "\"");
}

std::string CServer::Check()
{
    std::string strAll;
    for (const auto& pMachine : m_machines) {
        strAll += Described(pMachine->Bench(), pMachine->Id());
        for (const std::string& strPd : pMachine->Bench().PdIds())
            strAll += Described(pMachine->Bench(), strPd);
    }
    return strAll;
}

std::string CServer::StateFile(const CServedMachine& machine) const
{
    return m_options.strStateDir + "/" + machine.Id() + ".state";
}
