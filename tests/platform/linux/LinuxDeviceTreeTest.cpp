#include "CSysfsTree.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <thread>
#include <unistd.h>

#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxDeviceTree.h"
#include "platform/linux/LinuxError.h"
#include "platform/linux/Utf8.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
std::string Narrow(const WString& strText)
{
    return Utf8FromWide(strText.data(), strText.size());
}

/// The tree as the library sees it, with short ways to ask.
class CAsked
{
public:
    explicit CAsked(const CSysfsTree& sysfs)
        : m_nodes(sysfs.SysRoot(), sysfs.DevRoot()), m_strRoot(sysfs.DevRoot())
    {}

    CLinuxDeviceTree& Tree() { return m_tree; }

    std::vector<DWORD> Present(const GUID& guid, DWORD dwFlags = kSetPresent | kSetDeviceInterface)
    {
        std::vector<DWORD> found;
        HANDLE const hSet = m_tree.GetClassDevs(&guid, nullptr, dwFlags);
        DEVINFO_DATA dev = {sizeof dev, {}, 0, 0};
        for (DWORD i = 0; m_tree.EnumDeviceInfo(hSet, i, &dev); ++i)
            found.push_back(dev.DevInst);
        EXPECT_EQ(ThreadLastError(), kErrNoMoreItems);
        EXPECT_TRUE(m_tree.DestroySet(hSet));
        return found;
    }

    std::vector<std::string> List(DWORD devInst, const DEVPROP_KEY& key)
    {
        WCHAR szList[512] = {};
        DWORD dwType = 0;
        DWORD cb = sizeof szList;
        std::vector<std::string> list;
        if (m_tree.GetNodeProperty(devInst, &key, &dwType, reinterpret_cast<BYTE*>(szList), &cb) !=
            0)
            return list;
        for (const WCHAR* p = szList; *p != 0; p += list.back().size() + 1)
            list.push_back(Narrow(p));
        return list;
    }
    std::string Path(DWORD devInst) { return First(List(devInst, kKeyLocationPaths)); }
    std::string Id(DWORD devInst) { return First(List(devInst, kKeyHardwareIds)); }
    std::string InstanceId(DWORD devInst)
    {
        WCHAR szId[200] = {};
        return m_tree.GetDeviceId(devInst, szId, 200) == kCrSuccess ? Narrow(szId) : "";
    }

    /// A registry text of the one node, or "error N".
    std::string Text(DWORD devInst, DWORD dwProperty)
    {
        WCHAR szText[256] = {};
        return OfSet(devInst, [&](HANDLE hSet, DEVINFO_DATA* pDev) {
            return m_tree.GetRegistryProperty(hSet, pDev, dwProperty, nullptr,
                                              reinterpret_cast<BYTE*>(szText), sizeof szText,
                                              nullptr)
                       ? Narrow(szText)
                       : "";
        });
    }

    /// The device file behind a node's interface, without the test's folder; or "error N".
    std::string DeviceFile(DWORD devInst, const GUID& guid)
    {
        DEVINTERFACE_DATA face = {sizeof face, {}, 0, 0};
        alignas(DEVINTERFACE_DETAIL) BYTE detail[512] = {};
        auto* const pDetail = reinterpret_cast<DEVINTERFACE_DETAIL*>(detail);
        pDetail->cbSize = kDetailHeadSize;
        const std::string strPath = OfSet(devInst, [&](HANDLE hSet, DEVINFO_DATA* pDev) {
            return m_tree.EnumDeviceInterfaces(hSet, pDev, &guid, 0, &face) &&
                           m_tree.GetInterfaceDetail(hSet, &face, pDetail, sizeof detail, nullptr)
                       ? Narrow(pDetail->DevicePath)
                       : "";
        });
        return strPath.rfind(m_strRoot, 0) == 0 ? strPath.substr(m_strRoot.size()) : strPath;
    }

    /// Every controller, and below it its hubs: path, last hardware ID, port.
    std::string Hubs()
    {
        std::string strAll;
        for (const DWORD controller : Present(kGuidUsbHostController)) {
            const std::string strPath = Path(controller);
            strAll += strPath + " " + Id(controller) + "\n";
            for (const DWORD devInst : Present(kGuidUsbHub)) {
                if (Path(devInst).rfind(strPath + "#USBROOT", 0) == 0)
                    strAll += "  " + Path(devInst).substr(strPath.size()) + " " +
                              List(devInst, kKeyHardwareIds).back() + " " +
                              Text(devInst, kPropLocationInformation) + "\n";
            }
        }
        return strAll;
    }

