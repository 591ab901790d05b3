// Loading and unloading of the port-I/O driver. Its texts name the routines CSmBus::..., as hosts
// know them; error numbers behind "==> %s" are passed as decimal text.
#include "cmd/CRequestCMD.h"
#include "cmd/ReportError.h"
#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IDeviceFile.h"
#include "platform/IFileSystem.h"
#include "platform/IProcess.h"
#include "platform/Platform.h"
#include "transport/CScopedHandle.h"
#include "wire/DriverNames.h"

namespace
{
constexpr size_t kPathChars = 260;
constexpr const WCHAR* kService = VOPORT_SERVICE_NAME;
constexpr const WCHAR* kDevice = VOPORT_DEVICE_PATH;

HANDLE OpenDriver()
{
    return CurrentPlatform().DeviceFile().Open(kDevice, kGenericRead | kGenericWrite, kShareNone,
                                               kOpenExisting, kAttributeNormal);
}

/// The driver's file below the system's folder.
const WCHAR* InstalledName(int nWow64)
{
    return nWow64 != 0 ? WTEXT("\\SysWOW64\\drivers\\voport64.sys")
                       : WTEXT("\\system32\\drivers\\voport.sys");
}

/// Joins a folder that a service wrote with a file name. @return false when it does not fit
bool Join(WCHAR* pszPath, size_t nFolder, const WString& strName)
{
    if (nFolder == 0 || nFolder + strName.size() >= kPathChars)
        return false;
    strName.copy(pszPath + nFolder, strName.size());
    pszPath[nFolder + strName.size()] = 0;
    return true;
}

bool OpensForReading(const WCHAR* pszPath)
{
    const CScopedHandle file(CurrentPlatform().FileSystem().Open(pszPath, kGenericRead, kShareRead,
                                                                 kOpenExisting, kAttributeNormal),
                             CloseWideFile);
    return file.IsOpen();
}

/// The driver's image among the resources of this library.
struct DRIVER_IMAGE
{
    const BYTE* pBytes = nullptr;
    DWORD dwSize = 0;
};

/// @return false after a report when there is no image
bool FindImage(USHORT wResourceId, const WCHAR* pszType, DRIVER_IMAGE& image)
{
    CMsg* const pMsg = CMsg::GetObj();
    IProcess& process = CurrentPlatform().Process();
    HANDLE const hResource =
        process.LocateResource(reinterpret_cast<const void*>(&FindImage), wResourceId, pszType);
    if (hResource == nullptr) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::ExtractVoport",
                      "FindResource Failed with error = 0x%08x \n", dwError);
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::ExtractVoport",
                      "CSmBus::ExtractVoport(): FAILED! (hSysRes = NULL)\n");
        return false;
    }
    HANDLE const hFetched = process.FetchResource(hResource);
    if (hFetched == nullptr) {
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::ExtractVoport",
                      "CSmBus::ExtractVoport(): FAILED! (hVoport = NULL)\n");
        return false;
    }
    image.pBytes = process.PinResource(hFetched);
    if (image.pBytes == nullptr) {
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::ExtractVoport",
                      "CSmBus::ExtractVoport(): FAILED! (pbyBuffer = NULL)\n");
        return false;
    }
    image.dwSize = process.ResourceSize(hResource);
    if (image.dwSize == 0) {
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::ExtractVoport",
                      "CSmBus::ExtractVoport(): FAILED! (lDrvSize is zero)\n");
        return false;
    }
    return true;
}

/// Whether a file of the image's size is there already.
bool IsInstalled(const WCHAR* pszTarget, DWORD dwSize)
{
    IFileSystem& files = CurrentPlatform().FileSystem();
    const CScopedHandle file(
        files.Open(pszTarget, kGenericRead, kShareRead, kOpenExisting, kAttributeNormal),
        CloseWideFile);
    if (!file.IsOpen())
        return false;
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::ExtractVoport",
                            "CSmBus::ExtractVoport(): CreateFile(GENERIC_READ) OK!\n");
    const DWORD dwFileSize = files.Size(file.Get());
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::ExtractVoport",
                            "CSmBus::ExtractVoport(): lFileSize  = %ld\n", dwFileSize);
    return dwFileSize == dwSize;
}

