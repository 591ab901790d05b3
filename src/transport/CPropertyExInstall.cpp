// Starting and releasing the proxy driver.
#include "msg/CMsg.h"
#include "platform/ErrorCodes.h"
#include "platform/IDeviceFile.h"
#include "platform/IFileSystem.h"
#include "platform/IProcess.h"
#include "platform/IServiceManager.h"
#include "platform/Platform.h"
#include "transport/CPropertyEx.h"
#include "transport/CScopedHandle.h"
#include "transport/DriverImages.h"
#include "wire/DriverNames.h"

#include <algorithm>
#include <vector>

namespace
{
constexpr const char* kInit = "CPropertyEx::InitProxyDriver";
constexpr DWORD kPathChars = 260;
constexpr const WCHAR* kDebugDriver = WTEXT("C:\\ZelUpx.sys");

constexpr USHORT kMachineX86 = 0x014C;
constexpr USHORT kMachineX64 = 0x8664;
constexpr USHORT kArchitectureX86 = 0;
constexpr USHORT kArchitectureX64 = 9;

IFileSystem& Files()
{
    return CurrentPlatform().FileSystem();
}

using FolderReader = DWORD (IFileSystem::*)(WCHAR*, DWORD);

/// A folder and what follows it, cut to a path's length.
WString ComposePath(FolderReader pfnFolder, const WCHAR* pszTail)
{
    WCHAR szFolder[kPathChars] = {};
    (Files().*pfnFolder)(szFolder, kPathChars);
    szFolder[kPathChars - 1] = 0;
    WString strPath = szFolder;
    strPath += pszTail;
    if (strPath.size() > kPathChars - 1)
        strPath.resize(kPathChars - 1);
    return strPath;
}

WString FlagPath()
{
    return ComposePath(&IFileSystem::TemporaryFolder, WTEXT("\\ZelUpx.flag"));
}

/// Opens an existing file for reading, leaving others every freedom.
HANDLE OpenShared(const WCHAR* pszPath)
{
    return Files().Open(pszPath, kGenericRead, kShareAll, kOpenExisting, kAttributeNormal);
}

/// Keeps a WOW64 process's file-system redirection off while it lives.
class CNoRedirection
{
public:
    CNoRedirection() = default;
    CNoRedirection(const CNoRedirection&) = delete;
    CNoRedirection& operator=(const CNoRedirection&) = delete;
    ~CNoRedirection()
    {
        if (m_bDisabled)
            CurrentPlatform().Process().RevertRedirection(m_pOld);
        if (m_hKernel != nullptr)
            CurrentPlatform().Process().UnloadModule(m_hKernel);
    }

    /// @return true when redirection is off
    bool Begin()
    {
        IProcess& process = CurrentPlatform().Process();
        m_hKernel = process.LoadModule(WTEXT("kernel32.dll"));
        m_bDisabled = m_hKernel != nullptr &&
                      process.HasFunction(m_hKernel, "Wow64DisableWow64FsRedirection") &&
                      process.HasFunction(m_hKernel, "Wow64RevertWow64FsRedirection") &&
                      process.DisableRedirection(&m_pOld);
        return m_bDisabled;
    }

private:
    HANDLE m_hKernel = nullptr;
    void* m_pOld = nullptr;
    bool m_bDisabled = false;
};

/// The image for a machine; says which.
std::span<const BYTE> ChooseImage(MachineType eMachine)
{
    CMsg* const pMsg = CMsg::GetObj();
    switch (eMachine) {
    case MACHINE_X64:
        pMsg->ShowMsg(MSG_INFO, kInit, "Using ZelUpx x64\n");
        return CarriedDriverImages().x64;
    case MACHINE_ARM64:
        pMsg->ShowMsg(MSG_INFO, kInit, "Using ZelUpx ARM64\n");
        return CarriedDriverImages().arm64;
    default:
        pMsg->ShowMsg(MSG_INFO, kInit, "Using ZelUpx x86\n");
        return CarriedDriverImages().x86;
    }
}
} // namespace

