#include "platform/linux/CLinuxDeviceTree.h"

#include <algorithm>
#include <cstring>

#include "platform/ErrorCodes.h"
#include "platform/PropertyBytes.h"
#include "platform/linux/LinuxError.h"
#include "platform/linux/Utf8.h"

namespace
{
constexpr DWORD kErrInvalidUserBuffer = 1784;
constexpr DWORD kRegText = 1;
constexpr DWORD kRegTextList = 7;
constexpr DWORD kNodeStarted = 0x0180200A;
constexpr DWORD kProblemDisabled = 22;
constexpr BYTE kClassBillboard = 0x11;
constexpr GUID kSetupClassUsb = {
    0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};

std::vector<BYTE> NodeProperty(const LINUX_NODE& node, const DEVPROP_KEY& key)
{
    if (!SameGuid(key.fmtid, kKeyLocationPaths.fmtid))
        return {};
    if (key.pid == kKeyLocationPaths.pid)
        return ListBytes(node.locationPaths);
    if (key.pid == kKeyCompatibleIds.pid)
        return ListBytes(node.compatibleIds);
    return key.pid == kKeyHardwareIds.pid ? ListBytes(node.hardwareIds) : std::vector<BYTE>();
}

DWORD Answer(DWORD* pDevInst, const LinuxNodePtr& pNode)
{
    if (pNode == nullptr)
        return kCrNoSuchDevNode;
    *pDevInst = pNode->devInst;
    return kCrSuccess;
}
} // namespace

const CLinuxDeviceTree::Set* CLinuxDeviceTree::SetOf(HANDLE hSet) const
{
    const auto it = m_sets.find(hSet);
    if (it != m_sets.end())
        return &it->second;
    FailWith(kErrInvalidHandle);
    return nullptr;
}

/// The element, or null with the last error set.
LinuxNodePtr CLinuxDeviceTree::ElementOf(HANDLE hSet, const DEVINFO_DATA* pDev) const
{
    const Set* const pSet = SetOf(hSet);
    if (pSet == nullptr)
        return nullptr;
    if (pDev == nullptr || pDev->cbSize != sizeof(DEVINFO_DATA)) {
        FailWith(kErrInvalidUserBuffer);
        return nullptr;
    }
    for (const LinuxNodePtr& pNode : *pSet)
        if (pNode->devInst == pDev->DevInst)
            return pNode;
    FailWith(kErrInvalidParameter);
    return nullptr;
}

HANDLE CLinuxDeviceTree::GetClassDevs(const GUID* pClass, const WCHAR* pszEnumerator, DWORD dwFlags)
{
    const bool bAll = (dwFlags & kSetAllClasses) != 0;
    if (!bAll && pClass == nullptr) {
        FailWith(kErrInvalidParameter);
        return InvalidHandle();
    }
    Set set;
    if (bAll && pszEnumerator != nullptr) {
        set.push_back(FindById(pszEnumerator));
        if (set.front() == nullptr) {
            FailWith(kErrNoSuchDevInst);
            return InvalidHandle();
        }
    } else {
        m_nodes.Refresh();
        set = m_nodes.Present();
        if ((dwFlags & kSetPresent) == 0) {
            for (const auto& [devInst, pNode] : m_nodes.Known())
                if (std::find(set.begin(), set.end(), pNode) == set.end())
                    set.push_back(pNode);
        }
    }
    if (!bAll)
        std::erase_if(set, [&](const LinuxNodePtr& pNode) {
            return !SameGuid(InterfaceClassOf(*pNode), *pClass);
        });
    HANDLE const hSet = reinterpret_cast<HANDLE>(++m_nLastSet); // NOLINT(performance-no-int-to-ptr)
    m_sets[hSet] = std::move(set);
    FailWith(kErrNone);
    return hSet;
}

LinuxNodePtr CLinuxDeviceTree::FindById(const WString& strId)
{
    LinuxNodePtr pNode = m_nodes.FindById(strId);
    if (pNode == nullptr || !IsThere(*pNode)) {
        m_nodes.Refresh();
        pNode = m_nodes.FindById(strId);
    }
    return pNode;
}

bool CLinuxDeviceTree::EnumDeviceInfo(HANDLE hSet, DWORD dwIndex, DEVINFO_DATA* pDev)
{
    const Set* const pSet = SetOf(hSet);
    if (pSet == nullptr)
        return false;
    if (pDev == nullptr || pDev->cbSize != sizeof(DEVINFO_DATA))
        return FailWith(kErrInvalidUserBuffer);
    if (dwIndex >= pSet->size())
        return FailWith(kErrNoMoreItems);
    pDev->ClassGuid = kSetupClassUsb;
    pDev->DevInst = (*pSet)[dwIndex]->devInst;
    pDev->Reserved = dwIndex + 1;
    return true;
}