    DWORD HubAt(const std::string& strPath)
    {
        for (const DWORD devInst : Present(kGuidUsbHub))
            if (Path(devInst) == strPath)
                return devInst;
        return 0;
    }

private:
    /// What a question says about the set of the one node; "error N" where it says nothing.
    template<class Question>
    std::string OfSet(DWORD devInst, Question question)
    {
        WCHAR szId[200] = {};
        (void)m_tree.GetDeviceId(devInst, szId, 200);
        HANDLE const hSet = m_tree.GetClassDevs(nullptr, szId, kSetPresent | kSetAllClasses);
        DEVINFO_DATA dev = {sizeof dev, {}, 0, 0};
        std::string strText = m_tree.EnumDeviceInfo(hSet, 0, &dev) ? question(hSet, &dev) : "";
        if (strText.empty())
            strText = "error " + std::to_string(ThreadLastError());
        (void)m_tree.DestroySet(hSet);
        return strText;
    }
    static std::string First(const std::vector<std::string>& list)
    {
        return list.empty() ? "" : list.front();
    }

    CLinuxNodes m_nodes;
    CLinuxDeviceTree m_tree{m_nodes};
    std::string m_strRoot;
};

// A machine, and what the library is to see of it.
struct Machine
{
    const char* pszName;
    const char* pszLayout;
    const char* pszHubs;
};

constexpr const char* kLaptop = R"(
pci0000:00
  0000:00:14.0 vendor=0x8086 device=0xa12f class=0x0c0330
    usb1 1d6b:0002 hub 480
      1-4 1234:5678 hub 480
        1-4.2 0a0b:0c0d dev 12 hid=0
      1-7 0a0b:0c0e billboard 12
    usb2 1d6b:0003 hub 5000
      2-4 1234:5679 hub 5000
)";

const Machine kMachines[] = {
    {"laptop", kLaptop, R"(PCIROOT(0)#PCI(1400) PCI\VEN_8086&DEV_A12F
  #USBROOT(0) USB\ROOT_HUB20 error 13
  #USBROOT(0)#USB(4) USB\VID_1234&PID_5678 Port_#0004.Hub_#0001
  #USBROOT(1) USB\ROOT_HUB30 error 13
  #USBROOT(1)#USB(4) USB\VID_1234&PID_5679 Port_#0004.Hub_#0003
)"},
    {"desktop with two controllers",
     R"(
pci0000:00
  0000:00:14.0 vendor=0x1022 device=0x43d5 class=0x0c0330
    usb1 1d6b:0002 hub 480
    usb2 1d6b:0003 hub 10000
  0000:00:1c.4 vendor=0x1022 device=0x0001 class=0x060400
    0000:03:00.0 vendor=0x1b21 device=0x2142 class=0x0c0330
      usb10 1d6b:0002 hub 480
        10-1 1234:5678 hub 480
          10-1.12 1234:5678 hub 480
      usb11 1d6b:0003 hub 20000
)",
     R"(PCIROOT(0)#PCI(1400) PCI\VEN_1022&DEV_43D5
  #USBROOT(0) USB\ROOT_HUB20 error 13
  #USBROOT(1) USB\ROOT_HUB30 error 13
PCIROOT(0)#PCI(1C04)#PCI(0000) PCI\VEN_1B21&DEV_2142
  #USBROOT(0) USB\ROOT_HUB20 error 13
  #USBROOT(0)#USB(1) USB\VID_1234&PID_5678 Port_#0001.Hub_#0003
  #USBROOT(0)#USB(1)#USB(12) USB\VID_1234&PID_5678 Port_#0012.Hub_#0004
  #USBROOT(1) USB\ROOT_HUB30 error 13
)"},
    {"board with platform controllers",
     R"(
platform
  soc
    fe980000.usb
      usb1 1d6b:0002 hub 480
        1-1 1234:5678 hub 480
  scb
    fd500000.pcie
      pci0001:00
        0001:00:00.0
          0001:01:00.0 vendor=0x1106 device=0x3483 class=0x0c0330
            usb2 1d6b:0002 hub 480
  vhci_hcd.0
    usb3 1d6b:0002 hub 480
      3-1 1234:5678 hub 480
    usb4 1d6b:0003 hub 5000
)",
     R"(PLATFORM(soc)#PLATFORM(fe980000.usb) PLATFORM\fe980000.usb
  #USBROOT(0) USB\ROOT_HUB20 error 13
  #USBROOT(0)#USB(1) USB\VID_1234&PID_5678 Port_#0001.Hub_#0001
