#include "transport/InterfaceSearch.h"

#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IDeviceFile.h"
#include "platform/IDeviceTree.h"
#include "platform/IProcess.h"
#include "platform/Platform.h"
#include "transport/CScopedHandle.h"

#include <algorithm>
#include <vector>

namespace
{
constexpr DWORD kInstanceIdChars = 200;
constexpr DWORD kNodeSetFlags = kSetPresent | kSetAllClasses | kSetDeviceInterface;

/// Reads the interface's path; after a failure it is empty.
/// @return status: 0, or the failing call's code
DWORD ReadInterfacePath(const INTERFACE_OPEN& how, HANDLE hSet, const DEVINTERFACE_DATA& data,
                        WString* pPath)
{
    DWORD cbNeeded = 0;
    const bool bSized =
        CurrentPlatform().DeviceTree().GetInterfaceDetail(hSet, &data, nullptr, 0, &cbNeeded);
    const DWORD dwSizeError = bSized ? kErrNone : SystemError();
    if (dwSizeError != kErrInsufficientBuffer) {
        CMsg::GetObj()->ShowMsg(how.eFail, how.pszFunction, how.pszSizeError, dwSizeError);
        return dwSizeError;
    }
    CMsg::GetObj()->ShowMsg(how.eDetail, how.pszFunction, how.pszNewBuffer, cbNeeded);

    if (!FetchInterfacePath(hSet, data, cbNeeded, pPath)) {
        const DWORD dwError = SystemError();
        CMsg::GetObj()->ShowMsg(how.eFail, how.pszFunction, how.pszDetailError, dwError);
        return dwError;
    }
    return 0;
}

DWORD OpenPath(const INTERFACE_OPEN& how, const WString& strPath, HANDLE* phInterface)
{
    HANDLE const hInterface =
        CurrentPlatform().DeviceFile().Open(strPath.c_str(), kGenericRead | kGenericWrite,
                                            how.dwShare, kOpenExisting, how.dwAttributes);
    if (hInterface == InvalidHandle()) {
        const DWORD dwError = SystemError();
        CMsg::GetObj()->ShowMsg(how.eFail, how.pszFunction, how.pszOpenError, dwError);
        return dwError;
    }
    *phInterface = hInterface;
    return 0;
}
} // namespace

WString ReadInstanceId(DWORD devInst)
{
    WCHAR szId[kInstanceIdChars] = {};
    if (CurrentPlatform().DeviceTree().GetDeviceId(devInst, szId, kInstanceIdChars) != kCrSuccess)
        return {};
    szId[kInstanceIdChars - 1] = 0;
    return szId;
}

HANDLE RequestSetOfNode(DWORD devInst)
{
    const WString strId = ReadInstanceId(devInst);
    if (strId.empty()) {
        // An empty text would list every node.
        CurrentPlatform().Process().SetLastError(kErrNoSuchDevInst);
        return InvalidHandle();
    }
    return CurrentPlatform().DeviceTree().GetClassDevs(nullptr, strId.c_str(), kNodeSetFlags);
}

bool FetchInterfacePath(HANDLE hSet, const DEVINTERFACE_DATA& data, DWORD cbNeeded, WString* pPath)
{
    // One zero character more than was asked for, so that the path always ends.
    std::vector<BYTE> buffer(std::max<size_t>(cbNeeded, sizeof(DEVINTERFACE_DETAIL)) +
                             sizeof(WCHAR));
    auto* const pDetail = reinterpret_cast<DEVINTERFACE_DETAIL*>(buffer.data());
    pDetail->cbSize = kDetailHeadSize;
    if (!CurrentPlatform().DeviceTree().GetInterfaceDetail(hSet, &data, pDetail, cbNeeded, nullptr))
        return false;
    *pPath = pDetail->DevicePath;
    return true;
}

DWORD OpenNodeInterface(const INTERFACE_OPEN& how, DWORD devInst, const GUID* pGuid,
                        HANDLE* phInterface)
{
    if (phInterface == nullptr)
        return kErrInvalidParameter;
    CScopedHandle set(RequestSetOfNode(devInst), CloseDeviceSet);
    if (!set.IsOpen())
        return SystemError();

    IDeviceTree& tree = CurrentPlatform().DeviceTree();
    DEVINFO_DATA node = {};
    node.cbSize = sizeof(node);
    if (!tree.EnumDeviceInfo(set.Get(), 0, &node)) {
        const DWORD dwError = SystemError();
        if (dwError != kErrNoMoreItems)
            return dwError;
        CMsg::GetObj()->ShowMsg(how.eFail, how.pszFunction, how.pszNotFound);
        // Deliberate: a success. The caller's handle keeps its first value, and the next step
        // fails on that.
        return 0;
    }

    DEVINTERFACE_DATA data = {};
    data.cbSize = sizeof(data);
    if (!tree.EnumDeviceInterfaces(set.Get(), &node, pGuid, 0, &data)) {
        const DWORD dwError = SystemError();
        CMsg::GetObj()->ShowMsg(how.eFail, how.pszFunction, how.pszEnumError, dwError);
        return dwError;
    }
    WString strPath;
    const DWORD dwError = ReadInterfacePath(how, set.Get(), data, &strPath);
    // A sizing call that reports no error leaves the handle untouched as well.
    if (dwError != 0 || strPath.empty())
        return dwError;
    return OpenPath(how, strPath, phInterface);
}
