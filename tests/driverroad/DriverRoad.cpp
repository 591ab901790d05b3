#include "DriverRoad.h"

#include <fstream>
#include <iterator>

#include "NormalisedLog.h"

namespace
{
WString Join(IFileSystem& files, DWORD (IFileSystem::*pfnFolder)(WCHAR*, DWORD),
             const WCHAR* pszTail)
{
    WCHAR szFolder[260] = {};
    (files.*pfnFolder)(szFolder, 260);
    return WString(szFolder) + pszTail;
}
} // namespace

std::string OwnFolder()
{
    char szPath[1024] = {};
    const auto* pCode = reinterpret_cast<const void*>(&OwnFolder);
    RealPlatform().Process().ModulePath(pCode, szPath, sizeof szPath);
    const std::string strPath = szPath;
    return strPath.substr(0, strPath.rfind('\\') + 1);
}

DriverRoad::DriverRoad()
{
    RemoveService();
    Files().Remove(InstalledFile().c_str());
    ZelSetPlatform(&m_road);
}

DriverRoad::~DriverRoad()
{
    XH_UnInitDevice();
    ZelSetPlatform(nullptr);
    RemoveService();
}

DWORD DriverRoad::ServiceState()
{
    SERVICE_STATE state = {};
    HANDLE const hManager = Services().OpenManager(kManagerAllAccess);
    HANDLE const hService = Services().OpenNamed(hManager, ZELUPX_SERVICE_NAME, kServiceAllAccess);
    if (hService != nullptr) {
        EXPECT_TRUE(Services().Query(hService, &state));
        Services().Close(hService);
    } else {
        EXPECT_EQ(m_road.Process().LastError(), kErrServiceDoesNotExist);
    }
    Services().Close(hManager);
    return state.dwCurrentState;
}

void DriverRoad::RemoveService()
{
    HANDLE const hManager = Services().OpenManager(kManagerAllAccess);
    HANDLE const hService = Services().OpenNamed(hManager, ZELUPX_SERVICE_NAME, kServiceAllAccess);
    if (hService != nullptr) {
        SERVICE_STATE state = {};
        Services().Control(hService, kControlStop, &state);
        Services().Remove(hService);
        Services().Close(hService);
    }
    Services().Close(hManager);
}

WString DriverRoad::InstalledFile()
{
    return Join(Files(), &IFileSystem::SystemFolder, WTEXT("\\drivers\\ZelUpx.sys"));
}

void DriverRoad::Install(const char* pszVersion, const WString& strTo)
{
    const std::string strFrom = std::string(ZELHUB_DRIVERS) + "ZelUpx-" + pszVersion + ".sys";
    ASSERT_TRUE(Files().Copy(WString(strFrom.begin(), strFrom.end()).c_str(), strTo.c_str(), false))
        << strFrom << ": " << m_road.Process().LastError();
}

std::string DriverRoad::InstalledVersion()
{
    const WString strPath = InstalledFile();
    std::vector<BYTE> block(Files().VersionSize(strPath.c_str()));
    const FIXED_FILE_INFO* pInfo = nullptr;
    if (block.empty() ||
        !Files().ReadVersion(strPath.c_str(), static_cast<DWORD>(block.size()), block.data()) ||
        !Files().QueryRootVersion(block.data(), &pInfo))
        return {};
    const DWORD dwMost = pInfo->dwFileVersionMS;
    const DWORD dwLeast = pInfo->dwFileVersionLS;
    return std::to_string(dwMost >> 16) + "." + std::to_string(dwMost & 0xFFFF) + "." +
           std::to_string(dwLeast >> 16) + "." + std::to_string(dwLeast & 0xFFFF);
}

std::vector<std::string> DriverRoad::Log()
{
    std::ifstream file(OwnFolder() + "info.txt", std::ios::binary);
    return LinesBehindStamps(std::string(std::istreambuf_iterator<char>(file), {}));
}

bool DriverRoad::HasLogged(const std::string& strText)
{
    for (const std::string& strLine : Log())
        if (strLine.find(strText) != std::string::npos)
            return true;
    return false;
}
