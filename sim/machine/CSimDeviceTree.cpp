#include "sim/machine/CSimDeviceTree.h"

#include "sim/machine/SimText.h"
#include "sim/models/CSimPlainDevice.h"

#include <stdexcept>

using SimText::Decimal;
using SimText::Hex;

namespace
{
constexpr BYTE kClassHub = 9;

WString VidPid(USHORT wVid, USHORT wPid)
{
    return WTEXT("VID_") + Hex(wVid, 4) + WTEXT("&PID_") + Hex(wPid, 4);
}

std::vector<WString> Below(const std::vector<WString>& paths, const WString& strSegment)
{
    std::vector<WString> below;
    below.reserve(paths.size());
    for (const WString& strPath : paths)
        below.push_back(strPath + strSegment);
    return below;
}

unsigned DepthOf(const CSimNode* pNode)
{
    return pNode == nullptr ? 0 : 1 + DepthOf(pNode->Parent());
}

/// The unique last part of an instance ID, from the place.
WString PlaceSerial(const CSimNode& parent, unsigned nPort)
{
    return Hex(DepthOf(&parent) + 2, 1) + WTEXT("&") +
           Hex(SimText::Hash(parent.Traits().strInstanceId) & 0x0FFFFFFF, 7) + WTEXT("&0&") +
           Decimal(nPort);
}

WString SeedOf(const SimNodeTraits& traits)
{
    WString strSeed = traits.locationPaths.empty() ? WString() : traits.locationPaths.front();
    strSeed += WTEXT("|");
    strSeed += traits.hardwareIds.empty() ? traits.strInstanceId : traits.hardwareIds.back();
    return strSeed;
}

std::vector<WString> ClassIds(BYTE byClass, BYTE byProtocol)
{
    const WString strClass = WTEXT("USB\\Class_") + Hex(byClass, 2);
    return {strClass + WTEXT("&SubClass_00&Prot_") + Hex(byProtocol, 2),
            strClass + WTEXT("&SubClass_00"), strClass};
}
} // namespace

CSimDeviceTree::CSimDeviceTree(CSimClock& clock) : m_clock(clock) {}

CSimDeviceTree::~CSimDeviceTree() = default;

CSimNode& CSimDeviceTree::AddHostController(DWORD devInst)
{
    const unsigned nPlace = m_nControllers++;
    SimNodeTraits traits;
    traits.devInst = devInst;
    traits.strInstanceId = WTEXT("PCI\\VEN_8888&DEV_1400&SUBSYS_00000000&REV_01\\3&11583659&0&") +
                           Hex(0xA0 + nPlace, 2);
    traits.hardwareIds = {WTEXT("PCI\\VEN_8888&DEV_1400&SUBSYS_00000000&REV_01"),
                          WTEXT("PCI\\VEN_8888&DEV_1400&CC_0C0330")};
    traits.compatibleIds = {WTEXT("PCI\\CC_0C0330"), WTEXT("PCI\\CC_0C03")};
    traits.locationPaths = {WTEXT("PCIROOT(0)#PCI(") + Hex(0x1400 + nPlace, 4) + WTEXT(")")};
    traits.strLocationInformation = WTEXT("PCI bus 0, device 20, function ") + Decimal(nPlace);
    traits.strDescription = WTEXT("USB xHCI Compliant Host Controller");
    traits.interfaces = {{kGuidUsbHostController, {}}};
    return AddNode(nullptr, std::move(traits));
}

