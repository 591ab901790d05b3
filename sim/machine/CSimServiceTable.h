#pragma once

#include "platform/IServiceManager.h"
#include "sim/machine/ISimDriver.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

/// One installed service.
struct SimService
{
    WString strName;
    WString strDisplayName;
    WString strImagePath;
    DWORD dwType = kServiceKernelDriver;
    DWORD dwStart = kServiceDemandStart;
    DWORD dwErrorControl = kServiceErrorIgnore;
    DWORD dwState = kStateStopped;
    bool bMarked = false;      ///< deleted; goes with its last handle once it is stopped
    bool bStuckStop = false;   ///< a stop is accepted, but the service stays in stop-pending
    DWORD dwOpenError = 0;     ///< not 0: opening it fails (5: access denied)
    DWORD dwStartError = 0;    ///< not 0: starting it fails
    DWORD dwStopError = 0;     ///< not 0: stopping it fails
    DWORD dwDeleteError = 0;   ///< not 0: deleting it fails
    unsigned nHandles = 0;     ///< open service handles
    unsigned nDeviceFiles = 0; ///< open handles on its control device
};

/// The installed services and the drivers that they load; shared by all simulated processes. A
/// driver's control device "\\.\<name>" exists while its service runs. A stop with open control
/// handles stays pending until the last is closed.
class CSimServiceTable
{
public:
    CSimServiceTable();
    ~CSimServiceTable();

    /// Without a service manager, opening it fails with 120.
    void SetPresent(bool bPresent) { m_bPresent = bPresent; }
    bool IsPresent() const { return m_bPresent; }

    /// Opening the manager fails with a code whoever asks (0: not).
    void SetManagerError(DWORD dwError) { m_dwManagerError = dwError; }
    DWORD ManagerError() const { return m_dwManagerError; }

    /// Settings for a service when it is created (also again): error codes and bStuckStop of the
    /// given record are taken over.
    void SetTemplate(SimService service);

    SimService& Put(SimService service);      ///< installs or replaces a service
    SimService* Find(const WString& strName); ///< case ignored; null: not there
    bool IsRunning(const WString& strName);
    bool HasRunningImage(const WString& strPath); ///< a running service's file, case ignored

    /// Names the driver that a service loads. Not owned.
    void SetDriver(const WString& strService, ISimDriver* pDriver);

    /// The driver behind a control device's name, null when it is not running.
    ISimDriver* RunningDriver(const WString& strService);

    /// Every operation on services so far: "create ZelUpx", "start ZelUpx -> 5", ...
    const std::vector<std::string>& Log() const { return m_log; }

    // For the service manager and the device files.
    DWORD Create(const SERVICE_RECIPE& recipe); ///< 0 or an error
    DWORD Start(SimService& service, bool bImageExists);
    DWORD Stop(SimService& service);
    DWORD Delete(SimService& service);
    void HandleOpened(const WString& strName);
    void HandleClosed(const WString& strName);
    void DeviceFileOpened(const WString& strName);
    void DeviceFileClosed(const WString& strName);

private:
    void Settle(const WString& strName);
    DWORD Note(const char* pszWhat, const WString& strName, DWORD dwError);

    bool m_bPresent = true;
    DWORD m_dwManagerError = 0;
    std::map<WString, SimService> m_services; // by folded name
    std::map<WString, SimService> m_templates;
    std::map<WString, ISimDriver*> m_drivers;
    std::vector<std::string> m_log;
};
