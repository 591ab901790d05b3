// What the library costs beside the driver: writing and reading back 256 KiB of flash through the
// library against a bare loop that sends the bench driver the same I/O controls.
#include "../DriverRoad.h"

#include "cmd/CRequestCMD.h"
#include "platform/IDeviceFile.h"
#include "wire/HubRequests.h"
#include "wire/ProxyIoctl.h"
#include "wire/Urb.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

namespace
{
constexpr DWORD kBytes = 256 * 1024;
constexpr DWORD kTimeoutMs = 5000;
constexpr int kRuns = 7;
constexpr double kTarget = 1.05;

[[noreturn]] void Fail(const char* pszWhat)
{
    std::fprintf(stderr, "%s\n", pszWhat);
    std::exit(2);
}

void Expect(bool bHolds, const char* pszWhat)
{
    if (!bHolds)
        Fail(pszWhat);
}

/// The requests without the library. Opens the driver and the hub a second time.
class CBareLoop
{
public:
    CBareLoop(IDeviceFile& files, const CSimNode& node) : m_files(files)
    {
        m_hDriver = files.Open(ZELUPX_DEVICE_PATH, kGenericRead | kGenericWrite, kShareNone,
                               kOpenExisting, kFlagOverlapped);
        m_hHub = files.Open(node.InterfacePath(0).c_str(), kGenericRead | kGenericWrite, kShareNone,
                            kOpenExisting, kAttributeNormal);
        PROXY_DEVICE_REQUEST request = {};
        request.interfaceHandle = static_cast<ULONGLONG>(reinterpret_cast<uintptr_t>(m_hHub));
        DWORD cbDone = 0;
        Expect(files.Control(m_hDriver, IOCTL_KYPROXY_OPEN_DEVICE_BY_HANDLE, &request,
                             sizeof request, &request, sizeof request, &cbDone),
               "the bare loop cannot open the hub");
        m_device = request.deviceHandle;
    }
    CBareLoop(const CBareLoop&) = delete;
    CBareLoop& operator=(const CBareLoop&) = delete;
    ~CBareLoop()
    {
        m_files.Close(m_hHub);
        m_files.Close(m_hDriver);
    }

    /// Every block goes out twice, as the library sends it.
    void Write(Image& bytes)
    {
        for (DWORD dwAt = 0; dwAt < bytes.size(); dwAt += FLASH_REQUEST_MAX) {
            Send(REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, dwAt, bytes.data() + dwAt);
            Send(REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, dwAt, bytes.data() + dwAt);
        }
    }

    void Read(Image& bytes)
    {
        for (DWORD dwAt = 0; dwAt < bytes.size(); dwAt += FLASH_REQUEST_MAX)
            Send(REQTYPE_VENDOR_IN, REQ_READ_FLASH, dwAt, bytes.data() + dwAt);
    }

private:
    void Send(BYTE byType, BYTE byRequest, DWORD dwAddr, BYTE* pBuffer)
    {
        URB urb = {};
        urb.Transfer.Hdr.Length = URB_LENGTH;
        urb.Transfer.Hdr.Function = URB_FUNCTION_VENDOR_DEVICE;
        urb.Transfer.TransferFlags = (byType & 0x80) != 0 ? USBD_TRANSFER_DIRECTION_IN : 0;
        urb.Transfer.TransferBufferLength = FLASH_REQUEST_MAX;
        urb.Transfer.TransferBuffer = static_cast<ULONGLONG>(reinterpret_cast<uintptr_t>(pBuffer));
        urb.Request.Vendor.RequestTypeReservedBits = byType;
        urb.Request.Vendor.Request = byRequest;
        urb.Request.Vendor.Value = static_cast<USHORT>(dwAddr & 0xFFFF);
        urb.Request.Vendor.Index = static_cast<USHORT>(dwAddr >> 16);
        PROXY_URB_REQUEST request = {};
        request.deviceHandle = m_device;
        request.urbAddress = static_cast<ULONGLONG>(reinterpret_cast<uintptr_t>(&urb));
        request.timeoutMs = kTimeoutMs;
        DWORD cbDone = 0;
        Expect(m_files.Control(m_hDriver, IOCTL_KYPROXY_SEND_URB, &request, sizeof request, nullptr,
                               0, &cbDone) &&
                   urb.Transfer.Hdr.Status == 0,
               "a bare request failed");
    }

    IDeviceFile& m_files;
    HANDLE m_hDriver = nullptr;
    HANDLE m_hHub = nullptr;
    ULONGLONG m_device = 0;
};

double Milliseconds(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

/// The best time of one side, and the requests that the driver saw of it last.
struct Run
{
    double dBest = 1e9;
    std::string strRequests;

    void Add(CBenchRoad& road, const std::function<void()>& work)
    {
        road.ForgetRequests();
        dBest = std::min(dBest, Milliseconds(work));
        strRequests = road.RequestLog();
        Expect(!strRequests.empty(), "the driver tells no requests");
    }
};

/// @return how many times as long the library takes
double Measure(CBenchBus& bus, CBenchRoad& road)
{
    BenchJob job(bus.HubNode());
    Expect(job.pFlow->DevErase(), "the hub cannot be erased");
    Expect(job.finder.WaitDevConnect(job.pDev.get(), 1), "the hub does not open");
    CBareLoop bare(road.DeviceFile(), bus.HubNode());
    CRequestCMD& library = *CRequestCMD::GetRequestObj();
    Expect(library.KyHub_VdCmdEnable(VDCMD_ENABLE_WRITE) == 0, "the hub does not enable writing");
    Image written = CSimImage(kBytes).Seed(3).Build();
    Image read(kBytes);
    const auto useLibrary = [&] {
        Expect(library.KyHub_WriteFlash2(0, written.data(), kBytes) == 0 &&
                   library.KyHub_ReadFlash2(0, read.data(), kBytes) == 0,
               "a request of the library failed");
    };
    const auto useBareLoop = [&] {
        bare.Write(written);
        bare.Read(read);
    };
    Run libraryRun;
    Run bareRun;
    for (int i = 0; i < kRuns; ++i) {
        std::fill(read.begin(), read.end(), BYTE{0});
        libraryRun.Add(road, useLibrary);
        Expect(read == written, "the library read back something else");
        std::fill(read.begin(), read.end(), BYTE{0});
        bareRun.Add(road, useBareLoop);
        Expect(read == written, "the bare loop read back something else");
        Expect(libraryRun.strRequests == bareRun.strRequests, "the requests differ");
    }
    const double dRatio = libraryRun.dBest / bareRun.dBest;
    std::printf(
        "best of %d, %d requests: library %.1f ms, bare loop %.1f ms, ratio %.3f "
        "(target %.2f)\n",
        kRuns,
        static_cast<int>(std::count(bareRun.strRequests.begin(), bareRun.strRequests.end(), '\n')),
        libraryRun.dBest, bareRun.dBest, dRatio, kTarget);
    return dRatio;
}
} // namespace

int main()
{
    CBenchBus bus;
    CSimMachine machine(bus.Shared());
    CBenchRoad road(machine);
    ZelSetPlatform(&road);
    Expect(XH_InitDevice(false), "the library does not start");
    const double dRatio = Measure(bus, road);
    XH_UnInitDevice();
    return dRatio <= kTarget ? 0 : 1;
}