int CPropertyEx::IsWow64()
{
    IProcess& process = CurrentPlatform().Process();
    HANDLE const hKernel = process.LoadedModule(WTEXT("kernel32"));
    int nWow64 = 0;
    if (hKernel == nullptr || !process.HasFunction(hKernel, "IsWow64Process") ||
        !process.QueryWow64Process(&nWow64))
        return 0;
    return nWow64;
}

int CPropertyEx::IsWow64_2(MachineType* pMachine)
{
    // Deliberate: neither way names ARM64, so such a host gets the x86 image.
    const char* const pszMe = "CPropertyEx::IsWow64_2";
    IProcess& process = CurrentPlatform().Process();
    HANDLE const hKernel = process.LoadedModule(WTEXT("kernel32"));
    if (hKernel == nullptr)
        return 0;
    if (process.HasFunction(hKernel, "IsWow64Process2")) {
        USHORT wProcess = 0;
        USHORT wNative = 0;
        if (!process.QueryWow64Process2(&wProcess, &wNative))
            return 0;
        CMsg::GetObj()->ShowMsg(MSG_INFO, pszMe, "ProcessMaching=%d, NativeMachine=%d\n", wProcess,
                                wNative);
        *pMachine = wNative == kMachineX86   ? MACHINE_X86
                    : wNative == kMachineX64 ? MACHINE_X64
                                             : MACHINE_OTHER;
        return wProcess != 0 ? 1 : 0;
    }
    if (process.HasFunction(hKernel, "IsWow64Process")) {
        const USHORT wArchitecture = process.NativeArchitecture();
        CMsg::GetObj()->ShowMsg(MSG_INFO, pszMe, "si.wProcessorArchitecture = %d\n", wArchitecture);
        *pMachine = wArchitecture == kArchitectureX86   ? MACHINE_X86
                    : wArchitecture == kArchitectureX64 ? MACHINE_X64
                                                        : MACHINE_OTHER;
        return IsWow64();
    }
    return 0;
}

int CPropertyEx::FileExists(const WCHAR* pszPath)
{
    const DWORD dwAttributes = Files().Attributes(pszPath);
    return dwAttributes != kInvalidAttributes && (dwAttributes & kAttributeDirectory) == 0 ? 1 : 0;
}

int CPropertyEx::FlagFileExists(const WCHAR* pszPath)
{
    CScopedHandle flag(OpenShared(pszPath), CloseWideFile);
    if (flag.IsOpen())
        return 1;
    const DWORD dwError = SystemError();
    if (dwError == kErrFileNotFound)
        return 0;
    CMsg::GetObj()->ShowMsg(MSG_INFO, "CPropertyEx::FlagFileExists",
                            "Cannot tell if ZelUpx.flag exists %d\n", dwError);
    return 1;
}

int CPropertyEx::GetFileVersion(const WCHAR* pszPath, _tag_VERSION* pVersion)
{
    if (pVersion == nullptr)
        return 0;
    const DWORD cb = Files().VersionSize(pszPath);
    if (cb == 0)
        return 0;
    std::vector<BYTE> block(cb);
    const FIXED_FILE_INFO* pInfo = nullptr;
    if (!Files().ReadVersion(pszPath, cb, block.data()) ||
        !Files().QueryRootVersion(block.data(), &pInfo) || pInfo == nullptr)
        return 0;
    pVersion->wMajor = static_cast<USHORT>(pInfo->dwFileVersionMS >> 16);
    pVersion->wMinor = static_cast<USHORT>(pInfo->dwFileVersionMS & 0xFFFF);
    pVersion->wBuild = static_cast<USHORT>(pInfo->dwFileVersionLS >> 16);
    pVersion->wRevision = static_cast<USHORT>(pInfo->dwFileVersionLS & 0xFFFF);
    return 1;
}

