#include "platform/linux/LinuxDeviceFiles.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>

#include "platform/ErrorCodes.h"
#include "platform/linux/LinuxError.h"

namespace
{
/// A whole number in a sysfs attribute, 0 when there is none.
unsigned ReadNumber(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    unsigned n = 0;
    stream >> n;
    return n;
}

/// The node of the USB device that a folder in sysfs belongs to; empty when it has none.
std::string NodeOfUsbParent(const std::string& strFolder, const std::string& strDevRoot)
{
    std::error_code error;
    std::filesystem::path folder = std::filesystem::canonical(strFolder, error);
    while (!error && folder.has_relative_path()) {
        const unsigned nBus = ReadNumber(folder / "busnum");
        const unsigned nDevice = ReadNumber(folder / "devnum");
        if (nBus != 0 && nDevice != 0) {
            char szName[32];
            std::snprintf(szName, sizeof szName, "/bus/usb/%03u/%03u", nBus, nDevice);
            return strDevRoot + szName;
        }
        folder = folder.parent_path();
    }
    return {};
}
} // namespace

std::shared_ptr<CUsbNode> OpenUsbNode(const std::string& strPath,
                                      const std::shared_ptr<CUsbContext>& pContext, DWORD* pdwError)
{
    CDescriptor descriptor(::open(strPath.c_str(), O_RDWR | O_CLOEXEC));
    if (!descriptor.IsOpen()) {
        *pdwError = ErrorFromErrno(errno);
        return nullptr;
    }
    return std::make_shared<CUsbNode>(pContext, std::move(descriptor));
}

void CLinuxUsbFile::Start(const void* pRecord, const SETUP_PACKET& setup, BYTE* pBuffer)
{
    auto& pTransfer = m_transfers[pRecord];
    if (pTransfer != nullptr)
        m_abandoned.push_back(std::move(pTransfer));
    pTransfer = m_pNode->MakeTransfer();
    pTransfer->Start(setup, pBuffer, 0);
}

CUsbTransfer* CLinuxUsbFile::FindTransfer(const void* pRecord) const
{
    const auto it = m_transfers.find(pRecord);
    return it == m_transfers.end() ? nullptr : it->second.get();
}

CLinuxHidFile::CLinuxHidFile(CDescriptor descriptor, std::string strFolder, std::string strDevRoot,
                             std::shared_ptr<CUsbContext> pContext)
    : m_descriptor(std::move(descriptor)),
      m_strFolder(std::move(strFolder)),
      m_strDevRoot(std::move(strDevRoot)),
      m_pContext(std::move(pContext))
{}

std::shared_ptr<CUsbNode> CLinuxHidFile::UsbDevice(DWORD* pdwError)
{
    const std::string strNode = NodeOfUsbParent(m_strFolder, m_strDevRoot);
    if (strNode.empty()) {
        *pdwError = kErrDeviceGone;
        return nullptr;
    }
    return OpenUsbNode(strNode, m_pContext, pdwError);
}
