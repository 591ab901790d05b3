#include "platform/linux/CLinuxDeviceFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

#include "platform/AsciiCase.h"
#include "platform/ErrorCodes.h"
#include "platform/linux/CLinuxPortChannel.h"
#include "platform/linux/CLinuxProxyChannel.h"
#include "platform/linux/LinuxDeviceFiles.h"
#include "platform/linux/LinuxError.h"
#include "platform/linux/Utf8.h"
#include "wire/DriverNames.h"

namespace
{
constexpr DWORD kUnknownFunction = 1; // ERROR_INVALID_FUNCTION

bool IsNamed(const WString& strName, const WCHAR* pszName)
{
    const WString strOther = pszName;
    return std::equal(strName.begin(), strName.end(), strOther.begin(), strOther.end(),
                      [](WCHAR a, WCHAR b) { return LowerAscii(a) == LowerAscii(b); });
}

bool StartsWith(const std::string& strText, const std::string& strStart)
{
    return strText.compare(0, strStart.size(), strStart) == 0;
}
} // namespace

HANDLE CLinuxDeviceFile::Open(const WCHAR* pszPath, DWORD /*dwAccess*/, DWORD /*dwShare*/,
                              DWORD dwDisposition, DWORD dwFlags)
{
    const WString strPath = pszPath;
    std::shared_ptr<CLinuxHandleObject> pObject;
    DWORD dwError = kErrInvalidParameter;
    if (dwDisposition == kOpenExisting) {
        dwError = kErrFileNotFound;
        pObject = OpenChannel(strPath, &dwError);
        if (pObject == nullptr && strPath.compare(0, 1, WTEXT("/")) == 0)
            pObject = OpenNode(Utf8FromWide(strPath.data(), strPath.size()), dwFlags, &dwError);
    }
    if (pObject != nullptr)
        return m_handles.Add(std::move(pObject));
    FailWith(dwError);
    return InvalidHandle();
}

std::shared_ptr<CLinuxHandleObject> CLinuxDeviceFile::OpenChannel(const WString& strName,
                                                                  DWORD* pdwError)
{
    if (IsNamed(strName, ZELUPX_DEVICE_PATH))
        return std::make_shared<CLinuxProxyChannel>(m_handles, m_roots);
    if (!IsNamed(strName, VOPORT_DEVICE_PATH))
        return nullptr;
    auto pChannel = std::make_shared<CLinuxPortChannel>(m_roots);
    *pdwError = pChannel->Open();
    return *pdwError == kErrNone ? pChannel : nullptr;
}

std::shared_ptr<CLinuxHandleObject> CLinuxDeviceFile::OpenNode(const std::string& strPath,
                                                               DWORD dwFlags, DWORD* pdwError)
{
    if (StartsWith(strPath, m_roots.strDev + "/hidraw"))
        return OpenHid(strPath, pdwError);
    if (!StartsWith(strPath, m_roots.strDev + "/bus/usb/"))
        return nullptr;
    auto pNode = OpenUsbNode(strPath, Context(), pdwError);
    if (pNode == nullptr)
        return nullptr;
    return std::make_shared<CLinuxUsbFile>(std::move(pNode), (dwFlags & kFlagOverlapped) != 0);
}

std::shared_ptr<CLinuxHandleObject> CLinuxDeviceFile::OpenHid(const std::string& strPath,
                                                              DWORD* pdwError)
{
    CDescriptor descriptor(::open(strPath.c_str(), O_RDWR | O_CLOEXEC));
    if (!descriptor.IsOpen()) {
        *pdwError = ErrorFromErrno(errno);
        return nullptr;
    }
    const std::string strName = strPath.substr(m_roots.strDev.size());
    return std::make_shared<CLinuxHidFile>(std::move(descriptor),
                                           m_roots.strSys + "/class/hidraw" + strName + "/device",
                                           m_roots.strDev, Context());
}

std::shared_ptr<CUsbContext> CLinuxDeviceFile::Context()
{
    if (m_pContext == nullptr)
        m_pContext = std::make_shared<CUsbContext>();
    return m_pContext;
}

bool CLinuxDeviceFile::Close(HANDLE hDevice)
{
    return m_handles.Close<CLinuxDeviceObject>(hDevice) ||
           m_handles.Close<CLinuxChannel>(hDevice) || FailWith(kErrInvalidHandle);
}

bool CLinuxDeviceFile::Control(HANDLE hDevice, DWORD dwCode, const void* pIn, DWORD cbIn,
                               void* pOut, DWORD cbOut, DWORD* pcbDone)
{
    const auto pChannel = m_handles.Find<CLinuxChannel>(hDevice);
    if (pChannel == nullptr) {
        const bool bDevice = m_handles.Find<CLinuxDeviceObject>(hDevice) != nullptr;
        return FailWith(bDevice ? kUnknownFunction : kErrInvalidHandle);
    }
    if (pcbDone == nullptr)
        return FailWith(kErrInvalidParameter);
    CONTROL_REQUEST request = {dwCode, pIn, cbIn, pOut, cbOut};
    const DWORD dwError = pChannel->Control(request);
    *pcbDone = request.cbDone;
    return dwError == kErrNone || FailWith(dwError);
}
