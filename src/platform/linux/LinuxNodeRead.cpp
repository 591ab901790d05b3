#include "platform/linux/LinuxNodeRead.h"

#include <algorithm>
#include <charconv>

#include "platform/AsciiCase.h"
#include "platform/IDeviceTree.h"

namespace
{
constexpr BYTE kClassHub = 9;
constexpr unsigned kSuperSpeed = 5000;
constexpr unsigned kHighSpeed = 480;
constexpr unsigned kMostDevNum = 127;

/// Exactly so many hexadecimal digits, as upper case; nothing for anything else.
std::optional<WString> HexDigits(const std::optional<std::string>& strText, std::size_t nDigits)
{
    if (!strText || strText->size() != nDigits)
        return std::nullopt;
    WString strHex;
    for (const char ch : *strText) {
        const WCHAR chUpper = UpperAscii(static_cast<WCHAR>(ch));
        const bool bDigit =
            (chUpper >= '0' && chUpper <= '9') || (chUpper >= 'A' && chUpper <= 'F');
        if (!bDigit)
            return std::nullopt;
        strHex += chUpper;
    }
    return strHex;
}

unsigned NumberOr(const std::optional<std::string>& strText, unsigned nDefault, int nBase = 10)
{
    unsigned nValue = 0;
    if (!strText)
        return nDefault;
    const char* const pEnd = strText->data() + strText->size();
    const std::from_chars_result result = std::from_chars(strText->data(), pEnd, nValue, nBase);
    return result.ec == std::errc() ? nValue : nDefault; // "1.5" Mbit/s counts as 1
}

void ReadClass(const CSysfs& sysfs, USB_ENTRY* pEntry)
{
    const auto Digits = [&](const char* pszName) {
        return HexDigits(sysfs.Read(pEntry->strFolder + pszName), 2);
    };
    const std::optional<WString> strClass = Digits("/bDeviceClass");
    const std::optional<WString> strSubClass = Digits("/bDeviceSubClass");
    const std::optional<WString> strProtocol = Digits("/bDeviceProtocol");
    if (!strClass)
        return;
    pEntry->byClass =
        static_cast<BYTE>(NumberOr(std::string(strClass->begin(), strClass->end()), 0, 16));
    const WString strBase = Join({WTEXT("USB\\Class_"), *strClass});
    if (strSubClass && strProtocol)
        pEntry->classIds.push_back(
            Join({strBase, WTEXT("&SubClass_"), *strSubClass, WTEXT("&Prot_"), *strProtocol}));
    if (strSubClass)
        pEntry->classIds.push_back(Join({strBase, WTEXT("&SubClass_"), *strSubClass}));
    pEntry->classIds.push_back(strBase);
}

/// Unique last part of an instance ID. Its length is the same for all devices on one hub: no ID
/// is the beginning of another, which a query with a pattern would take for the same.
WString PlaceSerial(const WString& strParentPath, const USB_PLACE& place)
{
    return Join({WideHex(place.ports.size() + 4, 1), WTEXT("&"),
                 WideHex(HashText(strParentPath), 8), WTEXT("&0&"),
                 WideNumber(place.ports.empty() ? 0 : place.ports.back(), 3)});
}

void FillRootHub(const USB_ENTRY& entry, LINUX_NODE* pNode)
{
    WString strName = WTEXT("USB\\ROOT_HUB");
    if (entry.nSpeed >= kHighSpeed)
        strName += entry.nSpeed >= kSuperSpeed ? WTEXT("30") : WTEXT("20");
    WString strIds = entry.strVidPid; // a root hub's IDs carry no underscores
    std::erase(strIds, WTEXT('_'));
    pNode->eKind = LinuxNodeKind::RootHub;
    if (!entry.strRevision.empty())
        pNode->hardwareIds.push_back(
            Join({strName, WTEXT("&"), strIds, WTEXT("&REV"), entry.strRevision}));
    pNode->hardwareIds.push_back(Join({strName, WTEXT("&"), strIds}));
    pNode->hardwareIds.push_back(strName);
    pNode->strInstanceId = strName;
}

void FillDevice(const USB_ENTRY& entry, LINUX_NODE* pNode)
{
    pNode->eKind = entry.byClass == kClassHub ? LinuxNodeKind::Hub : LinuxNodeKind::Device;
    pNode->strInstanceId = Join({WTEXT("USB\\"), entry.strVidPid});
    if (!entry.strRevision.empty())
        pNode->hardwareIds.push_back(
            Join({pNode->strInstanceId, WTEXT("&REV_"), entry.strRevision}));
    pNode->hardwareIds.push_back(pNode->strInstanceId);
    if (pNode->eKind == LinuxNodeKind::Hub)
        pNode->compatibleIds.push_back(pNode->bSuperSpeed ? WTEXT("USB\\USB30_HUB")
                                                          : WTEXT("USB\\USB20_HUB"));
}

std::string ParentFolder(const std::string& strFolder)
{
    return strFolder.substr(0, strFolder.rfind('/'));
}

std::string LastName(const std::string& strFolder)
{
    return strFolder.substr(strFolder.rfind('/') + 1);
}
} // namespace

