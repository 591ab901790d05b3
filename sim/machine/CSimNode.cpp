#include "sim/machine/CSimNode.h"

#include "sim/machine/SimText.h"

#include <algorithm>
#include <utility>

namespace
{
/// Whether a composed path can be of an instance; composes nothing, for trees with many nodes.
bool MayBePathOf(const WString& strId, const WString& strPath)
{
    constexpr size_t kHead = 4; // "\\\\?\\" in front of the instance ID
    if (strPath.size() <= kHead + strId.size())
        return false;
    for (size_t i = strId.size(); i-- > 0;) {
        const WCHAR ch = strId[i] == WCHAR('\\') ? WCHAR('#') : strId[i];
        if ((ch | 0x20) != (strPath[kHead + i] | 0x20))
            return false;
    }
    return true;
}
} // namespace

CSimNode::CSimNode(ISimNodeOwner& tree, CSimNode* pParent, SimNodeTraits traits,
                   ISimUsbDevice* pDevice)
    : m_tree(tree), m_pParent(pParent), m_traits(std::move(traits)), m_pDevice(pDevice)
{
    if (m_pParent != nullptr)
        m_pParent->m_children.push_back(this);
}

void CSimNode::SetOwnDevice(std::unique_ptr<ISimUsbDevice> pDevice)
{
    m_pOwnDevice = std::move(pDevice);
    m_pDevice = m_pOwnDevice.get();
}

bool CSimNode::IsPresent() const
{
    return m_bPlugged && (m_pParent == nullptr || m_pParent->IsPresent());
}

void CSimNode::Plug(bool bPlugged)
{
    if (m_bPlugged == bPlugged)
        return;
    m_bPlugged = bPlugged;
    if (!bPlugged)
        ++m_nGeneration;
}

WString CSimNode::InterfacePath(size_t n) const
{
    const SimInterface& entry = m_traits.interfaces[n];
    if (!entry.strPath.empty())
        return entry.strPath;
    WString strMiddle = SimText::Lower(m_traits.strInstanceId);
    std::replace(strMiddle.begin(), strMiddle.end(), WCHAR('\\'), WCHAR('#'));
    return WTEXT("\\\\?\\") + strMiddle + WTEXT("#") + SimText::GuidText(entry.guidClass);
}

bool CSimNode::HasPath(const WString& strPath) const
{
    for (size_t i = 0; i < m_traits.interfaces.size(); ++i) {
        if (m_traits.interfaces[i].strPath.empty() && !MayBePathOf(m_traits.strInstanceId, strPath))
            continue;
        if (SimText::SameNoCase(InterfacePath(i), strPath))
            return true;
    }
    return false;
}

WString CSimNode::PowerObjectName(size_t n) const
{
    const WString& strName = m_power[n].strInstanceName;
    return strName.empty() ? m_traits.strInstanceId + WTEXT("_0") : strName;
}

void CSimNode::SetPowerObject(size_t n, bool bEnabled)
{
    const bool bBefore = PowerSaving();
    m_power[n].bEnabled = bEnabled;
    if (bBefore && !PowerSaving())
        m_resumesAt = m_tree.Clock().Now() + m_resumeTime;
}

void CSimNode::SetPowerSaving(bool bEnabled)
{
    for (size_t i = 0; i < m_power.size(); ++i)
        SetPowerObject(i, bEnabled);
}

bool CSimNode::PowerSaving() const
{
    return std::any_of(m_power.begin(), m_power.end(),
                       [](const SimPowerObject& object) { return object.bEnabled; });
}

void CSimNode::Suspend(CSimClock::Micros resumeTime)
{
    m_bSuspended = true;
    m_resumeTime = resumeTime;
    m_resumesAt = m_tree.Clock().Now() + resumeTime;
}

DWORD CSimNode::TransferError(unsigned nGeneration) const
{
    if (!IsPresent() || Generation() != nGeneration)
        return kErrDeviceGone;
    if (m_bSuspended && (PowerSaving() || m_tree.Clock().Now() < m_resumesAt))
        return kErrNotReady;
    return kErrNone;
}

unsigned CSimNode::Generation() const
{
    return m_nGeneration + (m_pParent == nullptr ? 0 : m_pParent->Generation());
}

void CSimNode::DeviceLeft()
{
    Plug(false);
    if (m_pTwin != nullptr)
        m_pTwin->Plug(false);
}

void CSimNode::DeviceReturned(bool bNewInstance)
{
    for (CSimNode* const pNode : {this, m_pTwin}) {
        if (pNode == nullptr)
            continue;
        if (bNewInstance && !pNode->m_bPlugged)
            m_tree.Renumber(*pNode, std::exchange(pNode->m_nextDevInst, 0), pNode->m_nGeneration);
        pNode->Plug(true);
    }
}