CSimNode& CSimDeviceTree::AddRootHub(CSimNode& controller, DWORD devInst)
{
    SimNodeTraits traits;
    traits.devInst = devInst;
    traits.strInstanceId = WTEXT("USB\\ROOT_HUB30\\") + PlaceSerial(controller, 0);
    traits.hardwareIds = {WTEXT("USB\\ROOT_HUB30&VID8888&PID1400&REV0001"),
                          WTEXT("USB\\ROOT_HUB30&VID8888&PID1400"), WTEXT("USB\\ROOT_HUB30")};
    traits.locationPaths = Below(controller.Traits().locationPaths, WTEXT("#USBROOT(0)"));
    traits.strDescription = WTEXT("USB Root Hub (USB 3.0)");
    traits.interfaces = {{kGuidUsbHub, {}}};
    CSimNode& node = AddNode(&controller, std::move(traits));
    node.Traits().nHubNumber = ++m_nHubs;
    node.PowerObjects() = {{WString(), true}};
    return node;
}

CSimNode& CSimDeviceTree::AddHub(CSimNode& parent, unsigned nPort, const HubNodeOptions& options,
                                 ISimUsbDevice* pDevice)
{
    SimNodeTraits traits;
    traits.devInst = options.devInst;
    ComposeUsb(&parent, nPort, options.wVid, options.wPid, options.wRevision, options.strSerial,
               &traits);
    traits.compatibleIds = ClassIds(kClassHub, options.bSuperSpeed ? 3 : 2);
    traits.compatibleIds.insert(traits.compatibleIds.begin(), options.bSuperSpeed
                                                                  ? WTEXT("USB\\USB30_HUB")
                                                                  : WTEXT("USB\\USB20_HUB"));
    traits.strDescription =
        options.bSuperSpeed ? WTEXT("Generic SuperSpeed USB Hub") : WTEXT("Generic USB Hub");
    traits.interfaces = {{kGuidUsbHub, {}}};
    CSimNode& node = AddNode(&parent, std::move(traits), pDevice);
    node.Traits().nHubNumber = ++m_nHubs;
    node.PowerObjects() = {{WString(), true}};
    if (pDevice == nullptr)
        node.SetOwnDevice(
            std::make_unique<CSimPlainDevice>(m_clock, options.wVid, options.wPid, kClassHub));
    return node;
}

CSimNode& CSimDeviceTree::AddHubPair(CSimNode& parent, unsigned nPort, CSimNode& superParent,
                                     unsigned nSuperPort, const HubNodeOptions& options,
                                     ISimUsbDevice* pDevice)
{
    CSimNode& node = AddHub(parent, nPort, options, pDevice);
    HubNodeOptions superOptions = options;
    superOptions.bSuperSpeed = true;
    superOptions.devInst = 0;
    superOptions.strSerial.clear();
    CSimNode& superNode = AddHub(superParent, nSuperPort, superOptions, node.Device());
    node.SetTwin(&superNode);
    superNode.SetTwin(&node);
    return node;
}

CSimNode& CSimDeviceTree::AddDevice(CSimNode& parent, unsigned nPort,
                                    const DeviceNodeOptions& options, ISimUsbDevice* pDevice)
{
    SimNodeTraits traits;
    traits.devInst = options.devInst;
    ComposeUsb(&parent, nPort, options.wVid, options.wPid, options.wRevision, options.strSerial,
               &traits);
    traits.compatibleIds = ClassIds(options.byClass, 0);
    traits.strDescription = options.strDescription;
    traits.interfaces = {{kGuidUsbDevice, {}}};
    traits.bWinUsb = options.bWinUsb;
    CSimNode& node = AddNode(&parent, std::move(traits), pDevice);
    if (pDevice == nullptr)
        node.SetOwnDevice(std::make_unique<CSimPlainDevice>(m_clock, options.wVid, options.wPid,
                                                            options.byClass));
    return node;
}

