#pragma once

#include "sim/machine/CSimNode.h"

#include <string>
#include <unordered_map>

/// What a hub's node is made from; the rest is composed and can be changed in its Traits.
struct HubNodeOptions
{
    USHORT wVid = 0x1234;
    USHORT wPid = 0x5678;
    USHORT wRevision = 0x0100;
    bool bSuperSpeed = false; ///< the SuperSpeed half: "USB30_HUB" among its compatible IDs
    DWORD devInst = 0;        ///< 0: derived from place and VID/PID
    WString strSerial;        ///< last part of the instance ID; empty: composed from the place
};

/// What another USB device's node is made from.
struct DeviceNodeOptions
{
    USHORT wVid = 0x0A0B;
    USHORT wPid = 0x0C0D;
    USHORT wRevision = 0x0100;
    BYTE byClass = 0xFF; ///< for the compatible IDs
    DWORD devInst = 0;
    WString strSerial;
    WString strDescription = WTEXT("USB Device");
    bool bWinUsb = false; ///< WinUSB drives it (a billboard device, say)
};

/// What a HID collection's node is made from; it hangs on a USB device's node.
struct HidNodeOptions
{
    USHORT wVid = 0x0A0B;
    USHORT wPid = 0x0C0D;
    DWORD devInst = 0;
    USHORT wUsagePage = 0xFF00;
    USHORT wUsage = 1;
};

/// The system's device tree: nodes, their places and what comes and goes when. Shared by all
/// simulated processes. References to nodes stay valid as long as the tree.
class CSimDeviceTree : public ISimNodeOwner
{
public:
    explicit CSimDeviceTree(CSimClock& clock);
    ~CSimDeviceTree() override;

    CSimNode& AddHostController(DWORD devInst = 0);
    CSimNode& AddRootHub(CSimNode& controller, DWORD devInst = 0);

    /// A hub on a port of a root hub or hub. Without a model it is a foreign hub: it answers its
    /// descriptors and stalls everything else. The model is not owned.
    CSimNode& AddHub(CSimNode& parent, unsigned nPort, const HubNodeOptions& options,
                     ISimUsbDevice* pDevice = nullptr);

    /// A USB 3 hub: both halves of one model, twins that come and go together. The halves of a
    /// hub below another hang on the parent's halves. @return the USB 2 half; its Twin is the
    /// SuperSpeed half
    CSimNode& AddHubPair(CSimNode& parent, unsigned nPort, CSimNode& superParent,
                         unsigned nSuperPort, const HubNodeOptions& options,
                         ISimUsbDevice* pDevice = nullptr);

    CSimNode& AddDevice(CSimNode& parent, unsigned nPort, const DeviceNodeOptions& options,
                        ISimUsbDevice* pDevice = nullptr);
    CSimNode& AddHid(CSimNode& parent, const HidNodeOptions& options,
                     ISimUsbDevice* pDevice = nullptr);

    /// A node made by hand; nothing is composed but a missing instance number.
    CSimNode& AddNode(CSimNode* pParent, SimNodeTraits traits, ISimUsbDevice* pDevice = nullptr);

    CSimNode* Find(DWORD devInst) const;                ///< present or absent, null: nobody
    CSimNode* FindById(const WString& strId) const;     ///< by instance ID, case ignored
    CSimNode* FindByPath(const WString& strPath) const; ///< by interface path, case ignored
    const std::vector<std::unique_ptr<CSimNode>>& Nodes() const { return m_nodes; }

    /// The last error that a successful device-set request leaves (0; 1300 for a process whose
    /// privileges were not all granted).
    void SetLastErrorAfterSuccess(DWORD dwError) { m_dwSuccessError = dwError; }
    DWORD LastErrorAfterSuccess() const { return m_dwSuccessError; }

    CSimClock& Clock() override { return m_clock; }

private:
    void ComposeUsb(CSimNode* pParent, unsigned nPort, USHORT wVid, USHORT wPid, USHORT wRevision,
                    const WString& strSerial, SimNodeTraits* pTraits) const;
    DWORD FreeNumber(const WString& strSeed) const;
    void Renumber(CSimNode& node, DWORD devInst, unsigned nGeneration) override;

    CSimClock& m_clock;
    std::vector<std::unique_ptr<CSimNode>> m_nodes;
    std::unordered_map<DWORD, CSimNode*> m_byNumber;
    DWORD m_dwSuccessError = 0;
    unsigned m_nControllers = 0;
    unsigned m_nHubs = 0;
};