DWORD CPropertyEx::CompareFileVersion(const WCHAR* pszA, const WCHAR* pszB)
{
    _tag_VERSION a = {};
    _tag_VERSION b = {};
    if (GetFileVersion(pszA, &a) == 0 || GetFileVersion(pszB, &b) == 0)
        return 1;
    // Deliberate: component by component, so that 1.5 counts as newer than 2.0 too.
    const bool bExceeds = a.wMajor > b.wMajor || a.wMinor > b.wMinor || a.wBuild > b.wBuild ||
                          a.wRevision > b.wRevision;
    return bExceeds ? 1 : 0;
}

int CPropertyEx::InitProxyDriver()
{
    if (hProxyDriver != nullptr)
        return 1;
    m_nWow64 = IsWow64_2(&m_eMachine);
    CNoRedirection redirection;
    if (m_nWow64 != 0 && !redirection.Begin())
        return 0;

    CScopedHandle manager(CurrentPlatform().ServiceManager().OpenManager(kManagerAllAccess),
                          CloseService);
    if (!manager.IsOpen()) {
        const DWORD dwError = SystemError();
        CMsg::GetObj()->ShowMsg(
            MSG_INFO, kInit,
            "OpenSCManager failed with %d, possible don't have engough access right to install kyproxy\n",
            dwError);
    } else {
        manager.Reset();
        if (InstallDriver() == 0)
            return 0;
    }
    JoinFlagFile(FlagPath().c_str());
    return OpenControlDevice();
}

/// Puts the driver file in its place and the service in order. @return 0 on failure
int CPropertyEx::InstallDriver()
{
    const WString strInstalled =
        ComposePath(&IFileSystem::SystemFolder, WTEXT("\\drivers\\ZelUpx.sys"));
    int nUpdated = 0;
    if (PlaceDriverFile(strInstalled.c_str(), &nUpdated) == 0)
        return 0;
    const int nFlagExists = FlagFileExists(FlagPath().c_str());
    return InstallKyProxy(strInstalled.c_str(), nUpdated, nFlagExists);
}

/// Copies the debug driver or, where the installed one is older, the carried one.
/// @return 0 on failure
int CPropertyEx::PlaceDriverFile(const WCHAR* pszInstalled, int* pnUpdated)
{
    CMsg* const pMsg = CMsg::GetObj();
    CScopedHandle debug(
        Files().Open(kDebugDriver, kGenericRead, kShareRead, kOpenExisting, kAttributeNormal),
        CloseWideFile);
    if (debug.IsOpen()) {
        debug.Reset();
        pMsg->ShowMsg(MSG_INFO, kInit,
                      "Found C:\\ZelUpx.sys, always using this for debug purpose\n");
        *pnUpdated = 1;
        return Files().Copy(kDebugDriver, pszInstalled, false) ? 1 : 0;
    }

    pMsg->ShowMsg(MSG_INFO, kInit, "Using internal ZelUpx.sys\n");
    const WString strTemporary = ComposePath(&IFileSystem::TemporaryFolder, WTEXT("\\ZelUpx.sys"));
    if (WriteTemporaryDriver(strTemporary.c_str()) == 0)
        return 0;
    int nResult = 1;
    if (FileExists(pszInstalled) != 0 &&
        CompareFileVersion(strTemporary.c_str(), pszInstalled) == 0) {
        pMsg->ShowMsg(MSG_INFO, kInit, "Already have newer ZelUpx.sys, don't need to update\n");
    } else {
        pMsg->ShowMsg(MSG_INFO, kInit, "Extracting ZelUpx.sys\n");
        nResult = Files().Copy(strTemporary.c_str(), pszInstalled, false) ? 1 : 0;
        *pnUpdated = nResult;
    }
    Files().Remove(strTemporary.c_str());
    return nResult;
}

