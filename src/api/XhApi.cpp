#include "api/zelhub.h"

#include <array>
#include <memory>
#include <string>

#include "api/HubObjects.h"
#include "cmd/CRequestCMD.h"
#include "flow/CUniversalFlow.h"
#include "msg/CMsg.h"
#include "platform/IDeviceTree.h"
#include "platform/IHostFiles.h"
#include "platform/Platform.h"
#include "wire/HubRequests.h"

namespace
{
constexpr std::size_t kModulePathSize = 1024;
constexpr DWORD kLocationBytes = 1024;
constexpr int kOpenSeconds = 10;
constexpr DWORD kStatusTimeoutMs = 5000;

/// "info.txt" beside the library's file, or in the working folder where the path has no separator.
std::string LogPath()
{
    char szModule[kModulePathSize] = {};
    CLogResponder::GetSelfModulePath(szModule);
    std::string strPath = szModule;
    // Without one rfind gives npos, and the path is cut to nothing.
    strPath.resize(strPath.rfind(CurrentPlatform().HostFiles().Separator()) + 1);
    return strPath + "info.txt";
}

void StartLog()
{
    // There need not be an older one.
    CurrentPlatform().HostFiles().Remove(LogPath().c_str());
    HubObjects& objects = ProcessObjects();
    objects.pLog = std::make_unique<CLogResponder>();
    objects.pLog->SetMsgLevel(MSG_INFO);
    CMsg::GetObj()->Attach(objects.pLog.get());
}

void ReleaseObjects()
{
    HubObjects& objects = ProcessObjects();
    if (objects.pTransport)
        CRequestCMD::GetRequestObj()->XH_UnInitProxyDriver();
    if (objects.pFinder && objects.pDev)
        objects.pFinder->Detach(objects.pDev.get());
    objects.pFinder.reset();
    objects.pDev.reset();
    objects.pTransport.reset();
    // Nothing may be logged between these two.
    objects.pLog.reset();
    CMsg::GetObj()->ClearResponder();
}

/// Reads the node's location paths. @return true when there is at least one
bool ReadLocation(DWORD dwInst, std::array<WCHAR, 1024>& location)
{
    DWORD dwType = kDevPropString;
    DWORD cb = kLocationBytes;
    const DWORD dwCode = CurrentPlatform().DeviceTree().GetNodeProperty(
        dwInst, &kKeyLocationPaths, &dwType, reinterpret_cast<BYTE*>(location.data()), &cb);
    // An empty path would match by level instead of by place.
    return dwCode == 0 && location[0] != 0;
}
} // namespace

bool ZEL_CALL XH_InitDevice(bool bLog) noexcept
{
    XH_UnInitDevice();
    if (bLog)
        StartLog();
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "XH_InitDevice", "In XH_InitDevice,Init Dev Object\n");
    HubObjects& objects = ProcessObjects();
    objects.pTransport = std::make_unique<CPropertyEx>();
    const int nStarted = CRequestCMD::GetRequestObj()->XH_InitProxyDriver(objects.pTransport.get());
    objects.pDev = std::make_unique<CHubDev>();
    objects.pFinder = std::make_unique<CHubFind>();
    objects.pFinder->Attach(objects.pDev.get());
    return nStarted != 0;
}

void ZEL_CALL XH_UnInitDevice(void) noexcept
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "XH_UnInitDevice", "Free Memory\n");
    ReleaseObjects();
}

void ZEL_CALL XH_ReleaseDevice(void) noexcept
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "XH_ReleaseDevice", "In XH_ReleaseDevice,Free Memory\n");
    XH_UnInitDevice();
}

bool ZEL_CALL XH_ListAllDevice(_Hub_Info** ppList, DWORD* pdwCount) noexcept
{
    constexpr const char* kFunc = "XH_ListAllDevice";
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_FAIL, kFunc, "XH_ListAllDevice --->\n");
    const bool bListed = ProcessObjects().pFinder->ListDevice(*ppList, *pdwCount);
    if (bListed) {
        pMsg->ShowMsg(MSG_FAIL, kFunc, "List Device Success,Hub Count is %d\n", *pdwCount);
        for (DWORD i = 0; i < *pdwCount; ++i)
            pMsg->ShowMsg(MSG_FAIL, kFunc, "Index:%d,dwInst is %d\n", i, (*ppList)[i].DevInst);
    } else {
        pMsg->ShowMsg(MSG_ERROR, kFunc, "In XH_ListAllDevice,List Device Fail\n");
    }
    pMsg->ShowMsg(MSG_FAIL, kFunc, "<--- XH_ListAllDevice\n ");
    return bListed;
}

void ZEL_CALL XH_FreeAllDevice(_Hub_Info* pList) noexcept
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "XH_FreeAllDevice", "In XH_FreeAllDevice,Free Memory\n");
    delete[] pList;
}

bool ZEL_CALL XH_OpenDeviceEx2(DWORD dwInst) noexcept
{
    constexpr const char* kFunc = "XH_OpenDeviceEx2";
    XH_CloseDevice();
    std::array<WCHAR, 1024> location = {};
    if (!ReadLocation(dwInst, location)) {
        CMsg::GetObj()->ShowMsg(MSG_ERROR, kFunc, "In XH_OpenDeviceEx2, Get Location Fail\n");
        return false;
    }
    const HubObjects& objects = ProcessObjects();
    objects.pDev->SetTopo(location.data());
    if (!objects.pFinder->WaitDevConnect(objects.pDev.get(), kOpenSeconds)) {
        CMsg::GetObj()->ShowMsg(MSG_ERROR, kFunc, "In XH_OpenDeviceEx2, Open Hub failed\n");
        return false;
    }
    CMsg::GetObj()->ShowMsg(MSG_FAIL, kFunc,
                            "In XH_OpenDeviceEx2,Open Hub Success,Hub DevInst is %d\n", dwInst);
    return true;
}

bool ZEL_CALL XH_CloseDevice(void) noexcept
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "XH_CloseDevice", "In XH_CloseDevice,Close Device\n");
    return ProcessObjects().pFinder->DummyRemove(ProcessObjects().pDev.get());
}

bool ZEL_CALL XH_DetectHubStatusForTest(BYTE* pBuffer) noexcept
{
    IPropertyEx* const pTransport = CRequestCMD::GetRequestObj()->GetProxy()->GetTransport();
    return pTransport->KyHub_SendVDCmd(REQTYPE_VENDOR_IN, REQ_STATUS, 0, 0, pBuffer,
                                       HUB_STATUS_LENGTH, kStatusTimeoutMs) == 0;
}

DWORD ZEL_CALL XH_I2CConfigImpl(BYTE byA, BYTE byB, BYTE byC) noexcept
{
    return ProcessObjects().pDev->I2CConfigImpl(byA, byB, byC);
}

DWORD ZEL_CALL XH_I2CWriteImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen) noexcept
{
    return ProcessObjects().pDev->I2CWriteImpl(dwAddr, pBuf, wLen);
}

DWORD ZEL_CALL XH_I2CReadImpl(DWORD dwAddr, BYTE* pBuf, USHORT wLen) noexcept
{
    return ProcessObjects().pDev->I2CReadImpl(dwAddr, pBuf, wLen);
}

CHubDev* ZEL_CALL GetHubDev(void) noexcept
{
    return std::make_unique<CHubDev>().release();
}

CUniversalFlow* ZEL_CALL GetUniversalFlow(IDevFinder* pFinder, IDev* pDev) noexcept
{
    return std::make_unique<CUniversalFlow>(pFinder, pDev).release();
}