std::optional<USB_ENTRY> ReadUsbEntry(const CSysfs& sysfs, const std::string& strFolder,
                                      const USB_PLACE& place)
{
    USB_ENTRY entry;
    entry.strFolder = strFolder;
    entry.place = place;
    entry.strDevNum = sysfs.Read(strFolder + "/devnum").value_or("");
    const unsigned nDevNum = NumberOr(entry.strDevNum, 0);
    const std::optional<WString> strVid = HexDigits(sysfs.Read(strFolder + "/idVendor"), 4);
    const std::optional<WString> strPid = HexDigits(sysfs.Read(strFolder + "/idProduct"), 4);
    if (nDevNum == 0 || nDevNum > kMostDevNum || !strVid || !strPid)
        return std::nullopt;
    entry.strVidPid = Join({WTEXT("VID_"), *strVid, WTEXT("&PID_"), *strPid});
    entry.strRevision = HexDigits(sysfs.Read(strFolder + "/bcdDevice"), 4).value_or(WString());
    entry.nSpeed = NumberOr(sysfs.Read(strFolder + "/speed"), 0);
    ReadClass(sysfs, &entry);
    return entry;
}

std::string UsbDeviceFile(const std::string& strDevRoot, const USB_ENTRY& entry)
{
    const auto Digits = [](unsigned nValue) {
        const std::string strText = std::to_string(nValue);
        return std::string(strText.size() < 3 ? 3 - strText.size() : 0, '0') + strText;
    };
    return strDevRoot + "/bus/usb/" + Digits(entry.place.nBus) + "/" +
           Digits(NumberOr(entry.strDevNum, 0));
}

LINUX_NODE MakeUsbNode(const USB_ENTRY& entry, const std::string& strDevRoot,
                       const WString& strController, unsigned nRootHub)
{
    LINUX_NODE node;
    node.strFolder = entry.strFolder;
    node.strParentFolder = ParentFolder(entry.strFolder);
    node.strDevNum = entry.strDevNum;
    node.place = entry.place;
    node.byClass = entry.byClass;
    node.bSuperSpeed = entry.nSpeed >= kSuperSpeed;
    WString strParentPath = strController;
    if (entry.place.ports.empty()) {
        FillRootHub(entry, &node);
    } else {
        FillDevice(entry, &node);
        std::vector<unsigned> above = entry.place.ports;
        above.pop_back();
        strParentPath = LocationPath(strController, nRootHub, above);
    }
    node.compatibleIds.insert(node.compatibleIds.end(), entry.classIds.begin(),
                              entry.classIds.end());
    node.locationPaths = {LocationPath(strController, nRootHub, entry.place.ports)};
    node.strInstanceId += Join({WTEXT("\\"), PlaceSerial(strParentPath, entry.place)});
    node.strDeviceFile = UsbDeviceFile(strDevRoot, entry);
    return node;
}

