// Selective suspend: switched directly when elevated, else by the companion service.
#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IDeviceTree.h"
#include "platform/IEventPipe.h"
#include "platform/IProcess.h"
#include "platform/Platform.h"
#include "transport/CPropertyEx.h"
#include "transport/CScopedHandle.h"
#include "transport/CWmiSwitch.h"
#include "transport/InterfaceSearch.h"
#include "transport/PipeRequest.h"
#include "wire/DriverNames.h"

#include <optional>

namespace
{
constexpr DWORD kFirstElevatingMajor = 6;

/// Asks for the present hubs. @return false, with a message, when that fails
bool RequestHubSet(const char* pszFunction, CScopedHandle* pSet)
{
    pSet->Reset(CurrentPlatform().DeviceTree().GetClassDevs(&kGuidUsbHub, nullptr,
                                                            kSetPresent | kSetDeviceInterface));
    const DWORD dwError = SystemError();
    if ((pSet->IsOpen() && dwError == 0) || dwError == kErrNotAllAssigned)
        return true;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, pszFunction, "SetupDiGetClassDevs failed %d\n", dwError);
    return false;
}

/// The instance ID of a node that works, or nothing.
std::optional<WString> WorkingNodeId(DWORD devInst)
{
    IDeviceTree& tree = CurrentPlatform().DeviceTree();
    DWORD dwStatus = 0;
    DWORD dwProblem = 0;
    if (tree.GetNodeStatus(&dwStatus, &dwProblem, devInst) != kCrSuccess ||
        (dwStatus & kNodeHasProblem) != 0)
        return std::nullopt;
    WString strId = ReadInstanceId(devInst);
    if (strId.empty())
        return std::nullopt;
    return strId;
}
} // namespace

int CPropertyEx::KyHub_TurnOffHubSS(DWORD devInst)
{
    return TurnOffHubSS(devInst, nullptr);
}

int CPropertyEx::KyHub_TurnOffHubSS(DWORD devInst, DWORD& dwOldSSValueOut)
{
    return TurnOffHubSS(devInst, &dwOldSSValueOut);
}

int CPropertyEx::TurnOffHubSS(DWORD devInst, DWORD* pdwOldSSValue)
{
    const char* const pszMe = "CPropertyEx::KyHub_TurnOffHubSS";
    CMsg* const pMsg = CMsg::GetObj();
    CScopedHandle set(nullptr, CloseDeviceSet);
    if (!RequestHubSet(pszMe, &set))
        return 0;

    std::optional<WString> strId = WorkingNodeId(devInst);
    WCHAR* apszIds[1] = {nullptr};
    int nCount = 0;
    if (strId) {
        pMsg->ShowMsg(MSG_INFO, pszMe, "HUB index %d,  Device ID%ws\n", 0, strId->c_str());
        apszIds[nCount++] = strId->data();
    }
    const int nResult = pdwOldSSValue != nullptr ? Wmi_TurnoffSS(apszIds, nCount, *pdwOldSSValue)
                                                 : Wmi_TurnoffSS(apszIds, nCount);
    pMsg->ShowMsg(MSG_INFO, pszMe, "Turnoff Quorvex Hub SS Ret=%d.\n", nResult);
    return nResult;
}

int CPropertyEx::KyHub_TurnOnHubSS(DWORD devInst)
{
    const char* const pszMe = "CPropertyEx::KyHub_TurnOnHubSS";
    CMsg* const pMsg = CMsg::GetObj();
    CScopedHandle set(nullptr, CloseDeviceSet);
    if (!RequestHubSet(pszMe, &set))
        return 0;

    std::optional<WString> strId = WorkingNodeId(devInst);
    WCHAR* apszIds[1] = {nullptr};
    int nCount = 0;
    if (strId) {
        pMsg->ShowMsg_U(MSG_INFO, pszMe, WTEXT("HUB index %d,  Device ID%s\n"), 0, strId->c_str());
        apszIds[nCount++] = strId->data();
    }
    const int nResult = Wmi_TurnOnSS(apszIds, nCount);
    pMsg->ShowMsg(MSG_INFO, pszMe, "TurnOn Quorvex Hub SS Ret=%d.\n", nResult);
    return nResult;
}

int CPropertyEx::IsRunasAdmin()
{
    static bool s_bElevatingSystem = false;

    IProcess& process = CurrentPlatform().Process();
    DWORD dwMajor = 0;
    DWORD dwMinor = 0;
    if (process.SystemVersion(&dwMajor, &dwMinor))
        s_bElevatingSystem = dwMajor >= kFirstElevatingMajor;
    if (!s_bElevatingSystem)
        return 1; // before elevation existed, everybody had its rights

    const char* const pszMe = "CPropertyEx::IsRunasAdmin";
    CMsg* const pMsg = CMsg::GetObj();
    HANDLE hToken = nullptr;
    if (!process.OpenToken(kTokenQuery, &hToken))
        return 0;
    CScopedHandle token(hToken, CloseToken);
    int nResult = 0;
    DWORD dwElevated = 0;
    DWORD cb = 0;
    if (process.TokenElevation(hToken, &dwElevated, &cb)) {
        pMsg->ShowMsg(MSG_INFO, pszMe, "GetTokenInformation return TRUE\n");
        if (cb == sizeof(dwElevated)) {
            pMsg->ShowMsg(MSG_INFO, pszMe, "tokenEle.TokenIsElevated=%d\n", dwElevated);
            nResult = static_cast<int>(dwElevated);
        }
    }
    token.Reset();
    pMsg->ShowMsg(MSG_INFO, pszMe, "IsRunasAdmin return %d\n", nResult);
    return nResult;
}

