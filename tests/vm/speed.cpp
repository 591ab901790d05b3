// Writes and reads a hub's flash through the library and by a bare loop of libusb's calls, in
// turns, and prints the best time of each. Usage: speed NODE LOCATION The hub runs its ROM code and
// holds nothing but 0x5A: writing that again takes no flash time.
#include "api/zelhub.h"
#include "cmd/CRequestCMD.h"
#include "find/HubInfo.h"
#include "wire/HubRequests.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <libusb.h>
#include <string>
#include <vector>

namespace
{

constexpr int kRounds = 7;
constexpr DWORD kFlash = 0x10000;
constexpr unsigned kTimeoutMs = 5000;
constexpr double kMost = 1.02; // times the bare loop
std::vector<BYTE> g_data(FLASH_REQUEST_MAX, 0x5A);

bool Bare(libusb_device_handle* pDevice, BYTE byType, BYTE byRequest, DWORD dwAddr)
{
    return libusb_control_transfer(pDevice, byType, byRequest, static_cast<USHORT>(dwAddr),
                                   static_cast<USHORT>(dwAddr >> 16), g_data.data(),
                                   FLASH_REQUEST_MAX, kTimeoutMs) == FLASH_REQUEST_MAX;
}

/// The library sends each write twice.
bool PassBare(libusb_device_handle* pDevice)
{
    bool bDone = true;
    for (DWORD dwAddr = 0; dwAddr < kFlash; dwAddr += FLASH_REQUEST_MAX)
        bDone = Bare(pDevice, REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, dwAddr) &&
                Bare(pDevice, REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, dwAddr) &&
                Bare(pDevice, REQTYPE_VENDOR_IN, REQ_READ_FLASH, dwAddr) && bDone;
    return bDone;
}

bool PassLibrary()
{
    CRequestCMD* const pCommands = CRequestCMD::GetRequestObj();
    bool bDone = true;
    for (DWORD dwAddr = 0; dwAddr < kFlash; dwAddr += FLASH_REQUEST_MAX)
        bDone = pCommands->KyHub_WriteFlash2(dwAddr, g_data.data(), FLASH_REQUEST_MAX) == 0 &&
                pCommands->KyHub_ReadFlash2(dwAddr, g_data.data(), FLASH_REQUEST_MAX) == 0 && bDone;
    return bDone;
}

/// @return whether the library has this hub open now
bool OpenHub(const std::string& strLocation)
{
    _Hub_Info* pList = nullptr;
    DWORD dwCount = 0;
    if (!XH_InitDevice(false) || !XH_ListAllDevice(&pList, &dwCount))
        return false;
    DWORD dwInstance = 0;
    for (DWORD i = 0; i < dwCount; ++i) {
        const WCHAR* const pszPath = pList[i].LocationPath;
        if (std::equal(strLocation.begin(), strLocation.end(), pszPath) &&
            pszPath[strLocation.size()] == 0)
            dwInstance = pList[i].DevInst;
    }
    XH_FreeAllDevice(pList);
    return dwInstance != 0 && XH_OpenDeviceEx2(dwInstance) &&
           CRequestCMD::GetRequestObj()->KyHub_VdCmdEnable(VDCMD_ENABLE_WRITE) == 0;
}

template<class Pass>
void Time(Pass pass, double& dBest)
{
    const auto start = std::chrono::steady_clock::now();
    const bool bDone = pass();
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    dBest = bDone ? std::min(dBest, passed.count()) : -1; // a failed pass counts for ever
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    libusb_device_handle* pDevice = nullptr;
    libusb_set_option(nullptr, LIBUSB_OPTION_NO_DEVICE_DISCOVERY);
    if (nArguments != 3 || libusb_init(nullptr) != 0 ||
        libusb_wrap_sys_device(nullptr, ::open(ppArguments[1], O_RDWR | O_CLOEXEC), &pDevice) != 0)
        return 2;
    double dLibrary = 1e9;
    double dBare = 1e9;
    if (!OpenHub(ppArguments[2]) || !PassLibrary()) {
        std::puts("the hub cannot be opened or written");
        return 1;
    }
    for (int i = 0; i < kRounds; ++i) {
        Time([&] { return PassBare(pDevice); }, dBare);
        Time(PassLibrary, dLibrary);
    }
    XH_UnInitDevice();
    std::printf("flash written and read, best of %d: library %.1f ms, bare libusb %.1f ms, %.3f "
                "times (target %.2f)\n",
                kRounds, dLibrary, dBare, dLibrary / dBare, kMost);
    return dBare > 0 && dLibrary > 0 && dLibrary <= kMost * dBare ? 0 : 1;
}
