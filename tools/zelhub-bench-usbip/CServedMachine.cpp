#include "tools/zelhub-bench-usbip/CServedMachine.h"

#include "tools/zelhub/output/Failure.h"

#include <algorithm>

namespace
{

/// Each controller has two nodes, itself and its root hub; behind them comes the thing.
constexpr size_t kNodesOfController = 2;
constexpr BYTE kClassBillboard = 0x11;
constexpr CSimClock::Micros kKernelPollMicros = 5'000;

/// Which controller a device hangs on. USB/IP knows root ports alone.
unsigned ControllerOf(const BenchDescription& bench, const BenchNode& node,
                      const std::string& strParent)
{
    const auto& all = bench.controllers;
    const auto it = std::find_if(all.begin(), all.end(), [&](const BenchController& controller) {
        return controller.strId == strParent;
    });
    if (it != all.end())
        return static_cast<unsigned>(it - all.begin());
    throw CToolError(ExitCode::Usage,
                     "bench file: \"" + node.strId + "\" (" + node.strWhere + ") hangs on \"" +
                         strParent +
                         "\": USB/IP has no hubs below hubs, only devices on the "
                         "kernel's virtual root ports",
                     "Give it a controller as its parent.");
}

bool BelongsTo(const BenchDescription& part, const std::string& strId)
{
    const auto named = [&](const auto& entry) { return entry.strId == strId; };
    return std::any_of(part.hubs.begin(), part.hubs.end(), named) ||
           std::any_of(part.pds.begin(), part.pds.end(), named) ||
           std::any_of(part.billboards.begin(), part.billboards.end(), named) ||
           std::any_of(part.foreignHubs.begin(), part.foreignHubs.end(), named) ||
           std::any_of(part.devices.begin(), part.devices.end(), named);
}

} // namespace

template<class T>
std::unique_ptr<CServedMachine> CServedMachine::Of(const BenchDescription& bench, const T& thing,
                                                   std::vector<T> BenchDescription::*pList)
{
    BenchDescription part = bench;
    part.hubs.clear();
    part.foreignHubs.clear();
    part.devices.clear();
    part.billboards.clear();
    (part.*pList).push_back(thing);
    const auto keep = [&](auto& list, const auto& idOf) {
        std::erase_if(list, [&](const auto& entry) { return !BelongsTo(part, idOf(entry)); });
    };
    // A PD controller is no name of its own until its hub has let it in.
    std::erase_if(part.pds, [&](const BenchPd& pd) { return pd.strHub != thing.strId; });
    keep(part.faults, [](const BenchFault& fault) { return fault.strTarget; });
    keep(part.events, [](const BenchEvent& event) { return event.strId; });
    return std::unique_ptr<CServedMachine>(new CServedMachine(thing.strId, std::move(part)));
}

CServedMachine::CServedMachine(std::string strId, BenchDescription part)
    : m_strId(std::move(strId)), m_bench(std::move(part))
{}

void CServedMachine::Serve(CServedDevice::Settings settings, const CVhci& vhci, std::ostream* pLog)
{
    CSimMachine& machine = m_bench.Machine();
    const size_t nBefore = kNodesOfController * m_bench.Description().controllers.size();
    CSimNode& node = *machine.Tree().Nodes().at(nBefore);
    m_devices.push_back(
        std::make_unique<CServedDevice>(std::move(settings), node, machine.Time(), vhci, pLog));
}

std::vector<std::unique_ptr<CServedMachine>>
CServedMachine::Divide(const BenchDescription& bench, const CVhci& vhci, std::ostream* pLog)
{
    std::vector<std::unique_ptr<CServedMachine>> machines;
    // What no kernel could serve is said before what this one lacks.
    const auto onControllers = [&](const auto& nodes) {
        for (const BenchNode& node : nodes)
            (void)ControllerOf(bench, node, node.strParent);
    };
    onControllers(bench.hubs);
    onControllers(bench.foreignHubs);
    onControllers(bench.billboards);
    onControllers(bench.devices);
    const auto portOf = [&](const BenchNode& node) {
        return vhci.Port(ControllerOf(bench, node, node.strParent), node.nPort, false);
    };
    for (const BenchHub& hub : bench.hubs) {
        const VhciPort port = portOf(hub);
        machines.push_back(Of(bench, hub, &BenchDescription::hubs));
        machines.back()->Serve({hub.strId, port}, vhci, pLog);
        if (!hub.bSuperSpeed)
            continue;
        const unsigned nController = ControllerOf(bench, hub, hub.strSuperParent);
        machines.back()->Serve({hub.strId + ".super", vhci.Port(nController, hub.nSuperPort, true),
                                UsbFaceKind::SuperHub},
                               vhci, pLog);
    }
    for (const BenchForeignHub& hub : bench.foreignHubs) {
        const VhciPort port = portOf(hub);
        machines.push_back(Of(bench, hub, &BenchDescription::foreignHubs));
        machines.back()->Serve({hub.strId, port}, vhci, pLog);
    }
    for (const BenchBillboard& billboard : bench.billboards) {
        const VhciPort port = portOf(billboard);
        machines.push_back(Of(bench, billboard, &BenchDescription::billboards));
        machines.back()->Serve({billboard.strId, port, UsbFaceKind::Device, kClassBillboard}, vhci,
                               pLog);
    }
    for (const BenchDevice& device : bench.devices) {
        const VhciPort port = portOf(device);
        machines.push_back(Of(bench, device, &BenchDescription::devices));
        machines.back()->Serve({device.strId, port, UsbFaceKind::Device, device.byClass}, vhci,
                               pLog);
    }
    return machines;
}

void CServedMachine::Run(CSimClock::Micros now)
{
    m_bench.Machine().Time().AdvanceTo(now);
    for (const std::unique_ptr<CServedDevice>& pDevice : m_devices)
        pDevice->Run(now);
}

std::optional<CSimClock::Micros> CServedMachine::NextDue()
{
    std::optional<CSimClock::Micros> next;
    const auto sooner = [&next](std::optional<CSimClock::Micros> due) {
        if (due && (!next || *due < *next))
            next = due;
    };
    CSimClock& clock = m_bench.Machine().Time();
    if (clock.AnythingScheduled())
        sooner(clock.NextEvent());
    for (const std::unique_ptr<CServedDevice>& pDevice : m_devices) {
        sooner(pDevice->NextDue());
        if (pDevice->Waits())
            sooner(clock.Now() + kKernelPollMicros);
    }
    return next;
}
