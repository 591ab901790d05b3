// Property lists and texts of device nodes, byte for byte: everything that reads them.
#include "dev/CHubDev.h"
#include "find/CDevProperty.h"
#include "find/CHubFind.h"
#include "find/HubInfo.h"
#include "fuzz/CFuzzHost.h"
#include "fuzz/Demand.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{
constexpr DWORD kLocationPaths = 37;
constexpr DWORD kHardwareIds = 3;
constexpr DWORD kCompatibleIds = 4;
constexpr DWORD kPid = 0x9001;
constexpr DWORD kVid = 0x5678;

struct Stage : CFuzzHost
{
    Stage() { billboard.Traits().bWinUsb = true; }

    CSimNode& hub = machine.Tree().AddHub(machine.RootHub(), 1, HubNodeOptions{});
    CSimNode& port = machine.Tree().AddDevice(hub, 2, DeviceNodeOptions{});
    CSimNode& billboard = machine.Tree().AddDevice(hub, 3, DeviceNodeOptions{});
    CHubFind finder;
};

std::vector<BYTE> List(FuzzedDataProvider& input)
{
    // Texts of one byte per character reach further than raw bytes.
    const std::string strBytes = input.ConsumeRandomLengthString(1500);
    if (input.ConsumeBool())
        return {strBytes.begin(), strBytes.end()};
    std::vector<BYTE> wide;
    for (const char ch : strBytes) {
        wide.push_back(static_cast<BYTE>(ch == '|' ? 0 : ch));
        wide.push_back(0);
    }
    return wide;
}

WString Text(FuzzedDataProvider& input)
{
    WString strText;
    for (const char ch : input.ConsumeRandomLengthString(300))
        strText += static_cast<WCHAR>(static_cast<BYTE>(ch));
    return strText;
}

bool HasEnd(const WCHAR* pszText, std::size_t cch)
{
    return std::find(pszText, pszText + cch, WCHAR{0}) != pszText + cch;
}

void CheckListings(Stage& stage)
{
    _Hub_Info* pList = nullptr;
    DWORD dwCount = 0;
    if (stage.finder.ListDevice(pList, dwCount)) {
        const std::unique_ptr<_Hub_Info[]> pOwned(pList);
        for (DWORD i = 0; i < dwCount; ++i) {
            Demand(HasEnd(pList[i].HwID, 1024) && HasEnd(pList[i].LocationPath, 1024) &&
                       HasEnd(pList[i].PID, 5) && HasEnd(pList[i].VID, 5),
                   "listed texts end");
            Demand(pList[i].IsU3Hub <= 1, "a half is one or the other");
        }
    }
    pList = nullptr;
    (void)stage.finder.ListAllDevPortInfo(&pList, &dwCount);
    delete[] pList;
}

/// Deliberate: an entry of less than 8 characters ends the process where ports are compared.
bool HasShortEntry(const WString& strList)
{
    for (std::size_t n = 0; n < strList.size() && strList[n] != 0;) {
        const std::size_t nEnd = strList.find(WCHAR{0}, n);
        if (nEnd == WString::npos)
            return false;
        if (nEnd + 1 - n < 8)
            return true;
        n = nEnd + 1;
    }
    return false;
}

void CheckProperties(Stage& stage, FuzzedDataProvider& input)
{
    CDevProperty& property = *CDevProperty::GetObj();
    const DWORD devInst = stage.hub.DevInst();
    const WString strList = property.GetLocationPath(devInst);
    const int nLevel = input.ConsumeIntegralInRange<int>(0, 6);
    const bool bLevel = property.IsLevelNum(nLevel);
    if (!HasShortEntry(strList)) {
        const WString strTail = WTEXT("#USB(2)");
        const bool bBoth = property.IsLevelAndPort(nLevel, devInst, strTail + WCHAR{0});
        Demand(!bBoth || bLevel, "level and port need the level");
    }
    (void)property.IsU3Hub(devInst);
    const WString strId = Text(input);
    const bool bHas = property.HasHardwareId(devInst, strId);
    Demand(!bHas || property.HasHardwareId(devInst, strId.substr(0, strId.size() / 2)),
           "what holds a text holds its beginning");
}

void CheckDevices(Stage& stage)
{
    CHubDev dev;
    dev.AddDevID(kVid, kPid);
    WString strPath = CDevProperty::GetObj()->GetLocationPath(stage.hub.DevInst());
    dev.SetTopo(strPath.data());
    (void)dev.MatchDev(stage.hub.DevInst());

    CRequestCMD& cmd = *CRequestCMD::GetRequestObj();
    (void)cmd.KyBBPD_OpenBillBoardDevice(kPid, kVid);
    (void)cmd.KyBBPD_CloseBillBoardDevice();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const BYTE* pData, std::size_t cb)
{
    static Stage s_stage;
    FuzzedDataProvider input(pData, cb);
    for (const DWORD dwProperty : {kLocationPaths, kHardwareIds, kCompatibleIds})
        s_stage.hub.Traits().rawProperties[dwProperty] = List(input);
    s_stage.billboard.Traits().hardwareIds = {Text(input)};
    s_stage.billboard.Traits().strDescription =
        input.ConsumeBool() ? Text(input) : WString(WTEXT("Billboard Device"));

    CheckListings(s_stage);
    CheckProperties(s_stage, input);
    CheckDevices(s_stage);
    Demand(s_stage.IsTidy(), "all is closed");
    return 0;
}