CSimNode& CSimDeviceTree::AddHid(CSimNode& parent, const HidNodeOptions& options,
                                 ISimUsbDevice* pDevice)
{
    SimNodeTraits traits;
    traits.devInst = options.devInst;
    const WString strIds = VidPid(options.wVid, options.wPid);
    traits.strInstanceId = WTEXT("HID\\") + strIds + WTEXT("\\") + PlaceSerial(parent, 0) +
                           Decimal(parent.Children().size(), 3);
    traits.hardwareIds = {WTEXT("HID\\") + strIds + WTEXT("&REV_0100"), WTEXT("HID\\") + strIds};
    traits.strDescription = WTEXT("HID-compliant vendor-defined device");
    traits.interfaces = {{kGuidHid, {}}};
    HID_CAPS caps = {};
    caps.Usage = options.wUsage;
    caps.UsagePage = options.wUsagePage;
    caps.InputReportByteLength = 65;
    caps.OutputReportByteLength = 65;
    traits.hidCaps = caps;
    return AddNode(&parent, std::move(traits), pDevice == nullptr ? parent.Device() : pDevice);
}

CSimNode& CSimDeviceTree::AddNode(CSimNode* pParent, SimNodeTraits traits, ISimUsbDevice* pDevice)
{
    if (traits.devInst == 0)
        traits.devInst = FreeNumber(SeedOf(traits));
    else if (m_byNumber.contains(traits.devInst))
        throw std::invalid_argument("instance number is taken");
    m_nodes.push_back(std::make_unique<CSimNode>(*this, pParent, std::move(traits), pDevice));
    CSimNode& node = *m_nodes.back();
    m_byNumber[node.DevInst()] = &node;
    return node;
}

void CSimDeviceTree::ComposeUsb(CSimNode* pParent, unsigned nPort, USHORT wVid, USHORT wPid,
                                USHORT wRevision, const WString& strSerial,
                                SimNodeTraits* pTraits) const
{
    const WString strIds = WTEXT("USB\\") + VidPid(wVid, wPid);
    pTraits->strInstanceId =
        strIds + WTEXT("\\") + (strSerial.empty() ? PlaceSerial(*pParent, nPort) : strSerial);
    pTraits->hardwareIds = {strIds + WTEXT("&REV_") + Hex(wRevision, 4), strIds};
    pTraits->locationPaths =
        Below(pParent->Traits().locationPaths, WTEXT("#USB(") + Decimal(nPort) + WTEXT(")"));
    pTraits->strLocationInformation = WTEXT("Port_#") + Decimal(nPort, 4) + WTEXT(".Hub_#") +
                                      Decimal(pParent->Traits().nHubNumber, 4);
}

CSimNode* CSimDeviceTree::Find(DWORD devInst) const
{
    const auto it = m_byNumber.find(devInst);
    return it == m_byNumber.end() ? nullptr : it->second;
}

CSimNode* CSimDeviceTree::FindById(const WString& strId) const
{
    for (const auto& pNode : m_nodes)
        if (SimText::SameNoCase(pNode->Traits().strInstanceId, strId))
            return pNode.get();
    return nullptr;
}

CSimNode* CSimDeviceTree::FindByPath(const WString& strPath) const
{
    for (const auto& pNode : m_nodes)
        if (pNode->HasPath(strPath))
            return pNode.get();
    return nullptr;
}

/// A number from the seed, above those that people give by hand; the next one when it is taken.
DWORD CSimDeviceTree::FreeNumber(const WString& strSeed) const
{
    constexpr DWORD kFirst = 0x100000;
    DWORD devInst = kFirst + SimText::Hash(strSeed) % kFirst;
    while (m_byNumber.contains(devInst))
        devInst = devInst + 1 < 2 * kFirst ? devInst + 1 : kFirst;
    return devInst;
}

void CSimDeviceTree::Renumber(CSimNode& node, DWORD devInst, unsigned nGeneration)
{
    if (devInst == 0)
        devInst = FreeNumber(SeedOf(node.Traits()) + WTEXT("|") + Decimal(nGeneration));
    m_byNumber.erase(node.DevInst());
    if (!m_byNumber.emplace(devInst, &node).second)
        throw std::invalid_argument("instance number is taken");
    node.Traits().devInst = devInst;
}
