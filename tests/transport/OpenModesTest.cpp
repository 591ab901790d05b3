#include "TransportBench.h"

namespace
{
/// How a file or device was opened.
struct OpenMode
{
    DWORD dwAccess;
    DWORD dwShare;
    DWORD dwDisposition;
    DWORD dwFlags;

    bool operator==(const OpenMode&) const = default;
};

/// The machine, with an eye on how its devices are opened.
class CWatchedMachine : public Platform, public IDeviceFile
{
public:
    explicit CWatchedMachine(CSimMachine& machine) : m_machine(machine)
    {
        SetCurrentPlatform(this);
    }
    CWatchedMachine(const CWatchedMachine&) = delete;
    CWatchedMachine& operator=(const CWatchedMachine&) = delete;
    ~CWatchedMachine() override { SetCurrentPlatform(&m_machine); }

    std::vector<OpenMode> opens;

    HANDLE Open(const WCHAR* pszPath, DWORD dwAccess, DWORD dwShare, DWORD dwDisposition,
                DWORD dwFlags) override
    {
        opens.push_back({dwAccess, dwShare, dwDisposition, dwFlags});
        return m_machine.DeviceFile().Open(pszPath, dwAccess, dwShare, dwDisposition, dwFlags);
    }
    bool Close(HANDLE hDevice) override { return m_machine.DeviceFile().Close(hDevice); }
    bool Control(HANDLE hDevice, DWORD dwCode, const void* pIn, DWORD cbIn, void* pOut, DWORD cbOut,
                 DWORD* pcbDone) override
    {
        return m_machine.DeviceFile().Control(hDevice, dwCode, pIn, cbIn, pOut, cbOut, pcbDone);
    }

    IDeviceTree& DeviceTree() override { return m_machine.DeviceTree(); }
    IDeviceFile& DeviceFile() override { return *this; }
    IServiceManager& ServiceManager() override { return m_machine.ServiceManager(); }
    IFileSystem& FileSystem() override { return m_machine.FileSystem(); }
    IHostFiles& HostFiles() override { return m_machine.HostFiles(); }
    IPowerSwitch& PowerSwitch() override { return m_machine.PowerSwitch(); }
    IEventPipe& EventPipe() override { return m_machine.EventPipe(); }
    IWinUsb& WinUsb() override { return m_machine.WinUsb(); }
    IHid& Hid() override { return m_machine.Hid(); }
    IProcess& Process() override { return m_machine.Process(); }
    IClock& Clock() override { return m_machine.Clock(); }

private:
    CSimMachine& m_machine;
};

constexpr DWORD kReadWrite = kGenericRead | kGenericWrite;
} // namespace

TEST(OpenModes, DiffersBetweenDriverHubAndHid)
{
    CBench bench;
    CSimNode& device = bench.machine.Tree().AddDevice(bench.node, 2, {});
    const DWORD hid = bench.machine.Tree().AddHid(device, {}, &bench.hub).DevInst();
    CWatchedMachine watched(bench.machine);

    ASSERT_EQ(bench.transport.InitProxyDriver(), 1);
    ASSERT_EQ(bench.transport.KyHub_OpenDeviceByDevInst(CBench::kHub), 0u);
    bench.transport.KyHub_CloseDevice();
    ASSERT_EQ(bench.transport.KyHub_OpenHidDeviceByDevInst(hid), 0u);

    // The driver is opened for overlapped requests though none is sent, and a HID device is
    // shared with the system's own stack.
    EXPECT_EQ(watched.opens,
              (std::vector<OpenMode>{{kReadWrite, kShareNone, kOpenExisting, kFlagOverlapped},
                                     {kReadWrite, kShareNone, kOpenExisting, kAttributeNormal},
                                     {kReadWrite, kShareRead | kShareWrite, kOpenExisting, 0}}));
}