PLATFORM(scb)#PLATFORM(fd500000.pcie)#PCIROOT(100)#PCI(0000)#PCI(0000) PCI\VEN_1106&DEV_3483
  #USBROOT(0) USB\ROOT_HUB20 error 13
PLATFORM(vhci_hcd.0) PLATFORM\vhci_hcd.0
  #USBROOT(0) USB\ROOT_HUB20 error 13
  #USBROOT(0)#USB(1) USB\VID_1234&PID_5678 Port_#0001.Hub_#0004
  #USBROOT(1) USB\ROOT_HUB30 error 13
)"},
    {"hubs five tiers deep",
     R"(
pci0000:00
  0000:00:1d.7
    usb1 1d6b:0001 hub 12
      1-1 1234:0001 hub 12
        1-1.1 1234:0002 hub 12
          1-1.1.3 1234:0003 hub 12
            1-1.1.3.2 1234:0004 hub 12
              1-1.1.3.2.4 1234:ABcd hub 1.5
)",
     R"(PCIROOT(0)#PCI(1D07) PLATFORM\0000:00:1d.7
  #USBROOT(0) USB\ROOT_HUB error 13
  #USBROOT(0)#USB(1) USB\VID_1234&PID_0001 Port_#0001.Hub_#0001
  #USBROOT(0)#USB(1)#USB(1) USB\VID_1234&PID_0002 Port_#0001.Hub_#0002
  #USBROOT(0)#USB(1)#USB(1)#USB(3) USB\VID_1234&PID_0003 Port_#0003.Hub_#0003
  #USBROOT(0)#USB(1)#USB(1)#USB(3)#USB(2) USB\VID_1234&PID_0004 Port_#0002.Hub_#0004
  #USBROOT(0)#USB(1)#USB(1)#USB(3)#USB(2)#USB(4) USB\VID_1234&PID_ABCD Port_#0004.Hub_#0005
)"},
    {"two docks in a chain, the second with a controller of its own",
     R"(
pci0000:00
  0000:00:07.0
    0000:2b:00.0
      0000:2c:02.0
        0000:2d:00.0 vendor=0x8086 device=0x15f0 class=0x0c0330
          usb3 1d6b:0002 hub 480
            3-2 1234:5678 hub 480
          usb4 1d6b:0003 hub 10000
            4-1 1234:5678 hub 10000
  0000:00:14.0 vendor=0x8086 device=0xa12f class=0x0c0330
    usb1 1d6b:0002 hub 480
      1-2 1234:5678 hub 480
        1-2.4 1234:5678 hub 480
          1-2.4.1 0a0b:0c0e billboard 12
    usb2 1d6b:0003 hub 10000
      2-2 1234:5678 hub 10000
        2-2.4 1234:5678 hub 5000
)",
     R"(PCIROOT(0)#PCI(1400) PCI\VEN_8086&DEV_A12F
  #USBROOT(0) USB\ROOT_HUB20 error 13
  #USBROOT(0)#USB(2) USB\VID_1234&PID_5678 Port_#0002.Hub_#0001
  #USBROOT(0)#USB(2)#USB(4) USB\VID_1234&PID_5678 Port_#0004.Hub_#0002
  #USBROOT(1) USB\ROOT_HUB30 error 13
  #USBROOT(1)#USB(2) USB\VID_1234&PID_5678 Port_#0002.Hub_#0004
  #USBROOT(1)#USB(2)#USB(4) USB\VID_1234&PID_5678 Port_#0004.Hub_#0005
