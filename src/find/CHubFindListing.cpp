// The two listings of the hub finder.
#include <algorithm>
#include <memory>

#include "find/CHubFind.h"
#include "find/CU3HubFilter.h"
#include "find/DeviceSetWalk.h"
#include "msg/CMsg.h"
#include "platform/IDeviceTree.h"

namespace
{
constexpr DWORD kListingFailed = 0xFFFFFFFF;
constexpr DWORD kPropertyBytes = 1024; // of the 2,048 that the record has
constexpr DWORD kDeviceIdChars = 200;
constexpr size_t kIdChars = 4;

/// Reads a string list into a record's text; what cannot be read leaves zeros.
void ReadProperty(DWORD devInst, const DEVPROP_KEY& key, WCHAR* pszText)
{
    DWORD dwType = kDevPropString;
    DWORD cb = kPropertyBytes;
    (void)CurrentPlatform().DeviceTree().GetNodeProperty(devInst, &key, &dwType,
                                                         reinterpret_cast<BYTE*>(pszText), &cb);
}

/// Copies the up to 4 characters behind a mark. @return false when the text lacks the mark
bool CopyBehind(const WString& strText, const WString& strMark, WCHAR (&szOut)[kIdChars + 1])
{
    const size_t nMark = strText.find(strMark);
    if (nMark == WString::npos)
        return false;
    const size_t nFrom = nMark + strMark.size();
    const size_t nCopied = strText.copy(szOut, kIdChars, nFrom);
    szOut[nCopied] = 0;
    return true;
}

/// The signed decimal number at a text's start, 0 without digits; held to 32 bits.
int LeadingNumber(const WString& strText)
{
    size_t n = 0;
    const bool bNegative = !strText.empty() && strText[0] == WTEXT('-');
    if (bNegative || (!strText.empty() && strText[0] == WTEXT('+')))
        ++n;
    LONGLONG llValue = 0;
    for (; n < strText.size() && strText[n] >= WTEXT('0') && strText[n] <= WTEXT('9'); ++n)
        llValue = std::min<LONGLONG>(llValue * 10 + (strText[n] - WTEXT('0')), 0x7FFFFFFF);
    return static_cast<int>(bNegative ? -llValue : llValue);
}

void FillPlace(const WString& strPath, _Hub_Info& info)
{
    const size_t nRoot = strPath.find(WTEXT("USBROOT"));
    if (nRoot == WString::npos)
        return;
    info.Level = static_cast<DWORD>(std::count(
        strPath.begin() + static_cast<WString::difference_type>(nRoot), strPath.end(), WTEXT('#')));
    const size_t nOpen = strPath.rfind(WTEXT('('));
    if (nOpen != WString::npos && strPath.rfind(WTEXT(')'), nOpen) != WString::npos)
        info.Port = static_cast<DWORD>(LeadingNumber(strPath.substr(nOpen + 1)));
}

void FillHub(DWORD dwIndex, CU3HubFilter& u3Filter, _Hub_Info& info)
{
    CMsg* const pMsg = CMsg::GetObj();
    ReadProperty(info.DevInst, kKeyHardwareIds, info.HwID);
    pMsg->ShowMsg_U(MSG_FAIL, "CHubFind::ListDevice", WTEXT("Index:%d,HwID:%s\n"), dwIndex,
                    info.HwID);
    const WString strHwId = info.HwID;
    if (CopyBehind(strHwId, WTEXT("VID_"), info.VID))
        CopyBehind(strHwId, WTEXT("PID_"), info.PID);
    ReadProperty(info.DevInst, kKeyLocationPaths, info.LocationPath);
    FillPlace(info.LocationPath, info);
    info.IsU3Hub = u3Filter.Filter(info.DevInst) ? 1 : 0;
    if (info.IsU3Hub != 0)
        pMsg->ShowMsg(MSG_FAIL, "CHubFind::ListDevice", "U3 Hub\n");
    else
        pMsg->ShowMsg(MSG_FAIL, "CHubFind::ListDevice", "U2 Hub\n");
}

/// Reads a node's instance ID. @return false when it cannot be read
bool ReadDeviceId(DWORD devInst, WString& strId)
{
    WCHAR szId[kDeviceIdChars] = {};
    const DWORD dwResult =
        CurrentPlatform().DeviceTree().GetDeviceId(devInst, szId, kDeviceIdChars);
    strId.assign(szId, std::find(szId, szId + kDeviceIdChars, WCHAR{0}));
    return dwResult == kCrSuccess;
}

/// Whether a node's ports count: it works, its ID can be read and it is no root hub.
bool HasListedPorts(DWORD devInst)
{
    DWORD dwStatus = 0;
    DWORD dwProblem = 0;
    IDeviceTree& tree = CurrentPlatform().DeviceTree();
    if (tree.GetNodeStatus(&dwStatus, &dwProblem, devInst) != kCrSuccess ||
        (dwStatus & kNodeHasProblem) != 0)
        return false;
    WString strId;
    return ReadDeviceId(devInst, strId) && strId.find(WTEXT("ROOT_HUB")) == WString::npos;
}

/// Calls fnChild with every child of every hub of a set.
/// @return the error that ended the walk (259: all were seen)
template<class Child>
DWORD ForEachPort(HANDLE hSet, Child fnChild)
{
    return ForEachInSet(hSet, [&](DWORD devInst) {
        if (!HasListedPorts(devInst))
            return;
        IDeviceTree& tree = CurrentPlatform().DeviceTree();
        DWORD childInst = 0;
        DWORD dwResult = tree.GetChild(&childInst, devInst);
        while (dwResult == kCrSuccess) {
            fnChild(childInst);
            dwResult = tree.GetSibling(&childInst, childInst);
        }
    });
}

void FillPort(DWORD devInst, _Hub_Info& info)
{
    WString strId;
    (void)ReadDeviceId(devInst, strId);
    CopyBehind(strId, WTEXT("VID_"), info.VID);
    CopyBehind(strId, WTEXT("PID_"), info.PID);
    info.DevInst = devInst;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CHubFind::ListAllDevPortInfo",
                            "VID: %S, PID: %S, DevInst: 0x%x\n", info.VID, info.PID, devInst);
}

