#include "sim/machine/CSimMachine.h"
#include "wire/DriverNames.h"
#include "wire/PortIo.h"

#include <gmock/gmock.h>

using testing::SizeIs;

namespace
{
class DeviceFile : public testing::Test
{
protected:
    HANDLE Open(const WString& strPath, DWORD dwFlags = 0)
    {
        return m_machine.DeviceFile().Open(strPath.c_str(), kGenericRead | kGenericWrite, kShareAll,
                                           kOpenExisting, dwFlags);
    }
    DWORD LastError() { return m_machine.Process().LastError(); }

    CSimMachine m_machine;
};

TEST_F(DeviceFile, StaysDeadAfterItsDeviceLeftAndReturned)
{
    CSimNode& outer = m_machine.Tree().AddHub(m_machine.RootHub(), 1, {});
    CSimNode& hub = m_machine.Tree().AddHub(outer, 1, {});
    const unsigned n = hub.Generation();
    outer.Plug(false);
    EXPECT_EQ(hub.TransferError(n), kErrDeviceGone);
    outer.Plug(true);
    EXPECT_EQ(hub.TransferError(n), kErrDeviceGone);
    EXPECT_EQ(hub.TransferError(hub.Generation()), kErrNone);
}

TEST_F(DeviceFile, IsDrivenByWinUsbWhereTheNodeHasItAndTheOpenIsOverlapped)
{
    DeviceNodeOptions options;
    options.bWinUsb = true;
    CSimNode& node = m_machine.Tree().AddDevice(m_machine.RootHub(), 6, options);
    CSimWinUsb& winUsb = m_machine.WinUsb();
    HANDLE hInterface = nullptr;
    EXPECT_FALSE(winUsb.Initialize(Open(node.InterfacePath(0)), &hInterface));
    EXPECT_EQ(LastError(), kErrInvalidParameter);
    const HANDLE hFile = Open(node.InterfacePath(0), kFlagOverlapped);
    EXPECT_TRUE(winUsb.Initialize(hFile, &hInterface));
    node.Traits().bWinUsb = false;
    EXPECT_FALSE(winUsb.Initialize(hFile, &hInterface));
    EXPECT_EQ(LastError(), 8u);
    EXPECT_FALSE(winUsb.Initialize(InvalidHandle(), &hInterface));
    EXPECT_EQ(LastError(), kErrInvalidHandle);
}

class CRegisters : public ISimPortSpace
{
public:
    DWORD Read(ULONGLONG address, unsigned cb) override
    {
        return static_cast<DWORD>(address << 8) | cb;
    }
    void Write(ULONGLONG /*address*/, DWORD dwValue, unsigned /*cb*/) override
    {
        dwLastValue = dwValue;
    }
    DWORD dwLastValue = 0;
};

struct PortRequest
{
    DWORD dwCode;
    std::vector<BYTE> in;
    DWORD cbOut;
    DWORD dwExpected; ///< value read or written; 0: the request is refused
};

const PortRequest kPortRequests[] = {
    {IOCTL_VOPORT_READ_BYTE, {0x70, 0, 0, 0}, 1, 0x01},
    {IOCTL_VOPORT_READ_BYTE, {0x70, 0, 0, 0, 0, 0, 0, 0}, 1, 0x01},
    {IOCTL_VOPORT_READ_DWORD, {0x70, 0, 0, 0}, 4, 0x7004},
    {IOCTL_VOPORT_WRITE_BYTE, {0x70, 0, 0, 0, 9}, 0, 9},
    {IOCTL_VOPORT_WRITE_BYTE, {0x70, 0, 0, 0, 0, 0, 0, 0, 9}, 0, 9},
    {IOCTL_VOPORT_WRITE_DWORD, {0x70, 0, 0, 0, 9, 8, 0, 0}, 0, 0x0809},
    {IOCTL_VOPORT_READ_DWORD_MAPPED, {0x70, 0, 0, 0, 0, 0, 0, 0}, 4, 0x7004},
    {IOCTL_VOPORT_WRITE_BYTE_MAPPED, {0x70, 0, 0, 0, 0, 0, 0, 0, 9}, 0, 9},
    {IOCTL_VOPORT_READ_BYTE_MAPPED, {0x70, 0, 0, 0}, 1, 0},
    {IOCTL_VOPORT_READ_BYTE, {0x70, 0, 0}, 1, 0},
    {IOCTL_VOPORT_READ_BYTE, {0x70, 0, 0, 0}, 4, 0},
    {IOCTL_VOPORT_READ_BYTE, {0x70, 0, 1, 0}, 1, 0},
};

TEST_F(DeviceFile, OfThePortDriverTakesExactlyTheDocumentedLayouts)
{
    for (const PortRequest& request : kPortRequests) {
        CSimMachine machine;
        CRegisters registers;
        machine.Ports().Claim(0x70, 1, &registers);
        machine.Memory().Claim(0x70, 1, &registers);
        SimService service;
        service.strName = VOPORT_SERVICE_NAME;
        service.dwState = kStateRunning;
        machine.Services().Put(service);
        const HANDLE hDriver = machine.DeviceFile().Open(
            VOPORT_DEVICE_PATH, kGenericRead | kGenericWrite, kShareAll, kOpenExisting, 0);
        DWORD dwValue = 0;
        DWORD cbDone = 0;

        const bool bDone = machine.DeviceFile().Control(
            hDriver, request.dwCode, request.in.data(), static_cast<DWORD>(request.in.size()),
            request.cbOut == 0 ? nullptr : &dwValue, request.cbOut, &cbDone);

        SCOPED_TRACE(&request - kPortRequests);
        EXPECT_EQ(bDone, request.dwExpected != 0);
        EXPECT_THAT(machine.PortDriver().Rejections(), SizeIs(bDone ? 0 : 1));
        EXPECT_EQ(cbDone, bDone ? request.cbOut : 0u);
        EXPECT_EQ(request.cbOut == 0 ? registers.dwLastValue : dwValue, request.dwExpected);
        EXPECT_EQ(machine.Time().Now(), bDone ? 1u : 0u);
    }
}
} // namespace