PCIROOT(0)#PCI(0700)#PCI(0000)#PCI(0200)#PCI(0000) PCI\VEN_8086&DEV_15F0
  #USBROOT(0) USB\ROOT_HUB20 error 13
  #USBROOT(0)#USB(2) USB\VID_1234&PID_5678 Port_#0002.Hub_#0007
  #USBROOT(1) USB\ROOT_HUB30 error 13
  #USBROOT(1)#USB(1) USB\VID_1234&PID_5678 Port_#0001.Hub_#0009
)"},
};

TEST(LinuxMachine, ShowsItsControllersAndHubsTheSameToEveryProcess)
{
    for (const Machine& machine : kMachines) {
        SCOPED_TRACE(machine.pszName);
        const CSysfsTree sysfs(machine.pszLayout);
        CAsked asked(sysfs);
        EXPECT_EQ(asked.Hubs(), machine.pszHubs);
        const std::vector<DWORD> hubs = asked.Present(kGuidUsbHub);
        EXPECT_EQ(CAsked(sysfs).Present(kGuidUsbHub), hubs);
        EXPECT_EQ(std::set<DWORD>(hubs.begin(), hubs.end()).size(), hubs.size());
        EXPECT_EQ(std::count(hubs.begin(), hubs.end(), 0u), 0);
        for (const DWORD a : hubs) // a query for one hub's power must not find another's
            for (const DWORD b : hubs)
                EXPECT_TRUE(a == b || asked.InstanceId(a).rfind(asked.InstanceId(b), 0) != 0);
    }
}

class LinuxDeviceTree : public testing::Test
{
protected:
    DWORD Hub() { return m_asked.HubAt(kHub); }
    DWORD Parent(DWORD devInst)
    {
        DWORD dwParent = 0;
        return m_asked.Tree().GetParent(&dwParent, devInst) == kCrSuccess ? dwParent : 0;
    }

    static constexpr const char* kHub = "PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(4)";

    CSysfsTree m_sysfs{kLaptop};
    CAsked m_asked{m_sysfs};
};

TEST_F(LinuxDeviceTree, LeadsFromTheControllerDownAndBackUp)
{
    CLinuxDeviceTree& tree = m_asked.Tree();
    const auto child = [&](DWORD devInst) {
        DWORD dwChild = 0;
        EXPECT_EQ(tree.GetChild(&dwChild, devInst), kCrSuccess);
        return dwChild;
    };
    const DWORD dwController = m_asked.Present(kGuidUsbHostController).front();
    const DWORD dwRoot = child(dwController);
    DWORD dwSuperRoot = 0;
    DWORD dwNobody = 0;
    EXPECT_EQ(tree.GetSibling(&dwSuperRoot, dwRoot), kCrSuccess);
    EXPECT_EQ(tree.GetSibling(&dwNobody, dwSuperRoot), kCrNoSuchDevNode);
    EXPECT_EQ(child(dwRoot), Hub());
    EXPECT_EQ(tree.GetSibling(&dwNobody, Hub()), kCrSuccess); // the billboard device
    EXPECT_EQ(m_asked.Path(child(Hub())), std::string(kHub) + "#USB(2)");
    EXPECT_EQ(Parent(child(Hub())), Hub());
    EXPECT_EQ(Parent(Hub()), dwRoot);
    EXPECT_EQ(Parent(dwSuperRoot), dwController);
    EXPECT_EQ(tree.GetParent(&dwNobody, dwController), kCrNoSuchDevNode);
    EXPECT_EQ(tree.GetParent(&dwNobody, 0), kCrInvalidDevNode);
}

TEST_F(LinuxDeviceTree, NamesTheDeviceFileBehindEveryInterface)
{
    EXPECT_EQ(m_asked.DeviceFile(Hub(), kGuidUsbHub), "/bus/usb/001/002");
    EXPECT_EQ(m_asked.DeviceFile(Hub(), kGuidUsbDevice), "error 259");
    const std::vector<DWORD> devices = m_asked.Present(kGuidUsbDevice);
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(m_asked.DeviceFile(devices[0], kGuidUsbDevice), "/bus/usb/001/003");
    const std::vector<DWORD> hids = m_asked.Present(kGuidHid);
    ASSERT_EQ(hids.size(), 1u);
    EXPECT_EQ(m_asked.DeviceFile(hids[0], kGuidHid), "/hidraw0");
    EXPECT_EQ(m_asked.Id(hids[0]), "HID\\VID_0A0B&PID_0C0D");
    EXPECT_EQ(Parent(hids[0]), devices[0]);
    EXPECT_EQ(m_asked.Text(devices[1], kPropDeviceDesc), "Billboard Device");
}

