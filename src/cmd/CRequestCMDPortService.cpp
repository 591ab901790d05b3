// The service of the port-I/O driver.
#include "cmd/CRequestCMD.h"
#include "cmd/ReportError.h"
#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IServiceManager.h"
#include "platform/Platform.h"
#include "transport/CScopedHandle.h"

namespace
{
CScopedHandle OpenService(HANDLE hManager, const WCHAR* pszName)
{
    return {CurrentPlatform().ServiceManager().OpenNamed(hManager, pszName, kServiceAllAccess),
            CloseService};
}
} // namespace

int CRequestCMD::ManageDriver(const WCHAR* pszService, const WCHAR* pszDriverPath, USHORT wFunction)
{
    if (pszService == nullptr || pszDriverPath == nullptr) {
        CMsg::GetObj()->ShowMsg(
            MSG_FAIL, "CRequestCMD::ManageDriver",
            "CSmBus::ManageDriver(): Invalid Driver or Service provided to ManageDriver() \n");
        return 0;
    }
    const CScopedHandle manager(CurrentPlatform().ServiceManager().OpenManager(kManagerAllAccess),
                                CloseService);
    if (!manager.IsOpen()) {
        ReportError("CRequestCMD::ManageDriver",
                    "CSmBus::ManageDriver(): OpenSCManager() FAILED! ==> %s\n");
        return 0;
    }
    if (wFunction == kInstallAndStart)
        return InstallDriver(manager.Get(), pszService, pszDriverPath) != 0 &&
                       StartDriver(manager.Get(), pszService) != 0
                   ? 1
                   : 0;
    if (wFunction == kStopAndRemove) {
        StopDriver(manager.Get(), pszService);
        RemoveDriver(manager.Get(), pszService);
        return 1; // Deliberate: whatever came of both
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CRequestCMD::ManageDriver",
                            "CSmBus::ManageDriver(): Unknown function type. \n");
    return 0;
}

int CRequestCMD::InstallDriver(HANDLE hManager, const WCHAR* pszName, const WCHAR* pszPath)
{
    const SERVICE_RECIPE recipe = {pszName,
                                   pszName,
                                   kServiceAllAccess,
                                   kServiceKernelDriver,
                                   kServiceDemandStart,
                                   kServiceErrorNormal,
                                   pszPath};
    const CScopedHandle service(CurrentPlatform().ServiceManager().Create(hManager, recipe),
                                CloseService);
    if (service.IsOpen())
        return 1;
    const DWORD dwError = SystemError();
    if (dwError == kErrServiceExists)
        return 1;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CRequestCMD::InstallDriver",
                            "CSmBus::InstallDriver(): CreateService() FAILED! ==> %d\n", dwError);
    return 0;
}

int CRequestCMD::StartDriver(HANDLE hManager, const WCHAR* pszName)
{
    const CScopedHandle service = OpenService(hManager, pszName);
    if (!service.IsOpen()) {
        ReportError("CRequestCMD::StartDriver",
                    "CSmBus::StartDriver(): OpenService() FAILED! ==> %s\n");
        return 0;
    }
    if (CurrentPlatform().ServiceManager().Start(service.Get()))
        return 1;
    const DWORD dwError = SystemError();
    if (dwError == kErrServiceAlreadyRunning)
        return 1;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CRequestCMD::StartDriver",
                            "CSmBus::StartDriver(): StartService() FAILED! ==> %d\n", dwError);
    return 0;
}

int CRequestCMD::StopDriver(HANDLE hManager, const WCHAR* pszName)
{
    const CScopedHandle service = OpenService(hManager, pszName);
    if (!service.IsOpen()) {
        ReportError("CRequestCMD::StopDriver",
                    "CSmBus::StopDriver(): OpenService() FAILED! ==> %s\n");
        return 0;
    }
    SERVICE_STATE state = {};
    if (CurrentPlatform().ServiceManager().Control(service.Get(), kControlStop, &state))
        return 1;
    ReportError("CRequestCMD::StopDriver",
                "CSmBus::StopDriver(): ControlService()  FAILED! ==> %s\n");
    return 0;
}

int CRequestCMD::RemoveDriver(HANDLE hManager, const WCHAR* pszName)
{
    const CScopedHandle service = OpenService(hManager, pszName);
    if (!service.IsOpen()) {
        ReportError("CRequestCMD::RemoveDriver",
                    "CSmBus::RemoveDriver(): OpenService() FAILED! ==> %s\n");
        return 0;
    }
    if (CurrentPlatform().ServiceManager().Remove(service.Get()))
        return 1;
    ReportError("CRequestCMD::RemoveDriver", "RemoveDriver(): DeleteService() FAILED! ==> %s\n");
    return 0;
}
