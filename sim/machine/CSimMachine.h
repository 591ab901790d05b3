#pragma once

#include "platform/Platform.h"
#include "sim/machine/CSimClockService.h"
#include "sim/machine/CSimDeviceFile.h"
#include "sim/machine/CSimDeviceSets.h"
#include "sim/machine/CSimEventPipe.h"
#include "sim/machine/CSimFaults.h"
#include "sim/machine/CSimFileSystem.h"
#include "sim/machine/CSimHandles.h"
#include "sim/machine/CSimHid.h"
#include "sim/machine/CSimHostFiles.h"
#include "sim/machine/CSimPowerSwitch.h"
#include "sim/machine/CSimProcess.h"
#include "sim/machine/CSimServiceManager.h"
#include "sim/machine/CSimSystem.h"
#include "sim/machine/CSimWinUsb.h"

#include <memory>

/// One process on a simulated computer: every service of the seam. What processes share (device
/// tree, services, disk, drivers, time) is the CSimSystem behind it; a second process is a
/// second machine on the same system:
///
///     CSimMachine first;                     // a computer with a host controller and a root hub
///     CSimMachine second(first.System());    // another process on it
///     SetCurrentPlatform(&first);
///
/// Destruction ends the process: all its handles are closed.
class CSimMachine : public Platform
{
public:
    /// A process on a new computer with one host controller and its root hub, elevated, with a
    /// service manager, no driver installed.
    CSimMachine();

    /// A process on a computer that exists; with a new CSimSystem: on one without any node.
    explicit CSimMachine(std::shared_ptr<CSimSystem> pSystem);
    ~CSimMachine() override;
    CSimMachine(const CSimMachine&) = delete;
    CSimMachine& operator=(const CSimMachine&) = delete;

    // The computer.
    const std::shared_ptr<CSimSystem>& System() const { return m_pSystem; }
    CSimClock& Time() { return m_pSystem->clock; }
    CSimPolls& Polls() { return m_pSystem->polls; }
    CSimDeviceTree& Tree() { return m_pSystem->tree; }
    CSimServiceTable& Services() { return m_pSystem->services; }
    CSimVolume& Volume() { return m_pSystem->volume; }
    CSimProxyDriver& Driver() { return m_pSystem->proxyDriver; }
    CSimPortDriver& PortDriver() { return m_pSystem->portDriver; }
    CSimAddressSpace& Ports() { return m_pSystem->ports; }
    CSimAddressSpace& Memory() { return m_pSystem->memory; }
    CSimEvents& Events() { return m_pSystem->events; }
    CSimCompanion& Companion() { return m_pSystem->companion; }

    /// The first controller and root hub of the default computer.
    CSimNode& HostController();
    CSimNode& RootHub();

    /// A short cut: the proxy driver's service is there and runs, as after an earlier start.
    void InstallRunningDriver();

    // The process.
    CSimFaults& Faults() { return m_faults; }
    CSimHandles& Handles() { return m_handles; }
    SimProcessTraits& Traits() { return m_process.Traits(); }

    // Platform
    CSimDeviceSets& DeviceTree() override { return m_deviceSets; }
    CSimDeviceFile& DeviceFile() override { return m_deviceFile; }
    CSimServiceManager& ServiceManager() override { return m_serviceManager; }
    CSimFileSystem& FileSystem() override { return m_fileSystem; }
    CSimHostFiles& HostFiles() override { return m_hostFiles; }
    CSimPowerSwitch& PowerSwitch() override { return m_powerSwitch; }
    CSimEventPipe& EventPipe() override { return m_eventPipe; }
    CSimWinUsb& WinUsb() override { return m_winUsb; }
    CSimHid& Hid() override { return m_hid; }
    CSimProcess& Process() override { return m_process; }
    CSimClockService& Clock() override { return m_clock; }

    // For the services.

    /// Counts a call. @return false when it has to fail; the last error is then set
    bool Enter(const char* pszOperation);

    /// Counts a call. @return the code that it has to fail with, if any
    std::optional<DWORD> Fault(const char* pszOperation) { return m_faults.Count(pszOperation); }

    bool Fail(DWORD dwError);          ///< sets the last error. @return false
    HANDLE FailInvalid(DWORD dwError); ///< sets the last error. @return InvalidHandle()
    HANDLE FailNull(DWORD dwError);    ///< sets the last error. @return null

private:
    std::shared_ptr<CSimSystem> m_pSystem;
    CSimFaults m_faults;
    CSimHandles m_handles;
    CSimDeviceSets m_deviceSets{*this};
    CSimDeviceFile m_deviceFile{*this};
    CSimServiceManager m_serviceManager{*this};
    CSimFileSystem m_fileSystem{*this};
    CSimHostFiles m_hostFiles{*this};
    CSimPowerSwitch m_powerSwitch{*this};
    CSimEventPipe m_eventPipe{*this};
    CSimWinUsb m_winUsb{*this};
    CSimHid m_hid{*this};
    CSimProcess m_process{*this};
    CSimClockService m_clock{*this};
};
