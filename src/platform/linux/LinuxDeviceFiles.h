#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/CLinuxHandles.h"
#include "platform/linux/CUsbNode.h"

/// An open device, whatever its kind: what a handle given to the proxy channel must stand for.
class CLinuxDeviceObject : public CLinuxHandleObject
{
public:
    /// The USB device behind it, not attached yet. After a failure null, with *pdwError set.
    virtual std::shared_ptr<CUsbNode> UsbDevice(DWORD* pdwError) = 0;
};

/// The open node of a USB device, with the overlapped transfers that run on it.
class CLinuxUsbFile : public CLinuxDeviceObject
{
public:
    CLinuxUsbFile(std::shared_ptr<CUsbNode> pNode, bool bOverlapped)
        : m_pNode(std::move(pNode)), m_bOverlapped(bOverlapped)
    {}

    std::shared_ptr<CUsbNode> UsbDevice(DWORD* /*pdwError*/) override { return m_pNode; }
    bool IsOverlapped() const { return m_bOverlapped; }

    /// Starts a transfer under the caller's record. One that still runs under the same record
    /// goes on, but can no longer be waited for.
    void Start(const void* pRecord, const SETUP_PACKET& setup, BYTE* pBuffer);

    CUsbTransfer* FindTransfer(const void* pRecord) const; ///< null: none was started
    void Forget(const void* pRecord) { m_transfers.erase(pRecord); }

private:
    std::shared_ptr<CUsbNode> m_pNode;
    bool m_bOverlapped;
    std::map<const void*, std::unique_ptr<CUsbTransfer>> m_transfers; ///< by record
    std::vector<std::unique_ptr<CUsbTransfer>> m_abandoned;
};

/// An open hidraw device. Reports go through it, control transfers to the USB device that it is
/// part of.
class CLinuxHidFile : public CLinuxDeviceObject
{
public:
    /// @param strFolder the HID device's folder in sysfs @param strDevRoot where nodes stand
    CLinuxHidFile(CDescriptor descriptor, std::string strFolder, std::string strDevRoot,
                  std::shared_ptr<CUsbContext> pContext);

    std::shared_ptr<CUsbNode> UsbDevice(DWORD* pdwError) override;
    const std::string& Folder() const { return m_strFolder; }

private:
    CDescriptor m_descriptor;
    std::string m_strFolder;
    std::string m_strDevRoot;
    std::shared_ptr<CUsbContext> m_pContext;
};

/// Opens the node of a USB device. After a failure null, with *pdwError set.
std::shared_ptr<CUsbNode> OpenUsbNode(const std::string& strPath,
                                      const std::shared_ptr<CUsbContext>& pContext,
                                      DWORD* pdwError);