/// The first pass. @return status: 0 = *pdwCount holds the number of ports, at least 1
DWORD CountPorts(HANDLE hSet, DWORD* pdwCount)
{
    CMsg* const pMsg = CMsg::GetObj();
    DWORD dwTotal = 0;
    if (ForEachPort(hSet, [&](DWORD) { ++dwTotal; }) != kErrNoMoreItems) {
        pMsg->ShowMsg(MSG_FAIL, "CHubFind::ListAllDevPortInfo", "HUB Port Num: 0 -> Fail_Exit\n");
        return kListingFailed;
    }
    *pdwCount = dwTotal;
    pMsg->ShowMsg(MSG_FAIL, "CHubFind::ListAllDevPortInfo", "HUB Port Num: %d\n", dwTotal);
    if (dwTotal == 0) {
        pMsg->ShowMsg(MSG_ERROR, "CHubFind::ListAllDevPortInfo", "HUB Port Num: 0 -> Fail_Exit\n");
        return kListingFailed;
    }
    return 0;
}
} // namespace

bool CHubFind::ListDevice(_Hub_Info*& pList, DWORD& dwCount)
{
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CHubFind::ListDevice", "ListDevice\n");
    EnumDevs();
    dwCount = m_dwHubCount;
    if (dwCount == 0)
        return false;
    std::unique_ptr<_Hub_Info[]> pRecords(new _Hub_Info[dwCount]());
    DWORD dwIndex = 0;
    for (const DWORD devInst : m_lstHub)
        pRecords[dwIndex++].DevInst = devInst;
    for (dwIndex = 0; dwIndex < dwCount; ++dwIndex)
        FillHub(dwIndex, *m_pU3HubFilter, pRecords[dwIndex]);
    pList = pRecords.release(); // the caller's from here on
    return true;
}

DWORD CHubFind::ListAllDevPortInfo(_Hub_Info** ppList, DWORD* pdwCount)
{
    if (ppList == nullptr || pdwCount == nullptr)
        return kErrInvalidParameter;
    *ppList = nullptr; // Deliberate: an earlier array is the caller's and is not released
    const CScopedHandle set = RequestPresentSet(GetClassGUID());
    const DWORD dwError = SystemError(); // a success sets it to 0, or keeps 1300
    if (dwError != kErrNone && dwError != kErrNotAllAssigned) {
        CMsg::GetObj()->ShowMsg(MSG_ERROR, "CHubFind::ListAllDevPortInfo",
                                "SetupDiGetClassDevs failed %d\n", dwError);
        return dwError;
    }
    const DWORD dwStatus = CountPorts(set.Get(), pdwCount);
    if (dwStatus != 0)
        return dwStatus;

    const DWORD dwTotal = *pdwCount;
    std::unique_ptr<_Hub_Info[]> pRecords(new _Hub_Info[dwTotal]());
    DWORD dwNext = 0;
    (void)ForEachPort(set.Get(), [&](DWORD devInst) {
        if (dwNext < dwTotal) // more may have come since they were counted
            FillPort(devInst, pRecords[dwNext++]);
    });
    *ppList = pRecords.release();
    return 0;
}
