#include "sim/machine/CSimDeviceSets.h"

#include "platform/PropertyBytes.h"
#include "sim/machine/CSimMachine.h"
#include "sim/machine/SimText.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr DWORD kErrInvalidUserBuffer = 1784;
constexpr DWORD kRegText = 1;
constexpr DWORD kRegTextList = 7;
constexpr GUID kSetupClassUsb = {
    0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};

/// A device set: the nodes at the time of the request, and the numbers that they had.
class CSetObject : public CSimHandleObject
{
public:
    struct Element
    {
        CSimNode* pNode;
        DWORD devInst;
    };
    std::vector<Element> elements;

    const Element* Find(const DEVINFO_DATA& dev) const
    {
        for (const Element& element : elements)
            if (element.devInst == dev.DevInst)
                return &element;
        return nullptr;
    }
};

bool HasInterface(const CSimNode& node, const GUID* pClass)
{
    const auto& interfaces = node.Traits().interfaces;
    if (pClass == nullptr)
        return !interfaces.empty();
    return std::any_of(interfaces.begin(), interfaces.end(), [pClass](const SimInterface& entry) {
        return SameGuid(entry.guidClass, *pClass);
    });
}

std::vector<BYTE> NodeProperty(const SimNodeTraits& traits, const DEVPROP_KEY& key)
{
    if (!SameGuid(key.fmtid, kKeyLocationPaths.fmtid))
        return {};
    if (const auto it = traits.rawProperties.find(key.pid); it != traits.rawProperties.end())
        return it->second;
    if (key.pid == kKeyLocationPaths.pid)
        return ListBytes(traits.locationPaths);
    if (key.pid == kKeyCompatibleIds.pid)
        return ListBytes(traits.compatibleIds);
    return key.pid == kKeyHardwareIds.pid ? ListBytes(traits.hardwareIds) : std::vector<BYTE>();
}

std::vector<BYTE> RegistryProperty(const SimNodeTraits& traits, DWORD dwProperty)
{
    if (dwProperty == kPropHardwareId)
        return ListBytes(traits.hardwareIds);
    const WString* const pText = dwProperty == kPropDeviceDesc ? &traits.strDescription
                                 : dwProperty == kPropLocationInformation
                                     ? &traits.strLocationInformation
                                     : nullptr;
    return pText == nullptr || pText->empty() ? std::vector<BYTE>() : TextBytes(*pText);
}

/// The n-th interface of a class (any class for null), or -1.
int InterfaceAt(const CSimNode& node, const GUID* pClass, DWORD n)
{
    const auto& interfaces = node.Traits().interfaces;
    for (size_t i = 0; i < interfaces.size(); ++i)
        if ((pClass == nullptr || SameGuid(interfaces[i].guidClass, *pClass)) && n-- == 0)
            return static_cast<int>(i);
    return -1;
}

CSimNode* FirstPresent(const std::vector<CSimNode*>& nodes, size_t nFrom)
{
    for (size_t i = nFrom; i < nodes.size(); ++i)
        if (nodes[i]->IsPresent())
            return nodes[i];
    return nullptr;
}

DWORD Answer(DWORD* pDevInst, const CSimNode* pNode)
{
    if (pNode == nullptr)
        return kCrNoSuchDevNode;
    *pDevInst = pNode->DevInst();
    return kCrSuccess;
}
} // namespace

HANDLE CSimDeviceSets::GetClassDevs(const GUID* pClass, const WCHAR* pszEnumerator, DWORD dwFlags)
{
    if (!m_machine.Enter("IDeviceTree::GetClassDevs"))
        return InvalidHandle();
    const bool bAll = (dwFlags & kSetAllClasses) != 0;
    if (!bAll && pClass == nullptr)
        return m_machine.FailInvalid(kErrInvalidParameter);
    const WString strId = SimText::Of(pszEnumerator);
    const CSimDeviceTree& tree = m_machine.Tree();
    const bool bOne = bAll && pszEnumerator != nullptr;
    const CSimNode* const pOne = bOne ? tree.FindById(strId) : nullptr;
    if (bOne && pOne == nullptr)
        return m_machine.FailInvalid(kErrNoSuchDevInst);

    auto pSet = std::make_shared<CSetObject>();
    for (const auto& pNode : tree.Nodes()) {
        if (bOne && pNode.get() != pOne)
            continue;
        const bool bClass =
            (dwFlags & kSetDeviceInterface) == 0 || HasInterface(*pNode, bAll ? nullptr : pClass);
        if (bClass && ((dwFlags & kSetPresent) == 0 || pNode->IsPresent()))
            pSet->elements.push_back({pNode.get(), pNode->DevInst()});
    }
    m_machine.Process().SetLastError(tree.LastErrorAfterSuccess());
    return m_machine.Handles().Add("device set", SimText::Narrow(strId), std::move(pSet));
}

