#pragma once

#include "sim/models/ISimUsbDevice.h"

#include <vector>

/// What a model is to the kernel that enumerates it.
enum class UsbFaceKind
{
    Hub,      ///< a high-speed hub with empty ports
    SuperHub, ///< the SuperSpeed half of a hub
    Device    ///< a high-speed device with one interface and no endpoint but 0
};

/// A model with everything around it that a kernel asks of a USB device and that the models leave
/// out: configuration, status and features, and for hubs the hub class. Device and string
/// descriptors and vendor requests reach the model, all else ends here. One face is one stay on
/// the bus: a returning device gets a new one.
class CUsbFace : public ISimUsbDevice
{
public:
    static constexpr BYTE kHubPorts = 4;

    /// The model must outlive the face.
    CUsbFace(ISimUsbDevice& model, UsbFaceKind eKind, BYTE byInterfaceClass);

    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs) override;

    BYTE Configuration() const { return m_byConfiguration; }

private:
    bool IsHub() const { return m_eKind != UsbFaceKind::Device; }
    bool IsSuper() const { return m_eKind == UsbFaceKind::SuperHub; }

    SimTransferResult Standard(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs);
    SimTransferResult StandardOut(const SETUP_PACKET& setup);
    SimTransferResult Descriptor(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs);
    SimTransferResult HubClass(const SETUP_PACKET& setup, BYTE* pData);
    SimTransferResult HubClassOut(const SETUP_PACKET& setup);
    void FixDeviceDescriptor(BYTE* pData, DWORD cb) const;
    std::vector<BYTE> ConfigurationDescriptor() const;
    std::vector<BYTE> ObjectStore() const;
    std::vector<BYTE> HubDescriptor() const;
    std::vector<BYTE> PortStatus(unsigned nPort) const;

    ISimUsbDevice& m_model;
    UsbFaceKind m_eKind;
    BYTE m_byInterfaceClass;
    BYTE m_byConfiguration = 0;
    bool m_powered[kHubPorts + 1] = {}; ///< by port number
};