LINUX_NODE MakeControllerNode(const CSysfs& sysfs, const std::string& strFolder, unsigned nFirstBus)
{
    LINUX_NODE node;
    node.eKind = LinuxNodeKind::Controller;
    node.strFolder = strFolder;
    node.strDeviceFile = "/sys/" + strFolder; // a name, nothing that can be opened
    node.place.nBus = nFirstBus;
    const WString strPath = ControllerPath(strFolder);
    node.locationPaths = {strPath};
    const auto Digits = [&](const char* pszName) -> WString {
        const std::string strText = sysfs.Read(strFolder + pszName).value_or("");
        const std::size_t nDigits = strText.size() > 2 ? strText.size() - 2 : 0; // behind "0x"
        return HexDigits(strText.substr(strText.size() - nDigits), nDigits).value_or(WString());
    };
    const WString strVendor = Digits("/vendor");
    const WString strDevice = Digits("/device");
    WString strId = Join({WTEXT("PLATFORM\\"), PlainText(LastName(strFolder))});
    if (!strVendor.empty() && !strDevice.empty())
        strId = Join({WTEXT("PCI\\VEN_"), strVendor, WTEXT("&DEV_"), strDevice});
    node.hardwareIds = {strId};
    if (const WString strClass = Digits("/class"); !strClass.empty())
        node.compatibleIds = {Join({WTEXT("PCI\\CC_"), strClass})};
    node.strInstanceId = Join({strId, WTEXT("\\"), WideHex(HashText(strPath), 8)});
    return node;
}

std::optional<LINUX_NODE> MakeHidNode(const std::string& strFolder, const std::string& strDevRoot,
                                      const LINUX_NODE& device)
{
    // .../1-2/1-2:1.0/0003:1234:5678.0001/hidraw/hidraw0; below a wireless receiver's HID folder
    // are those of the devices that it speaks for.
    const std::string strRest = strFolder.substr(device.strFolder.size());
    const std::size_t nColon = strRest.find(':');
    const std::size_t nInterfaceEnd = strRest.find('/', 1);
    const std::string strName = LastName(strFolder);
    const std::string strHid = LastName(ParentFolder(ParentFolder(strFolder)));
    if (nColon == std::string::npos || nInterfaceEnd == std::string::npos ||
        nColon > nInterfaceEnd || strHid.size() < 14)
        return std::nullopt;
    const std::optional<WString> strVid = HexDigits(strHid.substr(5, 4), 4);
    const std::optional<WString> strPid = HexDigits(strHid.substr(10, 4), 4);
    if (!strVid || !strPid)
        return std::nullopt;
    LINUX_NODE node;
    node.eKind = LinuxNodeKind::Hid;
    node.strFolder = strFolder;
    node.strParentFolder = device.strFolder;
    node.strDevNum = device.strDevNum;
    node.place = device.place;
    node.strDeviceFile = strDevRoot + "/" + strName;
    node.hardwareIds = {Join({WTEXT("HID\\VID_"), *strVid, WTEXT("&PID_"), *strPid})};
    // The interface tells a device's collections apart; the kernel's own counter does not stay.
    const WString strInterface = PlainText(strRest.substr(nColon + 1, nInterfaceEnd - nColon - 1));
    node.strInstanceId =
        Join({node.hardwareIds.front(), WTEXT("\\"), WideHex(HashText(device.strInstanceId), 8),
              WTEXT("&"), strInterface});
    return node;
}

DWORD HashText(const WString& strText)
{
    DWORD dwHash = 2166136261U;
    for (const WCHAR ch : strText) {
        for (const unsigned nByte : {ch & 0xFFU, static_cast<unsigned>(ch) >> 8}) {
            dwHash ^= nByte;
            dwHash *= 16777619U;
        }
    }
    return dwHash;
}

WString NumberSeed(const LINUX_NODE& node)
{
    // An update changes the revision, so it takes no part.
    const WString strPlace =
        node.locationPaths.empty() ? node.strInstanceId : node.locationPaths.front();
    return Join({strPlace, WTEXT("|"), node.hardwareIds.back()});
}

const GUID& InterfaceClassOf(const LINUX_NODE& node)
{
    switch (node.eKind) {
    case LinuxNodeKind::Controller:
        return kGuidUsbHostController;
    case LinuxNodeKind::RootHub:
    case LinuxNodeKind::Hub:
        return kGuidUsbHub;
    case LinuxNodeKind::Hid:
        return kGuidHid;
    case LinuxNodeKind::Device:
        break;
    }
    return kGuidUsbDevice;
}