int WriteImage(const WCHAR* pszTarget, const DRIVER_IMAGE& image)
{
    IFileSystem& files = CurrentPlatform().FileSystem();
    const CScopedHandle file(
        files.Open(pszTarget, kGenericWrite, kShareNone, kCreateAlways, kAttributeNormal),
        CloseWideFile);
    if (!file.IsOpen()) {
        ReportError("CRequestCMD::ExtractVoport",
                    "CSmBus::ExtractVoport(): CreateFile(GENERIC_WRITE) FAILED! ==> %s\n");
        return 0;
    }
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::ExtractVoport",
                            "CSmBus::ExtractVoport(): CreateFile(GENERIC_WRITE) OK!\n");
    DWORD dwDone = 0;
    return files.Write(file.Get(), image.pBytes, image.dwSize, &dwDone) ? 1 : 0;
}

/// What the system says of 32-bit processes on a 64-bit system. @return false: it cannot be asked
bool AskWow64(int& nWow64)
{
    IProcess& process = CurrentPlatform().Process();
    HANDLE const hKernel = process.LoadedModule(WTEXT("kernel32"));
    if (hKernel == nullptr || !process.HasFunction(hKernel, "IsWow64Process"))
        return false;
    (void)process.QueryWow64Process(&nWow64);
    return true;
}

/// Installs and starts the driver, with one more try after a removal. @return non-zero: it runs
int InstallWithRetry(CRequestCMD& cmd, const WCHAR* pszPath)
{
    if (cmd.ManageDriver(kService, pszPath, CRequestCMD::kInstallAndStart) != 0)
        return 1;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CRequestCMD::XH_InitVoPortDriver",
                            "CSmBus::LoadVoportDriver(): Unable to install driver!\n");
    cmd.ManageDriver(kService, pszPath, CRequestCMD::kStopAndRemove);
    if (cmd.ManageDriver(kService, pszPath, CRequestCMD::kInstallAndStart) != 0)
        return 1;
    CMsg::GetObj()->ShowMsg(MSG_FAIL, "CRequestCMD::XH_InitVoPortDriver",
                            "CSmBus::LoadVoportDriver(): Unable to install driver again!\n");
    cmd.ManageDriver(kService, pszPath, CRequestCMD::kStopAndRemove);
    return 0;
}
} // namespace

int CRequestCMD::XH_InitVoPortDriver(BYTE /*byA*/, BYTE /*byB*/, BYTE /*byC*/)
{
    CMsg* const pMsg = CMsg::GetObj();
    m_bIsWow64 = 0;
    m_hDriver = InvalidHandle(); // Deliberate: a driver that an earlier start opened stays open
    int nWow64 = 0;
    const bool bAsked = AskWow64(nWow64);
    pMsg->ShowMsg(MSG_INFO, "CRequestCMD::XH_InitVoPortDriver",
                  "CSmBus::LoadVoportDriver(): dwNTVersion = %d.%d.%d\n", 0, 0, 0);
    m_bIsWinNT = 1;
    pMsg->ShowMsg(MSG_INFO, "CRequestCMD::XH_InitVoPortDriver",
                  "CSmBus::LoadVoportDriver(): m_bIsWinNT = TRUE\n");
    if (bAsked) {
        m_bIsWow64 = nWow64;
        pMsg->ShowMsg(MSG_INFO, "CRequestCMD::XH_InitVoPortDriver",
                      "CSmBus::LoadVoportDriver(): m_bIsWow64 = %d\n", m_bIsWow64);
    }
    // Deliberate: neither the resource's name nor its type is passed. A system whose library
    // carries no such resource stops here.
    if (ExtractVoport(0, nullptr) == 0) {
        pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::XH_InitVoPortDriver",
                      "CSmBus::LoadVoportDriver(): ExtractVoport() FAILED!\n");
        return 0;
    }
    m_hDriver = OpenDriver();
    if (m_hDriver != InvalidHandle())
        return 1;
    const DWORD dwError = SystemError();
    if (dwError == kErrFileNotFound)
        return InstallAndOpen();
    pMsg->ShowMsg(MSG_FAIL, "CRequestCMD::XH_InitVoPortDriver",
                  "CSmBus::LoadVoportDriver(): CreateFile() FAILED! ==> %d\n", dwError);
    return 0;
}