TEST_F(LinuxDeviceTree, TellsAReceiverFromTheDeviceThatItSpeaksFor)
{
    const std::string strFolder =
        m_sysfs.File("1-4.2", "1-4.2:1.0/0003:0A0B:0C0D.0000/0003:0A0B:4069.0001/hidraw/hidraw1");
    std::filesystem::create_directories(strFolder);
    std::filesystem::create_directory_symlink("../../" +
                                                  strFolder.substr(m_sysfs.SysRoot().size() + 1),
                                              m_sysfs.SysRoot() + "/class/hidraw/hidraw1");
    const std::vector<DWORD> hids = m_asked.Present(kGuidHid);
    ASSERT_EQ(hids.size(), 2u);
    const size_t nOwn = m_asked.Id(hids[0]) == "HID\\VID_0A0B&PID_0C0D" ? 0 : 1;
    EXPECT_EQ(m_asked.Id(hids[1 - nOwn]), "HID\\VID_0A0B&PID_4069");
    EXPECT_EQ(m_asked.DeviceFile(hids[nOwn], kGuidHid), "/hidraw0");
    EXPECT_EQ(m_asked.DeviceFile(hids[1 - nOwn], kGuidHid), "/hidraw1");
}

TEST_F(LinuxDeviceTree, TellsTheSuperSpeedHalfByItsCompatibleIds)
{
    const DWORD dwSuper = m_asked.HubAt("PCIROOT(0)#PCI(1400)#USBROOT(1)#USB(4)");
    EXPECT_THAT(m_asked.List(dwSuper, kKeyCompatibleIds),
                ElementsAre("USB\\USB30_HUB", "USB\\Class_09&SubClass_00&Prot_03",
                            "USB\\Class_09&SubClass_00", "USB\\Class_09"));
    EXPECT_EQ(m_asked.List(Hub(), kKeyCompatibleIds).front(), "USB\\USB20_HUB");
    for (const DWORD devInst : m_asked.Present(kGuidUsbHub))
        for (const std::string& strId : m_asked.List(devInst, kKeyCompatibleIds))
            EXPECT_TRUE(devInst == dwSuper || strId.find("USB30_HUB") == std::string::npos);
}

TEST_F(LinuxDeviceTree, KnowsAReturningHubAgainAlsoWithNewFirmware)
{
    const DWORD dwHub = Hub();
    m_sysfs.Unplug("1-4");
    EXPECT_EQ(Hub(), 0u);
    DWORD dwStatus = 0;
    DWORD dwProblem = 0;
    EXPECT_EQ(m_asked.Tree().GetNodeStatus(&dwStatus, &dwProblem, dwHub), kCrNoSuchDevNode);
    EXPECT_EQ(Parent(dwHub), 0u);
    EXPECT_EQ(m_asked.Path(dwHub), kHub); // it is remembered
    m_sysfs.Add("1-4 1234:5678 hub 480 bcdDevice=0200", "usb1");
    EXPECT_EQ(Hub(), dwHub);
    EXPECT_EQ(m_asked.Id(dwHub), "USB\\VID_1234&PID_5678&REV_0200");
    EXPECT_EQ(m_asked.DeviceFile(dwHub, kGuidUsbHub), "/bus/usb/001/005");
    m_sysfs.Unplug("1-4");
    m_sysfs.Add("1-4 1234:5678 hub 480", "usb1");
    EXPECT_EQ(Hub(), 0u) << "gone and back between two looks is seen to have gone";
    EXPECT_EQ(Hub(), dwHub);
    EXPECT_EQ(m_asked.DeviceFile(dwHub, kGuidUsbHub), "/bus/usb/001/006");
}