bool CLinuxDeviceTree::EnumDeviceInterfaces(HANDLE hSet, const DEVINFO_DATA* pDev,
                                            const GUID* pClass, DWORD dwMember,
                                            DEVINTERFACE_DATA* pInterface)
{
    const LinuxNodePtr pNode = ElementOf(hSet, pDev);
    if (pNode == nullptr)
        return false;
    if (pClass == nullptr || pInterface == nullptr ||
        pInterface->cbSize != sizeof(DEVINTERFACE_DATA))
        return FailWith(kErrInvalidUserBuffer);
    if (dwMember != 0 || !SameGuid(InterfaceClassOf(*pNode), *pClass))
        return FailWith(kErrNoMoreItems);
    pInterface->InterfaceClassGuid = *pClass;
    pInterface->Flags = 1;
    pInterface->Reserved = pNode->devInst;
    return true;
}

bool CLinuxDeviceTree::GetInterfaceDetail(HANDLE hSet, const DEVINTERFACE_DATA* pInterface,
                                          DEVINTERFACE_DETAIL* pDetail, DWORD cbDetail,
                                          DWORD* pcbNeeded)
{
    if (SetOf(hSet) == nullptr)
        return false;
    if (pInterface == nullptr || pInterface->cbSize != sizeof(DEVINTERFACE_DATA) ||
        (pDetail != nullptr && pDetail->cbSize != kDetailHeadSize) ||
        (pDetail == nullptr) != (cbDetail == 0))
        return FailWith(kErrInvalidUserBuffer);
    DEVINFO_DATA dev = {};
    dev.cbSize = sizeof dev;
    dev.DevInst = static_cast<DWORD>(pInterface->Reserved);
    const LinuxNodePtr pNode = ElementOf(hSet, &dev);
    if (pNode == nullptr)
        return false;
    const std::vector<BYTE> path = TextBytes(WideFromUtf8(pNode->strDeviceFile));
    const std::size_t cbNeeded = std::max(offsetof(DEVINTERFACE_DETAIL, DevicePath) + path.size(),
                                          sizeof(DEVINTERFACE_DETAIL));
    if (pcbNeeded != nullptr)
        *pcbNeeded = static_cast<DWORD>(cbNeeded);
    if (cbDetail < cbNeeded)
        return FailWith(kErrInsufficientBuffer);
    std::memcpy(reinterpret_cast<BYTE*>(pDetail) + offsetof(DEVINTERFACE_DETAIL, DevicePath),
                path.data(), path.size());
    return true;
}

bool CLinuxDeviceTree::GetRegistryProperty(HANDLE hSet, const DEVINFO_DATA* pDev, DWORD dwProperty,
                                           DWORD* pType, BYTE* pBuffer, DWORD cbBuffer,
                                           DWORD* pcbNeeded)
{
    const LinuxNodePtr pNode = ElementOf(hSet, pDev);
    if (pNode == nullptr)
        return false;
    std::vector<BYTE> bytes;
    if (dwProperty == kPropHardwareId)
        bytes = ListBytes(pNode->hardwareIds);
    else if (dwProperty == kPropDeviceDesc)
        bytes = TextBytes(Description(*pNode));
    else if (dwProperty == kPropLocationInformation && !pNode->strLocationInformation.empty())
        bytes = TextBytes(pNode->strLocationInformation);
    if (bytes.empty())
        return FailWith(kErrInvalidData);
    if (pType != nullptr)
        *pType = dwProperty == kPropHardwareId ? kRegTextList : kRegText;
    if (pcbNeeded != nullptr)
        *pcbNeeded = static_cast<DWORD>(bytes.size());
    if (pBuffer == nullptr || cbBuffer < bytes.size())
        return FailWith(kErrInsufficientBuffer);
    std::copy(bytes.begin(), bytes.end(), pBuffer);
    return true;
}

/// What the system calls a device: by its class where it has a driver for that, else by the
/// device's own name.
WString CLinuxDeviceTree::Description(const LINUX_NODE& node) const
{
    switch (node.eKind) {
    case LinuxNodeKind::Controller:
        return WTEXT("USB Host Controller");
    case LinuxNodeKind::RootHub:
        return WTEXT("USB Root Hub");
    case LinuxNodeKind::Hub:
        return node.bSuperSpeed ? WTEXT("Generic SuperSpeed USB Hub") : WTEXT("Generic USB Hub");
    case LinuxNodeKind::Hid:
        return WTEXT("HID-compliant device");
    case LinuxNodeKind::Device:
        break;
    }
    if (node.byClass == kClassBillboard)
        return WTEXT("Billboard Device");
    const WString strProduct =
        WideFromUtf8(m_nodes.Sysfs().Read(node.strFolder + "/product").value_or(""));
    return strProduct.empty() ? WTEXT("USB Device") : strProduct;
}