/// Writes the carried image. @return 0 on failure
int CPropertyEx::WriteTemporaryDriver(const WCHAR* pszTemporary)
{
    CMsg* const pMsg = CMsg::GetObj();
    const CScopedHandle file(
        Files().Open(pszTemporary, kGenericWrite, kShareNone, kCreateAlways, kAttributeNormal),
        CloseWideFile);
    if (!file.IsOpen()) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_INFO, kInit, "CreateFile %ws failed %d\n", pszTemporary, dwError);
        return 0;
    }
    const std::span<const BYTE> image = ChooseImage(m_eMachine);
    DWORD cbDone = 0;
    if (!Files().Write(file.Get(), image.data(), static_cast<DWORD>(image.size()), &cbDone)) {
        const DWORD dwError = SystemError();
        pMsg->ShowMsg(MSG_INFO, kInit, "WriteFile %ws failed %d\n", pszTemporary, dwError);
        return 0;
    }
    return 1;
}

/// Takes part in the count of processes that use the driver: the first makes the flag file, the
/// last one's close deletes it. A failure is only said.
void CPropertyEx::JoinFlagFile(const WCHAR* pszFlag)
{
    if (m_hFlagFile != InvalidHandle())
        return;
    CMsg* const pMsg = CMsg::GetObj();
    pMsg->ShowMsg(MSG_INFO, kInit, "Create/Open ZelUpx.flag path=%ws\n", pszFlag);
    if (FlagFileExists(pszFlag) == 0) {
        m_hFlagFile = Files().Open(pszFlag, kGenericRead | kGenericWrite | kAccessDelete, kShareAll,
                                   kOpenAlways, kAttributeTemporary | kFlagDeleteOnClose);
        if (m_hFlagFile == InvalidHandle()) {
            const DWORD dwError = SystemError();
            pMsg->ShowMsg(MSG_INFO, kInit, "Failed to create ZelUpx.flag file 0x%08X\n", dwError);
        }
    } else {
        m_hFlagFile = OpenShared(pszFlag);
        if (m_hFlagFile == InvalidHandle()) {
            const DWORD dwError = SystemError();
            pMsg->ShowMsg(MSG_INFO, kInit, "Failed to open existing ZelUpx.flag file 0x%08X\n",
                          dwError);
        }
    }
    m_bOwnsFlagFile = m_hFlagFile != InvalidHandle();
}

/// @return 1 when the driver is open
int CPropertyEx::OpenControlDevice()
{
    // Deliberate: opened for overlapped requests, yet every request waits.
    HANDLE const hDriver =
        CurrentPlatform().DeviceFile().Open(ZELUPX_DEVICE_PATH, kGenericRead | kGenericWrite,
                                            kShareNone, kOpenExisting, kFlagOverlapped);
    if (hDriver == InvalidHandle()) {
        CMsg::GetObj()->ShowMsg(MSG_INFO, kInit, "Failed to create hProxyDriver\n");
        return 0;
    }
    hProxyDriver = hDriver;
    m_bOwnsDriver = true;
    return 1;
}

int CPropertyEx::XH_UnInitProxyDriver()
{
    if (hProxyDriver == nullptr)
        return 1;
    const char* const pszMe = "CPropertyEx::XH_UnInitProxyDriver";
    CMsg* const pMsg = CMsg::GetObj();
    CScopedHandle(hProxyDriver, CloseDeviceFile).Reset();
    hProxyDriver = nullptr;
    m_bOwnsDriver = false;
    CScopedHandle(m_hFlagFile, CloseWideFile).Reset();
    m_hFlagFile = InvalidHandle();
    m_bOwnsFlagFile = false;

    const WString strFlag = FlagPath();
    pMsg->ShowMsg(MSG_INFO, pszMe, "Close ZelUpx.flag path=%ws\n", strFlag.c_str());
    const CScopedHandle flag(OpenShared(strFlag.c_str()), CloseWideFile);
    if (flag.IsOpen())
        return 1; // another process still uses the driver
    const DWORD dwError = SystemError();
    if (dwError == kErrFileNotFound) {
        pMsg->ShowMsg(MSG_INFO, pszMe, "Uninstall ZelUpx Driver\n");
        UninstallKyProxy();
    } else {
        pMsg->ShowMsg(MSG_INFO, pszMe, "Cannot tell if ZelUpx.flag exists %d\n", dwError);
    }
    return 1;
}
