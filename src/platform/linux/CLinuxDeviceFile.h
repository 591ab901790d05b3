#pragma once

#include "platform/IDeviceFile.h"
#include "platform/linux/CLinuxHandles.h"
#include "platform/linux/CUsbContext.h"
#include "platform/linux/LinuxRoots.h"

/// Device files: the names of the two drivers' control devices, for which channels inside this
/// process stand, and device nodes of USB and hidraw devices. Sharing is not enforced.
class CLinuxDeviceFile : public IDeviceFile
{
public:
    /// @param handles shared with the HID and WinUSB services, outlives this object
    explicit CLinuxDeviceFile(CLinuxHandles& handles, LINUX_ROOTS roots = {})
        : m_handles(handles), m_roots(std::move(roots))
    {}

    HANDLE Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
                DWORD dwFlags) override;
    bool Close(HANDLE hDevice) override;
    bool Control(HANDLE hDevice, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut, DWORD cbOut,
                 DWORD* pcbDone) override;

private:
    std::shared_ptr<CLinuxHandleObject> OpenChannel(const WString& strName, DWORD* pdwError);
    std::shared_ptr<CLinuxHandleObject> OpenNode(const std::string& strPath, DWORD dwFlags,
                                                 DWORD* pdwError);
    std::shared_ptr<CLinuxHandleObject> OpenHid(const std::string& strPath, DWORD* pdwError);
    std::shared_ptr<CUsbContext> Context();

    CLinuxHandles& m_handles;
    LINUX_ROOTS m_roots;
    std::shared_ptr<CUsbContext> m_pContext; ///< made when the first device is opened
};