bool CSimDeviceSets::EnumDeviceInfo(HANDLE hSet, DWORD dwIndex, DEVINFO_DATA* pDev)
{
    if (!m_machine.Enter("IDeviceTree::EnumDeviceInfo"))
        return false;
    const auto pSet = m_machine.Handles().Find<CSetObject>(hSet);
    if (pSet == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    if (pDev == nullptr || pDev->cbSize != sizeof(DEVINFO_DATA))
        return m_machine.Fail(kErrInvalidUserBuffer);
    if (dwIndex >= pSet->elements.size())
        return m_machine.Fail(kErrNoMoreItems);
    pDev->ClassGuid = kSetupClassUsb;
    pDev->DevInst = pSet->elements[dwIndex].devInst;
    pDev->Reserved = dwIndex + 1;
    return true;
}

bool CSimDeviceSets::EnumDeviceInterfaces(HANDLE hSet, const DEVINFO_DATA* pDev, const GUID* pClass,
                                          DWORD dwMember, DEVINTERFACE_DATA* pInterface)
{
    if (!m_machine.Enter("IDeviceTree::EnumDeviceInterfaces"))
        return false;
    const auto pSet = m_machine.Handles().Find<CSetObject>(hSet);
    if (pSet == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    if (pDev == nullptr || pClass == nullptr || pInterface == nullptr ||
        pDev->cbSize != sizeof(DEVINFO_DATA) || pInterface->cbSize != sizeof(DEVINTERFACE_DATA))
        return m_machine.Fail(kErrInvalidUserBuffer);
    const CSetObject::Element* const pElement = pSet->Find(*pDev);
    if (pElement == nullptr)
        return m_machine.Fail(kErrInvalidParameter);
    const int nInterface = InterfaceAt(*pElement->pNode, pClass, dwMember);
    if (nInterface < 0)
        return m_machine.Fail(kErrNoMoreItems);
    pInterface->InterfaceClassGuid = *pClass;
    pInterface->Flags = pElement->pNode->IsPresent() ? 1 : 0;
    pInterface->Reserved =
        (static_cast<uintptr_t>(pElement->devInst) << 16) | static_cast<uintptr_t>(nInterface + 1);
    return true;
}

bool CSimDeviceSets::GetInterfaceDetail(HANDLE hSet, const DEVINTERFACE_DATA* pInterface,
                                        DEVINTERFACE_DETAIL* pDetail, DWORD cbDetail,
                                        DWORD* pcbNeeded)
{
    if (!m_machine.Enter("IDeviceTree::GetInterfaceDetail"))
        return false;
    const auto pSet = m_machine.Handles().Find<CSetObject>(hSet);
    if (pSet == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    if (pInterface == nullptr || pInterface->cbSize != sizeof(DEVINTERFACE_DATA) ||
        (pDetail != nullptr && pDetail->cbSize != kDetailHeadSize) ||
        (pDetail == nullptr) != (cbDetail == 0))
        return m_machine.Fail(kErrInvalidUserBuffer);
    DEVINFO_DATA dev = {};
    dev.DevInst = static_cast<DWORD>(pInterface->Reserved >> 16);
    const CSetObject::Element* const pElement = pSet->Find(dev);
    const size_t nInterface = (pInterface->Reserved & 0xFFFF) - 1;
    if (pElement == nullptr || nInterface >= pElement->pNode->Traits().interfaces.size())
        return m_machine.Fail(kErrInvalidParameter);
    const WString strPath = pElement->pNode->InterfacePath(nInterface);
    const size_t cbPath = 2 * (strPath.size() + 1);
    const auto cbNeeded = static_cast<DWORD>(std::max<size_t>(
        offsetof(DEVINTERFACE_DETAIL, DevicePath) + cbPath, sizeof(DEVINTERFACE_DETAIL)));
    if (pcbNeeded != nullptr)
        *pcbNeeded = cbNeeded;
    if (cbDetail < cbNeeded)
        return m_machine.Fail(kErrInsufficientBuffer);
    std::memcpy(reinterpret_cast<BYTE*>(pDetail) + offsetof(DEVINTERFACE_DETAIL, DevicePath),
                strPath.c_str(), cbPath);
    return true;
}

bool CSimDeviceSets::GetRegistryProperty(HANDLE hSet, const DEVINFO_DATA* pDev, DWORD dwProperty,
                                         DWORD* pType, BYTE* pBuffer, DWORD cbBuffer,
                                         DWORD* pcbNeeded)
{
    if (!m_machine.Enter("IDeviceTree::GetRegistryProperty"))
        return false;
    const auto pSet = m_machine.Handles().Find<CSetObject>(hSet);
    if (pSet == nullptr)
        return m_machine.Fail(kErrInvalidHandle);
    if (pDev == nullptr || pDev->cbSize != sizeof(DEVINFO_DATA))
        return m_machine.Fail(kErrInvalidUserBuffer);
    const CSetObject::Element* const pElement = pSet->Find(*pDev);
    if (pElement == nullptr)
        return m_machine.Fail(kErrInvalidParameter);
    const std::vector<BYTE> bytes = RegistryProperty(pElement->pNode->Traits(), dwProperty);
    if (bytes.empty())
        return m_machine.Fail(kErrInvalidData);
    if (pType != nullptr)
        *pType = dwProperty == kPropHardwareId ? kRegTextList : kRegText;
    if (pcbNeeded != nullptr)
        *pcbNeeded = static_cast<DWORD>(bytes.size());
    if (pBuffer == nullptr || cbBuffer < bytes.size())
        return m_machine.Fail(kErrInsufficientBuffer);
    std::copy(bytes.begin(), bytes.end(), pBuffer);
    return true;
}

bool CSimDeviceSets::DestroySet(HANDLE hSet)
{
    if (!m_machine.Enter("IDeviceTree::DestroySet"))
        return false;
    return m_machine.Handles().Close<CSetObject>(hSet) || m_machine.Fail(kErrInvalidHandle);
}

DWORD CSimDeviceSets::GetParent(DWORD* pDevInst, DWORD devInst)
{
    if (const auto code = m_machine.Fault("IDeviceTree::GetParent"))
        return *code;
    if (pDevInst == nullptr)
        return kCrInvalidPointer;
    const CSimNode* const pNode = m_machine.Tree().Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    return Answer(pDevInst, pNode->IsPresent() ? pNode->Parent() : nullptr);
}

DWORD CSimDeviceSets::GetChild(DWORD* pDevInst, DWORD devInst)
{
    if (const auto code = m_machine.Fault("IDeviceTree::GetChild"))
        return *code;
    if (pDevInst == nullptr)
        return kCrInvalidPointer;
    const CSimNode* const pNode = m_machine.Tree().Find(devInst);
    return pNode == nullptr ? kCrInvalidDevNode
                            : Answer(pDevInst, FirstPresent(pNode->Children(), 0));
}

DWORD CSimDeviceSets::GetSibling(DWORD* pDevInst, DWORD devInst)
{
    if (const auto code = m_machine.Fault("IDeviceTree::GetSibling"))
        return *code;
    if (pDevInst == nullptr)
        return kCrInvalidPointer;
    const CSimNode* const pNode = m_machine.Tree().Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    if (pNode->Parent() == nullptr)
        return kCrNoSuchDevNode;
    const auto& siblings = pNode->Parent()->Children();
    const auto it = std::find(siblings.begin(), siblings.end(), pNode);
    return Answer(pDevInst, FirstPresent(siblings, static_cast<size_t>(it - siblings.begin()) + 1));
}

DWORD CSimDeviceSets::GetNodeStatus(DWORD* pStatus, DWORD* pProblem, DWORD devInst)
{
    if (const auto code = m_machine.Fault("IDeviceTree::GetNodeStatus"))
        return *code;
    if (pStatus == nullptr || pProblem == nullptr)
        return kCrInvalidPointer;
    const CSimNode* const pNode = m_machine.Tree().Find(devInst);
    if (pNode == nullptr || !pNode->IsPresent())
        return pNode == nullptr ? kCrInvalidDevNode : kCrNoSuchDevNode;
    *pStatus = pNode->Traits().dwStatus;
    *pProblem = pNode->Traits().dwProblem;
    return kCrSuccess;
}

DWORD CSimDeviceSets::GetDeviceId(DWORD devInst, WCHAR* pBuffer, DWORD cch)
{
    if (const auto code = m_machine.Fault("IDeviceTree::GetDeviceId"))
        return *code;
    if (pBuffer == nullptr)
        return kCrInvalidPointer;
    const CSimNode* const pNode = m_machine.Tree().Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    const WString& strId = pNode->Traits().strInstanceId;
    if (strId.size() + 1 > cch)
        return kCrBufferSmall;
    std::memcpy(pBuffer, strId.c_str(), 2 * (strId.size() + 1));
    return kCrSuccess;
}

DWORD CSimDeviceSets::GetNodeProperty(DWORD devInst, const DEVPROP_KEY* pKey, DWORD* pType,
                                      BYTE* pBuffer, DWORD* pcb)
{
    const auto code = m_machine.Fault("IDeviceTree::GetNodeProperty");
    if (pKey == nullptr || pType == nullptr || pcb == nullptr || (pBuffer == nullptr && *pcb != 0))
        return code.value_or(kCrInvalidPointer);
    const DWORD cbBuffer = *pcb;
    *pcb = 0;
    if (code)
        return *code;
    const CSimNode* const pNode = m_machine.Tree().Find(devInst);
    if (pNode == nullptr)
        return kCrInvalidDevNode;
    const std::vector<BYTE> bytes = NodeProperty(pNode->Traits(), *pKey);
    if (bytes.empty())
        return kCrNoSuchValue;
    *pType = kDevPropStringList;
    *pcb = static_cast<DWORD>(bytes.size());
    if (cbBuffer < bytes.size())
        return kCrBufferSmall;
    std::copy(bytes.begin(), bytes.end(), pBuffer);
    return kCrSuccess;
}