int CRequestCMD::InstallAndOpen()
{
    WCHAR szPath[kPathChars] = {};
    if (SetupDriverName(szPath) == 0) {
        ReportError("CRequestCMD::XH_InitVoPortDriver",
                    "CSmBus::LoadVoportDriver(): SetupDriverName() FAILED! ==> %s\n");
        return 0;
    }
    if (InstallWithRetry(*this, szPath) == 0)
        return 0;
    m_hDriver = OpenDriver();
    if (m_hDriver != InvalidHandle())
        return 1;
    ReportError("CRequestCMD::XH_InitVoPortDriver",
                "CSmBus::LoadVoportDriver(): CreateFile() FAILED! ==> %s\n");
    return 0;
}

int CRequestCMD::XH_UnInitVoPortDriver()
{
    if (m_bIsWinNT == 0)
        return 1;
    if (!CurrentPlatform().DeviceFile().Close(m_hDriver))
        CMsg::GetObj()->ShowMsg(MSG_FAIL, "CRequestCMD::XH_UnInitVoPortDriver",
                                "CSmBus::CloseVoportDriver(): Failed to close device.\n");
    m_hDriver = nullptr;
    return 1;
}

int CRequestCMD::ExtractVoport(USHORT wResourceId, const WCHAR* pszResourceType)
{
    DRIVER_IMAGE image;
    if (!FindImage(wResourceId, pszResourceType, image))
        return 0;
    WCHAR szTarget[kPathChars] = {};
    const DWORD dwFolder =
        CurrentPlatform().FileSystem().WindowsFolder(szTarget, static_cast<DWORD>(kPathChars));
    if (!Join(szTarget, dwFolder, InstalledName(m_bIsWow64)))
        return 0;
    CMsg::GetObj()->ShowMsg_U(MSG_INFO, "CRequestCMD::ExtractVoport",
                              WTEXT("CSmBus::ExtractVoport(): szDrvName = %s\n"), szTarget);
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CRequestCMD::ExtractVoport",
                            "CSmBus::ExtractVoport(): lDrvSize  = %ld\n", image.dwSize);
    if (IsInstalled(szTarget, image.dwSize))
        return 1;
    return WriteImage(szTarget, image);
}

int CRequestCMD::SetupDriverName(WCHAR* pszPath)
{
    IFileSystem& files = CurrentPlatform().FileSystem();
    const DWORD dwChars = static_cast<DWORD>(kPathChars);
    const WCHAR* const pszLocal = m_bIsWow64 != 0 ? WTEXT("\\voport64.sys") : WTEXT("\\voport.sys");
    if (!Join(pszPath, files.WorkingFolder(pszPath, dwChars), pszLocal)) {
        ReportError("CRequestCMD::SetupDriverName",
                    "CSmBus::SetupDriverName(): GetCurrentDirectory() FAILED! ==> %s\n");
        return 0;
    }
    CMsg::GetObj()->ShowMsg_U(MSG_INFO, "CRequestCMD::SetupDriverName",
                              WTEXT("CSmBus::SetupDriverName(): szDrvLocation = %s\n"), pszPath);
    if (OpensForReading(pszPath))
        return 1;
    if (!Join(pszPath, files.WindowsFolder(pszPath, dwChars), InstalledName(m_bIsWow64))) {
        ReportError("CRequestCMD::SetupDriverName",
                    "CSmBus::SetupDriverName(): GetWindowsDirectory() FAILED! ==> %s\n");
        return 0;
    }
    CMsg::GetObj()->ShowMsg_U(MSG_INFO, "CRequestCMD::SetupDriverName",
                              WTEXT("CSmBus::SetupDriverName(): szDrvLocation = %s\n"), pszPath);
    if (OpensForReading(pszPath))
        return 1;
    ReportError("CRequestCMD::SetupDriverName",
                "CSmBus::SetupDriverName(): CreateFile() FAILED! ==> %s\n");
    return 0;
}
