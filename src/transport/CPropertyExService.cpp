// The proxy driver's service.
#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/FileConstants.h"
#include "platform/IServiceManager.h"
#include "platform/Platform.h"
#include "transport/CPropertyEx.h"
#include "transport/CScopedHandle.h"
#include "wire/DriverNames.h"

namespace
{
constexpr DWORD kNewServiceAccess = kAccessDelete | kServiceStop | kServiceStart; // 0x10030

IServiceManager& Services()
{
    return CurrentPlatform().ServiceManager();
}

/// What is to be done with the service, in this order.
struct SERVICE_PLAN
{
    bool bStop = false;
    bool bRemove = false;
    bool bCreate = false;
    bool bStart = false;
};

SERVICE_PLAN PlanExisting(bool bRunning, bool bUpdated, bool bFlagExists)
{
    SERVICE_PLAN plan;
    if (!bUpdated) {
        plan.bStart = !bRunning;
    } else if (!bRunning || !bFlagExists) {
        plan.bStop = bRunning;
        plan.bRemove = plan.bCreate = plan.bStart = true;
    }
    // Else another process uses the running driver: it stays as it is.
    return plan;
}

/// @return false when stopping or removing failed
bool StopAndRemove(const SERVICE_PLAN& plan, HANDLE hService)
{
    SERVICE_STATE state = {};
    if (plan.bStop && !Services().Control(hService, kControlStop, &state))
        return false;
    return !plan.bRemove || Services().Remove(hService);
}

/// @return a service handle, or null
HANDLE CreateDriverService(HANDLE hManager, const WCHAR* pszDriverPath)
{
    SERVICE_RECIPE recipe = {};
    recipe.pszName = ZELUPX_SERVICE_NAME;
    recipe.pszDisplayName = WTEXT("ZelUpx Driver");
    recipe.dwAccess = kNewServiceAccess;
    recipe.dwType = kServiceKernelDriver;
    recipe.dwStart = kServiceDemandStart;
    recipe.dwErrorControl = kServiceErrorIgnore;
    recipe.pszImagePath = pszDriverPath;
    return Services().Create(hManager, recipe);
}
} // namespace

int CPropertyEx::InstallKyProxy(const WCHAR* pszDriverPath, int nUpdated, int nFlagExists)
{
    const CScopedHandle manager(Services().OpenManager(kManagerAllAccess), CloseService);
    if (!manager.IsOpen())
        return 0;

    CScopedHandle service(
        Services().OpenNamed(manager.Get(), ZELUPX_SERVICE_NAME, kServiceAllAccess), CloseService);
    SERVICE_PLAN plan;
    if (service.IsOpen()) {
        SERVICE_STATE state = {};
        Services().Query(service.Get(), &state);
        plan = PlanExisting(state.dwCurrentState != kStateStopped, nUpdated != 0, nFlagExists != 0);
    } else if (SystemError() == kErrServiceDoesNotExist) {
        plan.bCreate = plan.bStart = true;
    } else {
        // Taken as running, though it could not be opened.
        plan = PlanExisting(true, nUpdated != 0, nFlagExists != 0);
        return plan.bRemove ? 0 : 1; // stopping needs the handle
    }

    if (!StopAndRemove(plan, service.Get()))
        return 0;
    if (plan.bCreate) {
        // The old service is gone only when its last handle is.
        service.Reset();
        service.Reset(CreateDriverService(manager.Get(), pszDriverPath));
        if (!service.IsOpen())
            return 0;
    }
    if (!plan.bStart)
        return 1;
    return Services().Start(service.Get()) ? 1 : 0;
}

void CPropertyEx::UninstallKyProxy()
{
    const char* const pszMe = "CPropertyEx::UninstallKyProxy";
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_INFO, pszMe, "-> UninstallKyProxy\n");
    CScopedHandle manager(Services().OpenManager(kManagerAllAccess), CloseService);
    if (!manager.IsOpen()) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_INFO, pszMe, "OpenSCManager fail %d\n", dwError);
        return;
    }
    CScopedHandle service(
        Services().OpenNamed(manager.Get(), ZELUPX_SERVICE_NAME, kServiceAllAccess), CloseService);
    if (!service.IsOpen()) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_INFO, pszMe, "OpenService fail %d\n", dwError);
        return;
    }
    SERVICE_STATE state = {};
    if (!Services().Control(service.Get(), kControlStop, &state)) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_INFO, pszMe, "Fail to stop service %d\n", dwError);
        return;
    }
    if (!Services().Query(service.Get(), &state)) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_INFO, pszMe, "QueryServiceStatus failed %d\n", dwError);
        return;
    }
    if (state.dwCurrentState != kStateStopped) {
        pMsg->ShowMsg(MSG_INFO, pszMe,
                      "Warning: Service did not stop successfully, not delete it\n");
    } else if (!Services().Remove(service.Get())) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_INFO, pszMe, "Fail to delete service %d\n", dwError);
    }
    service.Reset();
    manager.Reset();
    pMsg->ShowMsg(MSG_INFO, pszMe, "<- UninstallKyProxy\n");
}
