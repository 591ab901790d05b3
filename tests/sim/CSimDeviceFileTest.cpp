#include "sim/CSimMachine.h"
#include "wire/DriverNames.h"
#include "wire/PortIo.h"

#include <cstring>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::SizeIs;

namespace
{
/// A device whose requests take a time of their own.
class CSlowDevice : public ISimUsbDevice
{
public:
    explicit CSlowDevice(CSimClock& clock) : m_clock(clock) {}
    SimTransferResult Control(const SETUP_PACKET& setup, BYTE* pData, DWORD dwTimeoutMs) override
    {
        const CSimClock::Micros limit = CSimClock::Micros{dwTimeoutMs} * 1000;
        m_clock.Advance(std::min(takes, limit));
        if (takes > limit)
            return {kErrSemTimeout, 0, 0};
        if (pData != nullptr)
            std::memset(pData, 0x42, setup.wLength);
        return {kErrNone, 0, setup.wLength};
    }
    CSimClock::Micros takes = 100;

private:
    CSimClock& m_clock;
};

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
    CSlowDevice m_device{m_machine.Time()};
};

TEST_F(DeviceFile, OpensOnlyWhatIsThere)
{
    CSimNode& hub = m_machine.Tree().AddHub(m_machine.RootHub(), 1, {});
    const WString strPath = hub.InterfacePath(0);
    EXPECT_NE(Open(strPath), InvalidHandle());
    hub.Spec().dwOpenError = kErrAccessDenied;
    EXPECT_EQ(Open(strPath), InvalidHandle());
    EXPECT_EQ(LastError(), kErrAccessDenied);
    hub.Plug(false);
    EXPECT_EQ(Open(strPath), InvalidHandle());
    EXPECT_EQ(LastError(), kErrFileNotFound);
}

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

class WinUsb : public DeviceFile
{
protected:
    void SetUp() override
    {
        DeviceNodeOptions options;
        options.bWinUsb = true;
        m_pNode = &m_machine.Tree().AddDevice(m_machine.RootHub(), 6, options, &m_device);
        m_hFile = Open(m_pNode->InterfacePath(0), kFlagOverlapped);
    }
    bool Start(OVERLAPPED_TRANSFER* pTransfer)
    {
        const BYTE setup[8] = {0xC0, 0x0C, 0, 0, 0, 0, 4, 0};
        return m_winUsb.ControlTransfer(m_hInterface, setup, m_data, 4, nullptr, pTransfer);
    }

    CSimWinUsb& m_winUsb = m_machine.WinUsb();
    CSimNode* m_pNode = nullptr;
    HANDLE m_hFile = nullptr;
    HANDLE m_hInterface = nullptr;
    BYTE m_data[4] = {};
    DWORD m_cbDone = 0;
};

TEST_F(WinUsb, CarriesAnOverlappedTransfer)
{
    ASSERT_TRUE(m_winUsb.Initialize(m_hFile, &m_hInterface));
    OVERLAPPED_TRANSFER transfer = {};
    EXPECT_FALSE(Start(&transfer));
    EXPECT_EQ(LastError(), 997u);
    EXPECT_EQ(m_data[0], 0);
    EXPECT_TRUE(m_winUsb.TransferResult(m_hFile, &transfer, &m_cbDone, 5000, false));
    EXPECT_EQ(m_cbDone, 4u);
    EXPECT_THAT(m_data, ElementsAre(0x42, 0x42, 0x42, 0x42));
    EXPECT_TRUE(m_winUsb.Free(m_hInterface));
}

TEST_F(WinUsb, TimesAWaitOutAndLeavesTheTransferUnderWay)
{
    ASSERT_TRUE(m_winUsb.Initialize(m_hFile, &m_hInterface));
    m_device.takes = 20000000;
    OVERLAPPED_TRANSFER transfer = {};
    Start(&transfer);
    for (int i = 1; i <= 2; ++i) {
        EXPECT_FALSE(m_winUsb.TransferResult(m_hFile, &transfer, &m_cbDone, 10000, false));
        EXPECT_EQ(LastError(), 258u);
        EXPECT_EQ(m_machine.Time().Now(), 10000000u * static_cast<unsigned>(i));
    }
}

TEST_F(WinUsb, RefusesFilesThatItDoesNotDrive)
{
    EXPECT_FALSE(m_winUsb.Initialize(Open(m_pNode->InterfacePath(0)), &m_hInterface));
    EXPECT_EQ(LastError(), kErrInvalidParameter);
    m_pNode->Spec().bWinUsb = false;
    EXPECT_FALSE(m_winUsb.Initialize(m_hFile, &m_hInterface));
    EXPECT_EQ(LastError(), 8u);
    EXPECT_FALSE(m_winUsb.Initialize(InvalidHandle(), &m_hInterface));
    EXPECT_EQ(LastError(), kErrInvalidHandle);
}

