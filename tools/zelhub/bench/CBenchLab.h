#pragma once

#include "sim/machine/CSimMachine.h"
#include "tools/zelhub/bench/BenchLab.h"

#include <map>
#include <memory>

/// The models of a bench's own hardware: SMBus controller with its devices, embedded
/// controller, memory, and the port driver's service. The machine must outlive them.
class CBenchLab
{
public:
    CBenchLab(CSimMachine& machine, const BenchLab& lab);
    CBenchLab(const CBenchLab&) = delete;
    CBenchLab& operator=(const CBenchLab&) = delete;
    ~CBenchLab();

    CSimSmbusController* Smbus() { return m_pSmbus.get(); } ///< null: none
    CSimEc* Ec() { return m_pEc.get(); }                    ///< null: none
    CSimAddressSpace& Memory() { return m_machine.Memory(); }

    /// The devices on the SMBus by their ids.
    const std::map<std::string, std::unique_ptr<CSimSmbusMemory>>& SmbusDevices() const
    {
        return m_devices;
    }

    /// Replaces the SMBus controller's faults; they are counted from its next transaction.
    void SetSmbusFaults(const std::vector<BenchSmbusFault>& faults);

    /// The faults that have not happened yet, counted from the next transaction.
    std::vector<BenchSmbusFault> PendingSmbusFaults() const;

private:
    void BuildMemory(const BenchBytes& run);
    void BuildSmbus(const BenchSmbus& smbus);
    void BuildEc(const BenchEc& ec);
    void SetPortDriver(BenchPortDriver eState);

    CSimMachine& m_machine;
    std::unique_ptr<CSimSmbusController> m_pSmbus;
    std::map<std::string, std::unique_ptr<CSimSmbusMemory>> m_devices;
    std::vector<BenchSmbusFault> m_faults; ///< by number of transaction
    std::unique_ptr<CSimEc> m_pEc;
    std::vector<std::unique_ptr<ISimPortSpace>> m_roms;
};