TEST_F(LinuxDeviceTree, WaitsForTheRightsOfADeviceThatJustCame)
{
    namespace fs = std::filesystem;
    m_sysfs.Unplug("1-4");
    m_sysfs.Add("1-4 1234:5678 hub 480", "usb1");
    const fs::path file = fs::path(m_sysfs.DevRoot()) / "bus/usb/001/005";
    fs::create_directories(file.parent_path());
    std::ofstream(file) << "node";
    fs::permissions(file, fs::perms::none);
    fs::permissions(file.parent_path() / "../../../..", fs::perms(0755));
    constexpr uid_t kNobody = 65534;
    const bool bRoot = ::geteuid() == 0; // whom no mode keeps out
    EXPECT_TRUE(!bRoot || ::seteuid(kNobody) == 0);
    EXPECT_EQ(Hub(), 0u);
    EXPECT_EQ(Hub(), 0u) << "not for one look alone";
    EXPECT_TRUE(!bRoot || ::seteuid(0) == 0);
    fs::permissions(file, fs::perms(0600));
    EXPECT_NE(Hub(), 0u);
}

TEST_F(LinuxDeviceTree, GivesAnotherDeviceAtTheSamePlaceAnotherNumber)
{
    const DWORD dwHub = Hub();
    m_sysfs.Unplug("1-4");
    m_sysfs.Add("1-4 1234:5679 hub 480", "usb1");
    EXPECT_NE(Hub(), 0u);
    EXPECT_NE(Hub(), dwHub);
}

TEST_F(LinuxDeviceTree, LooksOnWhileHubsComeAndGo)
{
    std::atomic<bool> bDone{false};
    std::thread other([&] {
        for (int i = 0; i < 60; ++i) {
            m_sysfs.Unplug("1-4");
            m_sysfs.Add("1-4 1234:5678 hub 480", "usb1");
        }
        bDone = true;
    });
    while (!bDone) {
        for (const DWORD devInst : m_asked.Present(kGuidUsbHub)) {
            EXPECT_NE(m_asked.Path(devInst), "");
            (void)m_asked.Text(devInst, kPropLocationInformation);
        }
    }
    other.join();
    EXPECT_NE(Hub(), 0u);
}

TEST_F(LinuxDeviceTree, ReportsADeviceThatTheSystemKeepsOut)
{
    const DWORD dwHub = Hub();
    DWORD dwStatus = 0;
    DWORD dwProblem = 0;
    EXPECT_EQ(m_asked.Tree().GetNodeStatus(&dwStatus, &dwProblem, dwHub), kCrSuccess);
    EXPECT_EQ(dwStatus & kNodeHasProblem, 0u);
    m_sysfs.Set("1-4", "authorized", "0");
    EXPECT_EQ(m_asked.Tree().GetNodeStatus(&dwStatus, &dwProblem, dwHub), kCrSuccess);
    EXPECT_EQ(dwStatus & kNodeHasProblem, kNodeHasProblem);
}

// What cannot be used is not there; the rest of the machine is.
struct Oddity
{
    const char* pszName;
    void (*pfnDo)(CSysfsTree& sysfs);
    bool bHubIsThere;
};

const Oddity kOddities[] = {
    {"NoVendor", [](CSysfsTree& s) { s.Drop("1-4", "idVendor"); }, false},
    {"EmptyProduct", [](CSysfsTree& s) { s.Set("1-4", "idProduct", ""); }, false},
    {"LongVendor", [](CSysfsTree& s) { s.Set("1-4", "idVendor", "12345"); }, false},
    {"NoNumber", [](CSysfsTree& s) { s.Drop("1-4", "devnum"); }, false},
    {"NumberTooLarge", [](CSysfsTree& s) { s.Set("1-4", "devnum", "99999999999"); }, false},
    {"NumberOfBytes", [](CSysfsTree& s) { s.Set("1-4", "devnum", "\xFF\xFE"); }, false},
    {"FolderGoneLinkLeft", [](CSysfsTree& s) { std::filesystem::remove_all(s.File("1-4", "")); },
     false},
    {"AttributeIsAFolder",
     [](CSysfsTree& s) {
         s.Drop("1-4", "idVendor");
         std::filesystem::create_directory(s.File("1-4", "idVendor"));
     },
     false},
    {"NoRevision", [](CSysfsTree& s) { s.Drop("1-4", "bcdDevice"); }, true},
    {"OddSpeed", [](CSysfsTree& s) { s.Set("1-4", "speed", "unknown"); }, true},
    {"NoSubClass", [](CSysfsTree& s) { s.Drop("1-4", "bDeviceSubClass"); }, true},
    {"StrangeLinks",
     [](CSysfsTree& s) {
         const std::string strLinks = s.SysRoot() + "/bus/usb/devices/";
         for (const char* const pszName : {"1-", "usb", "usbx", "1-4.", "1-0", "\xC3\xA9-1", "1-9"})
             std::filesystem::create_directory_symlink("/nowhere", strLinks + pszName);
         std::ofstream(strLinks + "2-9") << "no link";
     },
     true},
};

