// Writes and reads a hub's flash through the library and by a bare loop of libusb's calls, in
// turns, and prints the best times. Usage: speed NODE LOCATION. The hub runs its ROM code and
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
#include <numeric>
#include <string>
#include <vector>

namespace
{

constexpr unsigned kRounds = 7;
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
bool BlockBare(libusb_device_handle* pDevice, DWORD dwAddr)
{
    return Bare(pDevice, REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, dwAddr) &&
           Bare(pDevice, REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, dwAddr) &&
           Bare(pDevice, REQTYPE_VENDOR_IN, REQ_READ_FLASH, dwAddr);
}

bool BlockLibrary(DWORD dwAddr)
{
    CRequestCMD* const pCommands = CRequestCMD::GetRequestObj();
    return pCommands->KyHub_WriteFlash2(dwAddr, g_data.data(), FLASH_REQUEST_MAX) == 0 &&
           pCommands->KyHub_ReadFlash2(dwAddr, g_data.data(), FLASH_REQUEST_MAX) == 0;
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

/// The shortest time of each block: what else runs on the machine hits some blocks of each round,
/// so whole rounds would measure that.
struct BestTimes
{
    template<class Act>
    void Take(DWORD nBlock, Act act)
    {
        const auto start = std::chrono::steady_clock::now();
        bDone = act() && bDone;
        const std::chrono::duration<double, std::milli> passed =
            std::chrono::steady_clock::now() - start;
        blocks[nBlock] = std::min(blocks[nBlock], passed.count());
    }
    double Sum() const { return std::accumulate(blocks.begin(), blocks.end(), 0.0); }

    std::vector<double> blocks = std::vector<double>(kFlash / FLASH_REQUEST_MAX, 1e9);
    bool bDone = true;
};

/// In turns, block by block; who begins takes turns as well. The first round warms both up.
void Measure(libusb_device_handle* pDevice, BestTimes& bare, BestTimes& library)
{
    for (unsigned i = 0; i <= kRounds; ++i) {
        if (i == 1)
            bare.blocks = library.blocks = BestTimes().blocks;
        for (DWORD n = 0; n < kFlash / FLASH_REQUEST_MAX; ++n) {
            const DWORD dwAddr = n * FLASH_REQUEST_MAX;
            const bool bBareFirst = (i + n) % 2 == 0;
            if (bBareFirst)
                bare.Take(n, [=] { return BlockBare(pDevice, dwAddr); });
            library.Take(n, [=] { return BlockLibrary(dwAddr); });
            if (!bBareFirst)
                bare.Take(n, [=] { return BlockBare(pDevice, dwAddr); });
        }
    }
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    libusb_device_handle* pDevice = nullptr;
    libusb_set_option(nullptr, LIBUSB_OPTION_NO_DEVICE_DISCOVERY);
    if (nArguments != 3 || libusb_init(nullptr) != 0 ||
        libusb_wrap_sys_device(nullptr, ::open(ppArguments[1], O_RDWR | O_CLOEXEC), &pDevice) != 0)
        return 2;
    BestTimes bare;
    BestTimes library;
    if (OpenHub(ppArguments[2]))
        Measure(pDevice, bare, library);
    else
        library.bDone = false;
    XH_UnInitDevice();
    if (!bare.bDone || !library.bDone) {
        std::puts("the hub cannot be opened, written or read");
        return 1;
    }
    const double dTimes = library.Sum() / bare.Sum();
    std::printf("flash written and read, each block's best of %u: library %.1f ms, bare libusb "
                "%.1f ms, %.3f times (target %.2f)\n",
                kRounds, library.Sum(), bare.Sum(), dTimes, kMost);
    return 0;
}