bool CLinuxDeviceTree::DestroySet(HANDLE hSet)
{
    return m_sets.erase(hSet) != 0 || FailWith(kErrInvalidHandle);
}

DWORD CLinuxDeviceTree::GetParent(DWORD* pDevInst, DWORD devInst)
{
    if (pDevInst == nullptr)
        return kCrInvalidPointer;
    if (m_nodes.Find(devInst) == nullptr)
        return kCrInvalidDevNode;
    const LinuxNodePtr pNode = m_nodes.FindPresent(devInst);
    return Answer(pDevInst, pNode == nullptr ? nullptr : m_nodes.ParentOf(*pNode));
}

DWORD CLinuxDeviceTree::GetChild(DWORD* pDevInst, DWORD devInst)
{
    if (pDevInst == nullptr)
        return kCrInvalidPointer;
    const LinuxNodePtr pNode = m_nodes.Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    const std::vector<LinuxNodePtr> children = m_nodes.ChildrenOf(pNode->strFolder);
    return Answer(pDevInst, children.empty() ? nullptr : children.front());
}

DWORD CLinuxDeviceTree::GetSibling(DWORD* pDevInst, DWORD devInst)
{
    if (pDevInst == nullptr)
        return kCrInvalidPointer;
    const LinuxNodePtr pNode = m_nodes.Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    if (pNode->strParentFolder.empty())
        return kCrNoSuchDevNode;
    // A node that has gone since ends the walk.
    const std::vector<LinuxNodePtr> nodes = m_nodes.ChildrenOf(pNode->strParentFolder);
    auto it = std::find(nodes.begin(), nodes.end(), pNode);
    if (it != nodes.end())
        ++it;
    return Answer(pDevInst, it == nodes.end() ? nullptr : *it);
}

bool CLinuxDeviceTree::IsThere(const LINUX_NODE& node) const
{
    if (node.eKind == LinuxNodeKind::Controller)
        return !m_nodes.Sysfs().List(node.strFolder).empty();
    const std::string& strDevice =
        node.eKind == LinuxNodeKind::Hid ? node.strParentFolder : node.strFolder;
    return m_nodes.Sysfs().Read(strDevice + "/devnum") == node.strDevNum;
}

DWORD CLinuxDeviceTree::GetNodeStatus(DWORD* pStatus, DWORD* pProblem, DWORD devInst)
{
    if (pStatus == nullptr || pProblem == nullptr)
        return kCrInvalidPointer;
    const LinuxNodePtr pNode = m_nodes.Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    if (!IsThere(*pNode))
        return kCrNoSuchDevNode;
    *pStatus = kNodeStarted;
    *pProblem = 0;
    if (m_nodes.Sysfs().Read(pNode->strFolder + "/authorized") == "0") {
        *pStatus |= kNodeHasProblem;
        *pProblem = kProblemDisabled;
    }
    return kCrSuccess;
}

DWORD CLinuxDeviceTree::GetDeviceId(DWORD devInst, WCHAR* pBuffer, DWORD cch)
{
    if (pBuffer == nullptr)
        return kCrInvalidPointer;
    const LinuxNodePtr pNode = m_nodes.Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    const std::vector<BYTE> id = TextBytes(pNode->strInstanceId);
    if (id.size() / sizeof(WCHAR) > cch)
        return kCrBufferSmall;
    std::memcpy(pBuffer, id.data(), id.size());
    return kCrSuccess;
}

DWORD CLinuxDeviceTree::GetNodeProperty(DWORD devInst, const DEVPROP_KEY* pKey, DWORD* pType,
                                        BYTE* pBuffer, DWORD* pcb)
{
    if (pKey == nullptr || pType == nullptr || pcb == nullptr || (pBuffer == nullptr && *pcb != 0))
        return kCrInvalidPointer;
    const DWORD cbBuffer = *pcb;
    *pcb = 0;
    const LinuxNodePtr pNode = m_nodes.Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    const std::vector<BYTE> bytes = NodeProperty(*pNode, *pKey);
    if (bytes.empty())
        return kCrNoSuchValue;
    *pType = kDevPropStringList;
    *pcb = static_cast<DWORD>(bytes.size());
    if (cbBuffer < bytes.size())
        return kCrBufferSmall;
    std::copy(bytes.begin(), bytes.end(), pBuffer);
    return kCrSuccess;
}
