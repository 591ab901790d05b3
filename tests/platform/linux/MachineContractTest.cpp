#include "CSysfsTree.h"

#include <gtest/gtest.h>

#include "platform/ErrorCodes.h"
#include "platform/IDeviceTree.h"
#include "platform/IPowerSwitch.h"
#include "platform/IProcess.h"
#include "platform/linux/CLinuxPlatform.h"
#include "sim/machine/CSimMachine.h"

// What device trees and power switches promise, whoever keeps the promise. Every machine has one
// hub on a root hub.
namespace
{
struct LINUX_MACHINE
{
    CSysfsTree sysfs{"pci0000:00\n  0000:00:14.0\n    usb1 1d6b:0002 hub 480\n"
                     "      1-1 1234:5678 hub 480\n"};
    CLinuxPlatform platform{{sysfs.SysRoot(), sysfs.DevRoot()}};
};

std::shared_ptr<Platform> MakeLinux()
{
    const auto pMachine = std::make_shared<LINUX_MACHINE>();
    return {pMachine, &pMachine->platform};
}

std::shared_ptr<Platform> MakeSimulated()
{
    auto pMachine = std::make_shared<CSimMachine>();
    CSimDeviceTree& tree = pMachine->Tree();
    tree.AddHub(tree.AddRootHub(tree.AddHostController()), 1, {});
    return pMachine;
}

struct MachineCase
{
    const char* pszName;
    std::shared_ptr<Platform> (*pfnMake)();
};
const MachineCase kMachines[] = {{"Linux", MakeLinux}, {"Simulated", MakeSimulated}};

class DeviceTreeContract : public testing::TestWithParam<MachineCase>
{
protected:
    DWORD LastError() { return m_pPlatform->Process().LastError(); }

    void SetUp() override
    {
        m_hSet = m_tree.GetClassDevs(&kGuidUsbHub, nullptr, kSetPresent | kSetDeviceInterface);
        ASSERT_EQ(LastError(), kErrNone);
        // The hub is the one that is not the root hub: the last one.
        for (DWORD i = 0; m_tree.EnumDeviceInfo(m_hSet, i, &m_hub); ++i) {
        }
        ASSERT_EQ(LastError(), kErrNoMoreItems);
    }

