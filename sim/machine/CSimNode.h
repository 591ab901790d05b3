#pragma once

#include "sim/machine/SimNodeTraits.h"
#include "sim/models/CSimClock.h"
#include "sim/models/ISimUsbDevice.h"

#include <memory>
#include <vector>

class CSimNode;

/// What a node asks of the tree that it stands in.
class ISimNodeOwner
{
public:
    virtual ~ISimNodeOwner() = default;
    virtual CSimClock& Clock() = 0;
    /// Gives the node another instance number; devInst 0: derived from place and generation.
    virtual void Renumber(CSimNode& node, DWORD devInst, unsigned nGeneration) = 0;
};

/// One object of WMI's power class that belongs to a node.
struct SimPowerObject
{
    WString strInstanceName; ///< empty: "<instance ID>_0"
    bool bEnabled;
};

/// A node of the device tree; as a port it follows the model that hangs on it. Nodes are made
/// by CSimDeviceTree and live as long as it. A node is present while it and all nodes above it
/// are plugged.
class CSimNode : public ISimPort
{
public:
    /// Becomes a child of its parent, which is null for a host controller.
    CSimNode(ISimNodeOwner& tree, CSimNode* pParent, SimNodeTraits traits, ISimUsbDevice* pDevice);

    SimNodeTraits& Traits() { return m_traits; }
    const SimNodeTraits& Traits() const { return m_traits; }
    DWORD DevInst() const { return m_traits.devInst; }
    CSimNode* Parent() const { return m_pParent; }
    const std::vector<CSimNode*>& Children() const { return m_children; }

    bool IsPresent() const;

    /// Plugs the node in or out; what hangs below comes and goes with it. Handles opened before
    /// an unplugging stay dead.
    void Plug(bool bPlugged);

    ISimUsbDevice* Device() const { return m_pDevice; }
    void SetOwnDevice(std::unique_ptr<ISimUsbDevice> pDevice); ///< where nobody gave a model

    /// The other half of the same hub: it leaves and returns together with this one.
    void SetTwin(CSimNode* pTwin) { m_pTwin = pTwin; }
    CSimNode* Twin() const { return m_pTwin; }

    /// The number that the node gets when its device returns with a new instance (0: derived).
    void SetNextDevInst(DWORD devInst) { m_nextDevInst = devInst; }

    /// The path of interface n; composed when the Traits gives none.
    WString InterfacePath(size_t n) const;
    bool HasPath(const WString& strPath) const; ///< any interface's, case ignored

    /// The node's power objects: for hubs one with value true, named "<instance ID>_0".
    std::vector<SimPowerObject>& PowerObjects() { return m_power; }

    WString PowerObjectName(size_t n) const;

    /// Sets one power object; see SetPowerSaving.
    void SetPowerObject(size_t n, bool bEnabled);

    /// Sets all power objects; with false a suspended device begins to resume.
    void SetPowerSaving(bool bEnabled);
    bool PowerSaving() const; ///< whether any power object is true

    /// Suspends the device: transfers fail with 21 until power saving was switched off and
    /// resumeTime has passed.
    void Suspend(CSimClock::Micros resumeTime);

    /// What a handle that was opened in generation n gets: 0, 1167 (gone since) or 21.
    DWORD TransferError(unsigned nGeneration) const;
    unsigned Generation() const; ///< grows with every unplugging of the node or above it

    // ISimPort. A model may name both halves of a hub as its ports: the second call then finds
    // everything done.
    void DeviceLeft() override;
    void DeviceReturned(bool bNewInstance) override;

private:
    ISimNodeOwner& m_tree;
    CSimNode* m_pParent;
    SimNodeTraits m_traits;
    ISimUsbDevice* m_pDevice;
    std::unique_ptr<ISimUsbDevice> m_pOwnDevice;
    CSimNode* m_pTwin = nullptr;
    std::vector<CSimNode*> m_children;
    std::vector<SimPowerObject> m_power;
    unsigned m_nGeneration = 0;
    DWORD m_nextDevInst = 0;
    bool m_bPlugged = true;
    bool m_bSuspended = false;
    CSimClock::Micros m_resumeTime = 0;
    CSimClock::Micros m_resumesAt = 0;
};
