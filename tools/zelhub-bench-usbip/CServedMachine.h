#pragma once

#include "tools/zelhub-bench-usbip/CServedDevice.h"
#include "tools/zelhub/bench/CBenchMachine.h"

#include <memory>
#include <vector>

/// One hub or device of a bench file with all that belongs to it (SuperSpeed half, PD
/// controllers, faults, events), as a machine with a clock of its own: what takes one hub long
/// holds up no other.
class CServedMachine
{
public:
    /// Takes a bench file apart. Throws CToolError (usage) for what cannot be served.
    static std::vector<std::unique_ptr<CServedMachine>>
    Divide(const BenchDescription& bench, const CVhci& vhci, std::ostream* pLog);

    CBenchMachine& Bench() { return m_bench; }
    const std::string& Id() const { return m_strId; }
    std::vector<std::unique_ptr<CServedDevice>>& Devices() { return m_devices; }

    /// Lets the machine's time pass up to now and does what is due.
    void Run(CSimClock::Micros now);

    /// When Run has something to do again; nothing: when the kernel asks for something.
    std::optional<CSimClock::Micros> NextDue();

private:
    CServedMachine(std::string strId, BenchDescription part);

    template<class T>
    static std::unique_ptr<CServedMachine> Of(const BenchDescription& bench, const T& thing,
                                              std::vector<T> BenchDescription::*pList);
    void Serve(CServedDevice::Settings settings, const CVhci& vhci, std::ostream* pLog);

    std::string m_strId;
    CBenchMachine m_bench;
    std::vector<std::unique_ptr<CServedDevice>> m_devices;
};