TEST(OddSysfs, LeavesTheRestOfTheMachineAsItIs)
{
    for (const Oddity& oddity : kOddities) {
        SCOPED_TRACE(oddity.pszName);
        CSysfsTree sysfs(kLaptop);
        oddity.pfnDo(sysfs);
        CAsked asked(sysfs);
        EXPECT_EQ(asked.HubAt("PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(4)") != 0, oddity.bHubIsThere);
        EXPECT_EQ(asked.Present(kGuidUsbHub).size(), oddity.bHubIsThere ? 4u : 3u);
        for (const DWORD devInst : asked.Present(kGuidUsbDevice))
            EXPECT_NE(asked.Path(devInst), ""); // also of one whose hub cannot be used
    }
}

TEST_F(LinuxDeviceTree, LeavesOutIdsThatItCannotRead)
{
    m_sysfs.Drop("1-4", "bcdDevice");
    m_sysfs.Drop("1-4", "bDeviceSubClass");
    m_sysfs.Drop("1-7", "bDeviceClass");
    EXPECT_THAT(m_asked.List(Hub(), kKeyHardwareIds), ElementsAre("USB\\VID_1234&PID_5678"));
    EXPECT_THAT(m_asked.List(Hub(), kKeyCompatibleIds),
                ElementsAre("USB\\USB20_HUB", "USB\\Class_09"));
    EXPECT_THAT(m_asked.List(m_asked.Present(kGuidUsbDevice)[1], kKeyCompatibleIds), IsEmpty());
}

TEST_F(LinuxDeviceTree, TakesNamesOfAnyBytes)
{
    m_sysfs.Set("1-4.2", "product", "Ger\xC3\xA4t \xFF");
    const DWORD dwDevice = m_asked.Present(kGuidUsbDevice)[0];
    EXPECT_EQ(m_asked.Text(dwDevice, kPropDeviceDesc), "Ger\xC3\xA4t ?");
    m_sysfs.Drop("1-4.2", "product");
    EXPECT_EQ(m_asked.Text(dwDevice, kPropDeviceDesc), "USB Device");

    const CSysfsTree board("platform\n  h\xC3\xA9(#1)\n    usb1 1d6b:0002 hub 480\n");
    CAsked asked(board);
    EXPECT_EQ(asked.Path(asked.Present(kGuidUsbHub).front()),
              "PLATFORM(h%C3%A9%28%231%29)#USBROOT(0)");
    EXPECT_EQ(ControllerFolderOf("devices/platform/usb1/a.usb/usb1/1-1", 1),
              "devices/platform/usb1/a.usb");
}

TEST_F(LinuxDeviceTree, IsEmptyWhereThereIsNoUsb)
{
    const CSysfsTree empty("pci0000:00\n");
    CAsked asked(empty);
    EXPECT_THAT(asked.Present(kGuidUsbHub), IsEmpty());
    std::filesystem::remove_all(empty.SysRoot());
    EXPECT_THAT(asked.Present(kGuidUsbHostController), IsEmpty());
}

// The hash of the one hub's place and IDs is the other's.
constexpr const char* kSharedNumber = R"(
platform
  x
    usb1 1d6b:0002 hub 480
      1-1 1234:ca6b hub 480
      1-2 1007:4e68 hub 480
)";

TEST_F(LinuxDeviceTree, ResolvesNodesThatShareANumberTheSameWayEveryTime)
{
    const CSysfsTree sysfs(kSharedNumber);
    CAsked one(sysfs);
    CAsked other(sysfs);
    const std::vector<DWORD> hubs = one.Present(kGuidUsbHub);
    ASSERT_EQ(hubs.size(), 3u);
    EXPECT_EQ(std::max(hubs[1], hubs[2]) - std::min(hubs[1], hubs[2]), 1u);
    EXPECT_EQ(other.Present(kGuidUsbHub), hubs);
}
} // namespace