TEST_F(DeviceFile, OfHidNodesHaveCapabilities)
{
    CSimNode& device = m_machine.Tree().AddDevice(m_machine.RootHub(), 7, {}, &m_device);
    HidNodeOptions options;
    options.wUsagePage = 0xFF70;
    options.wUsage = 0x20;
    CSimNode& node = m_machine.Tree().AddHid(device, options);
    CSimHid& hid = m_machine.Hid();
    HANDLE hData = nullptr;
    ASSERT_EQ(hid.GetPreparsedData(Open(node.InterfacePath(0)), &hData), 1);
    HID_CAPS caps = {};
    EXPECT_EQ(hid.GetCaps(hData, &caps), kHidSuccess);
    EXPECT_EQ(caps.UsagePage, 0xFF70);
    EXPECT_EQ(caps.Usage, 0x20);
    node.Spec().lHidCapsStatus = -1;
    EXPECT_EQ(hid.GetCaps(hData, &caps), -1);
    EXPECT_EQ(hid.FreePreparsedData(hData), 1);
    EXPECT_LT(hid.GetCaps(hData, &caps), 0);
    EXPECT_EQ(hid.GetPreparsedData(Open(device.InterfacePath(0)), &hData), 0);
    EXPECT_EQ(hid.GetPreparsedData(nullptr, &hData), 0);
    EXPECT_EQ(LastError(), kErrInvalidHandle);
}

class CRegisters : public ISimPortSpace
{
public:
    DWORD Read(ULONGLONG address, unsigned cb) override
    {
        return static_cast<DWORD>(address << 8) | cb;
    }
    void Write(ULONGLONG address, DWORD dwValue, unsigned cb) override
    {
        lastAddress = address;
        dwLastValue = dwValue;
        cbLast = cb;
    }
    ULONGLONG lastAddress = 0;
    DWORD dwLastValue = 0;
    unsigned cbLast = 0;
};

struct PortRequest
{
    const char* pszCase;
    DWORD dwCode;
    std::vector<BYTE> in;
    DWORD cbOut;
    DWORD dwExpected; ///< value read or written; 0: the request is refused
};

const PortRequest kPortRequests[] = {
    {"ReadByteShort", IOCTL_VOPORT_READ_BYTE, {0x70, 0, 0, 0}, 1, 0x01},
    {"ReadByteLong", IOCTL_VOPORT_READ_BYTE, {0x70, 0, 0, 0, 0, 0, 0, 0}, 1, 0x01},
    {"ReadDword", IOCTL_VOPORT_READ_DWORD, {0x70, 0, 0, 0}, 4, 0x7004},
    {"WriteByte", IOCTL_VOPORT_WRITE_BYTE, {0x70, 0, 0, 0, 9}, 0, 9},
    {"WriteByteLong", IOCTL_VOPORT_WRITE_BYTE, {0x70, 0, 0, 0, 0, 0, 0, 0, 9}, 0, 9},
    {"WriteDword", IOCTL_VOPORT_WRITE_DWORD, {0x70, 0, 0, 0, 9, 8, 0, 0}, 0, 0x0809},
    {"ReadMapped", IOCTL_VOPORT_READ_DWORD_MAPPED, {0x70, 0, 0, 0, 0, 0, 0, 0}, 4, 0x7004},
    {"WriteMapped", IOCTL_VOPORT_WRITE_BYTE_MAPPED, {0x70, 0, 0, 0, 0, 0, 0, 0, 9}, 0, 9},
    {"MappedIsNeverShort", IOCTL_VOPORT_READ_BYTE_MAPPED, {0x70, 0, 0, 0}, 1, 0},
    {"OddLength", IOCTL_VOPORT_READ_BYTE, {0x70, 0, 0}, 1, 0},
    {"OutputTooLong", IOCTL_VOPORT_READ_BYTE, {0x70, 0, 0, 0}, 4, 0},
    {"NoSuchPort", IOCTL_VOPORT_READ_BYTE, {0x70, 0, 1, 0}, 1, 0},
};

class PortDriver : public DeviceFile, public testing::WithParamInterface<PortRequest>
{};

TEST_P(PortDriver, TakesExactlyTheDocumentedLayouts)
{
    CRegisters registers;
    m_machine.Ports().Claim(0x70, 1, &registers);
    m_machine.Memory().Claim(0x70, 1, &registers);
    SimService service;
    service.strName = VOPORT_SERVICE_NAME;
    service.dwState = kStateRunning;
    m_machine.Services().Put(service);
    const HANDLE hDriver = Open(VOPORT_DEVICE_PATH);
    const PortRequest& request = GetParam();
    DWORD dwValue = 0;
    DWORD cbDone = 0;

    const bool bDone = m_machine.DeviceFile().Control(
        hDriver, request.dwCode, request.in.data(), static_cast<DWORD>(request.in.size()),
        request.cbOut == 0 ? nullptr : &dwValue, request.cbOut, &cbDone);

    EXPECT_EQ(bDone, request.dwExpected != 0);
    EXPECT_THAT(m_machine.PortDriver().Rejections(), SizeIs(bDone ? 0 : 1));
    EXPECT_EQ(cbDone, bDone ? request.cbOut : 0u);
    EXPECT_EQ(request.cbOut == 0 ? registers.dwLastValue : dwValue, request.dwExpected);
    EXPECT_EQ(m_machine.Time().Now(), bDone ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Every, PortDriver, testing::ValuesIn(kPortRequests),
                         [](const auto& entry) { return std::string(entry.param.pszCase); });
} // namespace
