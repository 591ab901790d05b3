#pragma once

#include "platform/Types.h"

/// What a service reports (layout of SERVICE_STATUS).
struct SERVICE_STATE
{
    DWORD dwServiceType;
    DWORD dwCurrentState;
    DWORD dwControlsAccepted;
    DWORD dwWin32ExitCode;
    DWORD dwServiceSpecificExitCode;
    DWORD dwCheckPoint;
    DWORD dwWaitHint;
};
static_assert(sizeof(SERVICE_STATE) == 28);

constexpr DWORD kManagerAllAccess = 0xF003F;
constexpr DWORD kServiceAllAccess = 0xF01FF;
constexpr DWORD kServiceStart = 0x0010;
constexpr DWORD kServiceStop = 0x0020;
constexpr DWORD kServiceKernelDriver = 1;
constexpr DWORD kServiceDemandStart = 3;
constexpr DWORD kServiceErrorIgnore = 0;
constexpr DWORD kServiceErrorNormal = 1;
constexpr DWORD kControlStop = 1;
constexpr DWORD kStateStopped = 1;
constexpr DWORD kStateStopPending = 3;
constexpr DWORD kStateRunning = 4;

/// What a new service is made of. Texts are borrowed for the call.
struct SERVICE_RECIPE
{
    const WCHAR* pszName;
    const WCHAR* pszDisplayName;
    DWORD dwAccess;
    DWORD dwType;
    DWORD dwStart;
    DWORD dwErrorControl;
    const WCHAR* pszImagePath;
};

/// The service control manager. Failures set the thread's last error, successes leave it alone.
class IServiceManager
{
public:
    virtual ~IServiceManager() = default;

    /// @return a manager handle for Close, or null
    virtual HANDLE OpenManager(DWORD dwAccess) = 0;

    /// @return a service handle for Close, or null (1060: there is no such service)
    virtual HANDLE OpenNamed(HANDLE hManager, const WCHAR* pszName, DWORD dwAccess) = 0;

    /// Makes a service; an existing one fails with 1073. @return a handle for Close, or null
    virtual HANDLE Create(HANDLE hManager, const SERVICE_RECIPE& recipe) = 0;

    /// The operations below return true on success.
    virtual bool Query(HANDLE hService, SERVICE_STATE* pState) = 0;
    virtual bool Control(HANDLE hService, DWORD dwControl, SERVICE_STATE* pState) = 0;
    virtual bool Start(HANDLE hService) = 0;
    virtual bool Remove(HANDLE hService) = 0; ///< marks the service for deletion
    virtual bool Close(HANDLE h) = 0;         ///< closes a manager or service handle
};
