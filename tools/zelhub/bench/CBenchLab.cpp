#include "tools/zelhub/bench/CBenchLab.h"

#include "platform/ErrorCodes.h"
#include "wire/DriverNames.h"

#include <algorithm>

namespace
{

/// Memory that swallows writes.
class CRom : public ISimPortSpace
{
public:
    explicit CRom(BenchBytes bytes) : m_bytes(std::move(bytes)) {}

    DWORD Read(ULONGLONG address, unsigned cb) override
    {
        DWORD dwValue = 0;
        for (unsigned i = 0; i < cb; ++i) {
            const size_t n = static_cast<size_t>(address - m_bytes.dwFrom) + i;
            const DWORD dwByte = n < m_bytes.bytes.size() ? m_bytes.bytes[n] : 0;
            dwValue |= dwByte << (8 * i);
        }
        return dwValue;
    }
    void Write(ULONGLONG, DWORD, unsigned) override {}

private:
    BenchBytes m_bytes;
};

} // namespace

CBenchLab::CBenchLab(CSimMachine& machine, const BenchLab& lab) : m_machine(machine)
{
    machine.PortDriver().KeepLog(false);
    SetPortDriver(lab.ePortDriver);
    for (const BenchBytes& run : lab.memory)
        BuildMemory(run);
    if (lab.smbus)
        BuildSmbus(*lab.smbus);
    if (lab.ec)
        BuildEc(*lab.ec);
}

CBenchLab::~CBenchLab() = default;

void CBenchLab::BuildMemory(const BenchBytes& run)
{
    if (run.bReadOnly) {
        m_roms.push_back(std::make_unique<CRom>(run));
        m_machine.Memory().Claim(run.dwFrom, run.bytes.size(), m_roms.back().get());
        return;
    }
    for (size_t i = 0; i < run.bytes.size(); ++i)
        m_machine.Memory().PutByte(ULONGLONG{run.dwFrom} + i, run.bytes[i]);
}

void CBenchLab::BuildSmbus(const BenchSmbus& smbus)
{
    m_pSmbus = std::make_unique<CSimSmbusController>(m_machine.Time(), smbus.dwBase);
    CSimSmbusController& controller = *m_pSmbus;
    controller.SetPresent(smbus.bPresent);
    controller.CorruptBufferReads(smbus.nCorruptReads);
    SetSmbusFaults(smbus.faults);
    CSimAddressSpace& ports = m_machine.Ports();
    ports.Claim(controller.Base(), CSimSmbusController::kRegisters, &controller);
    ports.Claim(CSimSmbusController::kPciAddressPort, CSimSmbusController::kPciPorts, &controller);
    for (const BenchSmbusDevice& device : smbus.devices) {
        auto pModel = std::make_unique<CSimSmbusMemory>();
        pModel->SetNeedsPec(device.bNeedsPec);
        for (const BenchBytes& block : device.blocks)
            pModel->Blocks()[static_cast<BYTE>(block.dwFrom)] = block.bytes;
        controller.Attach(device.byAddress, pModel.get());
        m_devices[device.strId] = std::move(pModel);
    }
}

void CBenchLab::BuildEc(const BenchEc& ec)
{
    m_pEc = std::make_unique<CSimEc>(m_machine.Time(), ec.wCommandPort, ec.wDataPort);
    m_pEc->SetPace(ec.usTake, ec.usAnswer);
    m_pEc->SetBurst(ec.bBurst);
    if (ec.bHangs)
        m_pEc->Hang();
    for (const BenchBytes& run : ec.registers)
        for (size_t i = 0; i < run.bytes.size(); ++i) {
            m_pEc->Registers()[run.dwFrom + i] = run.bytes[i];
            if (run.bReadOnly)
                m_pEc->SetReadOnly(static_cast<BYTE>(run.dwFrom + i));
        }
    m_machine.Ports().Claim(ec.wCommandPort, 1, m_pEc.get());
    m_machine.Ports().Claim(ec.wDataPort, 1, m_pEc.get());
}

void CBenchLab::SetPortDriver(BenchPortDriver eState)
{
    SimService service;
    service.strName = VOPORT_SERVICE_NAME;
    switch (eState) {
    case BenchPortDriver::Loads:
        break;
    case BenchPortDriver::Running:
        service.dwState = kStateRunning;
        m_machine.Services().Put(service);
        break;
    case BenchPortDriver::Missing:
        m_machine.Traits().portDriver.clear();
        break;
    case BenchPortDriver::Denied:
        service.dwStartError = kErrAccessDenied;
        m_machine.Services().SetTemplate(service);
        break;
    }
}

void CBenchLab::SetSmbusFaults(const std::vector<BenchSmbusFault>& faults)
{
    m_pSmbus->ForgetFaults();
    m_faults = faults;
    for (BenchSmbusFault& fault : m_faults) {
        fault.nTransaction += m_pSmbus->Transactions();
        m_pSmbus->FailTransaction(fault.nTransaction, fault.eKind);
    }
}

std::vector<BenchSmbusFault> CBenchLab::PendingSmbusFaults() const
{
    std::vector<BenchSmbusFault> pending;
    const unsigned nSoFar = m_pSmbus ? m_pSmbus->Transactions() : 0;
    for (const BenchSmbusFault& fault : m_faults)
        if (fault.nTransaction >= nSoFar)
            pending.push_back({fault.nTransaction - nSoFar, fault.eKind});
    return pending;
}