int CPropertyEx::Wmi_TurnoffSS(WCHAR** ppszIds, int nCount)
{
    return TurnOffSS(ppszIds, nCount, nullptr);
}

int CPropertyEx::Wmi_TurnoffSS(WCHAR** ppszIds, int nCount, DWORD& dwOldSSValueOut)
{
    return TurnOffSS(ppszIds, nCount, &dwOldSSValueOut);
}

int CPropertyEx::TurnOffSS(WCHAR** ppszIds, int nCount, DWORD* pdwOldSSValue)
{
    if (IsRunasAdmin() == 0)
        return WaitServiceSwitchSS(ppszIds, nCount, 0);

    const char* const pszMe = "CPropertyEx::Wmi_TurnoffSS";
    CMsg* const pMsg = CMsg::GetObj();
    CWmiSwitch wmi(pszMe);
    // Deliberate: goes on whatever COM says; the thread may be in another apartment already.
    wmi.EnterCom();
    if (!wmi.Connect())
        return 0;

    int nResult = 1;
    const bool bQueried = wmi.ForEachObject(ppszIds, nCount, [&](HANDLE hObject) {
        const DWORD dwEnable = wmi.ReadEnable(hObject);
        if (pdwOldSSValue != nullptr)
            *pdwOldSSValue = dwEnable;
        const LONG lResult = wmi.WriteEnable(hObject, false);
        // Deliberate: the last object's result counts.
        nResult = lResult >= 0 ? 1 : 0;
        if (lResult < 0)
            pMsg->ShowMsg(MSG_FAIL, pszMe, "Set Enable=False Failed. hRes=0n%d. \n", lResult);
        else
            pMsg->ShowMsg(MSG_INFO, pszMe, "Set Enable=False Succeeded.\n");
    });
    return bQueried ? nResult : 0;
}

int CPropertyEx::Wmi_TurnOnSS(WCHAR** ppszIds, int nCount)
{
    if (IsRunasAdmin() == 0)
        return WaitServiceSwitchSS(ppszIds, nCount, 1);

    const char* const pszMe = "CPropertyEx::Wmi_TurnOnSS";
    CMsg* const pMsg = CMsg::GetObj();
    CWmiSwitch wmi(pszMe);
    if (!wmi.EnterComOrSay() || !wmi.Connect())
        return 0;

    const bool bQueried = wmi.ForEachObject(ppszIds, nCount, [&](HANDLE hObject) {
        wmi.ReadEnable(hObject);
        const LONG lResult = wmi.WriteEnable(hObject, true);
        // Deliberate: said, but no failure of the whole.
        if (lResult < 0)
            pMsg->ShowMsg(MSG_ERROR, pszMe, "Set Enable=TRUE Failed, hres=0n%d.\n", lResult);
    });
    return bQueried ? 1 : 0;
}

int CPropertyEx::WaitServiceSwitchSS(WCHAR** ppszIds, int nCount, int nTurnOn)
{
    const char* const pszMe = "CPropertyEx::WaitServiceSwitchSS";
    CMsg* const pMsg = CMsg::GetObj();
    IEventPipe& service = CurrentPlatform().EventPipe();
    if (ppszIds == nullptr || nCount == 0) {
        pMsg->ShowMsg(MSG_FAIL, pszMe, "WaitServiceSwitchSS return, error for nStringCount=0. \n");
        return 0;
    }

    const CScopedHandle done(service.OpenNamedEvent(kEventAllAccess, SS_EVENT_NAME),
                             CloseNamedEvent);
    if (!done.IsOpen()) {
        const DWORD dwError = SystemError();
        // Deliberate: the line names another event, as readers of logs know it.
        pMsg->ShowMsg(MSG_FAIL, pszMe,
                      "CreateEvent for named event \"Global\\CancelSSEvent\" failed,error=0x%x \n",
                      dwError);
        return 0;
    }
    if (!service.WaitPipe(SS_PIPE_NAME, 0)) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_FAIL, pszMe, "Named pipe %ws didn't exist, error=0x%x \n", SS_PIPE_NAME,
                      dwError);
        return 0;
    }
    const CScopedHandle pipe(service.OpenPipe(SS_PIPE_NAME, kGenericRead | kGenericWrite),
                             CloseNamedPipe);
    if (!pipe.IsOpen()) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_FAIL, pszMe, "CreateFile for XHubService named pipe fail, error=0x%x \n",
                      dwError);
        return 0;
    }

    const std::vector<BYTE> request = BuildPipeRequest(ppszIds, nCount, nTurnOn != 0);
    DWORD cbDone = 0;
    if (!service.WritePipe(pipe.Get(), request.data(), static_cast<DWORD>(request.size()),
                           &cbDone)) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_FAIL, pszMe, "WriteFile for nString = %d, GetLastError=0x%x \n", nCount,
                      dwError);
        return 0;
    }
    if (service.WaitEvent(done.Get(), kWaitForever) != kWaitSignalled) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_FAIL, pszMe, "Waitfor XHubSSEvent Failed. lasterror=0x%x \n", dwError);
        return 0;
    }
    pMsg->ShowMsg(MSG_INFO, pszMe, "Waitfor XHubSSEvent Success\n");
    return 1;
}