    std::shared_ptr<Platform> m_pPlatform = GetParam().pfnMake();
    IDeviceTree& m_tree = m_pPlatform->DeviceTree();
    HANDLE m_hSet = nullptr;
    DEVINFO_DATA m_hub = {sizeof(DEVINFO_DATA), {}, 0, 0};
    DEVINTERFACE_DATA m_interface = {sizeof(DEVINTERFACE_DATA), {}, 0, 0};
};

TEST_P(DeviceTreeContract, RefusesSetsThatTheSystemWouldRefuse)
{
    EXPECT_EQ(m_tree.GetClassDevs(nullptr, nullptr, kSetPresent), InvalidHandle());
    EXPECT_EQ(LastError(), kErrInvalidParameter);
    for (const WCHAR* const pszNobody : {WTEXT("USB\\NOBODY"), WTEXT("")}) {
        EXPECT_EQ(m_tree.GetClassDevs(nullptr, pszNobody, kSetAllClasses), InvalidHandle());
        EXPECT_EQ(LastError(), kErrNoSuchDevInst);
    }
    EXPECT_TRUE(m_tree.DestroySet(m_hSet));
    EXPECT_FALSE(m_tree.DestroySet(m_hSet));
    EXPECT_FALSE(m_tree.EnumDeviceInfo(m_hSet, 0, &m_hub));
    EXPECT_EQ(LastError(), kErrInvalidHandle);
}

TEST_P(DeviceTreeContract, RefusesRecordsWithoutTheirSize)
{
    DEVINFO_DATA bare = {};
    EXPECT_FALSE(m_tree.EnumDeviceInfo(m_hSet, 0, &bare));
    EXPECT_EQ(LastError(), 1784u);
    EXPECT_FALSE(
        m_tree.GetRegistryProperty(m_hSet, &bare, kPropDeviceDesc, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(LastError(), 1784u);
}

TEST_P(DeviceTreeContract, HandsOutAnInterfacePathInTwoCalls)
{
    EXPECT_FALSE(m_tree.EnumDeviceInterfaces(m_hSet, &m_hub, &kGuidHid, 0, &m_interface));
    EXPECT_EQ(LastError(), kErrNoMoreItems);
    ASSERT_TRUE(m_tree.EnumDeviceInterfaces(m_hSet, &m_hub, &kGuidUsbHub, 0, &m_interface));
    DWORD cb = 0;
    EXPECT_FALSE(m_tree.GetInterfaceDetail(m_hSet, &m_interface, nullptr, 0, &cb));
    EXPECT_EQ(LastError(), kErrInsufficientBuffer);
    std::vector<BYTE> buffer(cb);
    auto* const pDetail = reinterpret_cast<DEVINTERFACE_DETAIL*>(buffer.data());
    pDetail->cbSize = 6;
    EXPECT_FALSE(m_tree.GetInterfaceDetail(m_hSet, &m_interface, pDetail, cb, nullptr));
    EXPECT_EQ(LastError(), 1784u);
    pDetail->cbSize = kDetailHeadSize;
    EXPECT_FALSE(m_tree.GetInterfaceDetail(m_hSet, &m_interface, pDetail, cb - 1, nullptr));
    EXPECT_EQ(LastError(), kErrInsufficientBuffer);
    EXPECT_TRUE(m_tree.GetInterfaceDetail(m_hSet, &m_interface, pDetail, cb, nullptr));
    EXPECT_EQ(WString(pDetail->DevicePath).size() + 1, (cb - 4) / 2);
}

TEST_P(DeviceTreeContract, CountsPropertySizesInBytes)
{
    DWORD dwType = 0;
    DWORD cb = 0;
    EXPECT_EQ(m_tree.GetNodeProperty(m_hub.DevInst, &kKeyHardwareIds, &dwType, nullptr, &cb),
              kCrBufferSmall);
    std::vector<BYTE> buffer(cb, 0x77);
    --cb;
    EXPECT_EQ(m_tree.GetNodeProperty(m_hub.DevInst, &kKeyHardwareIds, &dwType, buffer.data(), &cb),
              kCrBufferSmall);
    EXPECT_EQ(buffer[0], 0x77);
    EXPECT_EQ(cb, buffer.size());
    EXPECT_EQ(m_tree.GetNodeProperty(m_hub.DevInst, &kKeyHardwareIds, &dwType, buffer.data(), &cb),
              kCrSuccess);
    EXPECT_EQ(dwType, kDevPropStringList);
    EXPECT_EQ(WString(reinterpret_cast<WCHAR*>(buffer.data())),
              WTEXT("USB\\VID_1234&PID_5678&REV_0100"));
    const DEVPROP_KEY strange = {kGuidUsbHub, 1};
    EXPECT_EQ(m_tree.GetNodeProperty(m_hub.DevInst, &strange, &dwType, buffer.data(), &cb),
              kCrNoSuchValue);
    EXPECT_EQ(cb, 0u);
    WCHAR szShort[4] = {WTEXT('x')};
    EXPECT_EQ(m_tree.GetDeviceId(m_hub.DevInst, szShort, 4), kCrBufferSmall);
    EXPECT_EQ(szShort[0], WTEXT('x'));
}

TEST_P(DeviceTreeContract, KnowsNobodyByTheNumber0)
{
    DWORD dwStatus = 0;
    DWORD dwProblem = 0;
    EXPECT_EQ(m_tree.GetParent(&dwStatus, 0), kCrInvalidDevNode);
    EXPECT_EQ(m_tree.GetNodeStatus(&dwStatus, &dwProblem, 0), kCrInvalidDevNode);
    EXPECT_EQ(m_tree.GetNodeStatus(&dwStatus, &dwProblem, m_hub.DevInst), kCrSuccess);
    EXPECT_EQ(dwStatus & kNodeHasProblem, 0u);
    EXPECT_EQ(m_tree.GetChild(&dwStatus, m_hub.DevInst), kCrNoSuchDevNode);
    EXPECT_EQ(m_tree.GetSibling(&dwStatus, m_hub.DevInst), kCrNoSuchDevNode);
    EXPECT_EQ(m_tree.GetParent(nullptr, m_hub.DevInst), kCrInvalidPointer);
}

using PowerSwitchContract = DeviceTreeContract;

TEST_P(PowerSwitchContract, HoldsOneConversationInItsOrder)
{
    constexpr auto Hr = [](DWORD dwCode) { return static_cast<LONG>(dwCode); };
    const WCHAR* const pszWql = WTEXT("WQL");
    const WString strQuery = WTEXT("SELECT * FROM MSPower_DeviceEnable WHERE InstanceName LIKE "
                                   "\"USB\\\\VID[_]1234&PID[_]5678%%\"");
    IPowerSwitch& power = m_pPlatform->PowerSwitch();
    HANDLE hLocator = nullptr;
    HANDLE hServices = nullptr;
    HANDLE hFound = nullptr;
    HANDLE hObject = nullptr;
    DWORD dwValue = 0;
    WString strName;
    EXPECT_EQ(power.CreateLocator(&hLocator), Hr(0x800401F0)) << "before COM";
    EXPECT_EQ(power.InitializeCom(2), kHrOk);
    EXPECT_EQ(power.InitializeCom(2), kHrFalse);
    power.UninitializeCom();
    EXPECT_EQ(power.InitializeSecurity(-1, 1, 4, 0), kHrOk);
    ASSERT_EQ(power.CreateLocator(&hLocator), kHrOk);
    EXPECT_EQ(power.ConnectServer(hLocator, WTEXT("ROOT\\CIMV2"), &hServices), Hr(0x8004100E));
    ASSERT_EQ(power.ConnectServer(hLocator, WTEXT("root\\wmi"), &hServices), kHrOk);
    EXPECT_EQ(power.ConnectServer(hServices, WTEXT("ROOT\\WMI"), &hFound), Hr(0x80070006));
    ASSERT_EQ(power.SetProxyBlanket(hServices, 10, 0, 3, 3, 0), kHrOk);
    EXPECT_EQ(power.ExecQuery(hServices, WTEXT("SQL"), strQuery.c_str(), 0x30, &hFound),
              Hr(0x80041018));
    EXPECT_EQ(power.ExecQuery(hServices, pszWql, WTEXT("SELECT *"), 0x30, &hFound), Hr(0x80041017));
    ASSERT_EQ(power.ExecQuery(hServices, pszWql, strQuery.c_str(), 0x30, &hFound), kHrOk);
    ASSERT_EQ(power.Next(hFound, -1, &hObject, &dwValue), kHrOk);
    EXPECT_EQ(dwValue, 1u);
    EXPECT_EQ(power.Next(hFound, -1, &hLocator, &dwValue), kHrFalse);
    EXPECT_EQ(dwValue, 0u);
    EXPECT_EQ(power.GetText(hObject, WTEXT("InstanceName"), &strName), kHrOk);
    EXPECT_EQ(strName.substr(strName.size() - 2), WTEXT("_0"));
    EXPECT_EQ(power.GetSwitch(hObject, WTEXT("Disable"), &dwValue), Hr(0x80041002));
    EXPECT_EQ(power.GetSwitch(hObject, WTEXT("Enable"), &dwValue), kHrOk);
    EXPECT_EQ(dwValue, 0xFFFFFFFF);
    EXPECT_EQ(power.PutSwitch(hObject, WTEXT("Enable"), false), kHrOk);
    EXPECT_EQ(power.GetSwitch(hObject, WTEXT("Enable"), &dwValue), kHrOk);
    EXPECT_EQ(dwValue, 0u) << "also before it is written back";
    EXPECT_EQ(power.PutInstance(hServices, hObject, 1), kHrOk);
    power.Release(hObject);
    EXPECT_EQ(power.GetSwitch(hObject, WTEXT("Enable"), &dwValue), Hr(0x80070006));
    EXPECT_EQ(power.PutInstance(hServices, hObject, 1), Hr(0x80070006));
}

INSTANTIATE_TEST_SUITE_P(Each, DeviceTreeContract, testing::ValuesIn(kMachines),
                         [](const auto& entry) { return std::string(entry.param.pszName); });
INSTANTIATE_TEST_SUITE_P(Each, PowerSwitchContract, testing::ValuesIn(kMachines),
                         [](const auto& entry) { return std::string(entry.param.pszName); });
} // namespace
