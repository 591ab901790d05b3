#include "TransportBench.h"

#include "platform/ErrorCodes.h"
#include "wire/HubRequests.h"
#include "wire/ProxyIoctl.h"

#include <cstring>

namespace
{

DWORD ReadStatus(CBench& b)
{
    BYTE status[HUB_STATUS_LENGTH] = {};
    return b.transport.KyHub_SendVDCmd(REQTYPE_VENDOR_IN, REQ_STATUS, 0x12, 0x345, status,
                                       sizeof(status), 5000);
}

/// What identifies a transfer on its way to the driver.
struct Wire
{
    USHORT wFunction;
    DWORD dwFlags;
    DWORD dwLength;
    bool bBuffer;
    std::vector<BYTE> fields;
    DWORD dwTimeoutMs;

    bool operator==(const Wire&) const = default;
};

Wire WireOf(const SimProxyRecord& record)
{
    const auto* const pFields = reinterpret_cast<const BYTE*>(&record.urb.Request);
    return {record.urb.Transfer.Hdr.Function,
            record.urb.Transfer.TransferFlags,
            record.urb.Transfer.TransferBufferLength,
            record.urb.Transfer.TransferBuffer != 0,
            {pFields, pFields + 8},
            record.dwTimeoutMs};
}

struct WireCase
{
    const char* pszCase;
    void (*pfnSend)(CPropertyEx&, BYTE*);
    Wire expected;
};

BYTE g_outSetup[8] = {0x40, 0xC6, 0x02, 0x00, 0x01, 0x00, 0x10, 0x00};
BYTE g_inSetup[8] = {0xC0, 0x09, 0x00, 0x00, 0x00, 0x00, 0x14, 0x00};
BYTE g_emptySetup[8] = {0xC0, 0x09, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
BYTE g_noDataSetup[8] = {0x40, 0xF6, 0x34, 0x12, 0x80, 0x80, 0x00, 0x00};

const WireCase kWireCases[] = {
    {"VendorIn",
     [](CPropertyEx& t, BYTE* p) { t.KyHub_SendVDCmd(0xC0, 0xD8, 0x1234, 0x5678, p, 20, 777); },
     {0x0017, 1, 20, true, {0xC0, 0xD8, 0x34, 0x12, 0x78, 0x56, 0, 0}, 777}},
    {"VendorOut",
     [](CPropertyEx& t, BYTE*) { t.KyHub_SendVDCmd(0x40, 0x02, 1, 0x0A7C, nullptr, 0, 5000); },
     {0x0017, 0, 0, false, {0x40, 0x02, 0x01, 0x00, 0x7C, 0x0A, 0, 0}, 5000}},
    {"ControlNoData",
     [](CPropertyEx& t, BYTE*) { t.KyHub_CtlPipeNoDataOut(g_noDataSetup); },
     {0x0008, 8, 0, false, {0x40, 0xF6, 0x34, 0x12, 0x80, 0x80, 0, 0}, 5000}},
    {"ControlOut",
     [](CPropertyEx& t, BYTE* p) { t.KyHub_CtlPipeOut(g_outSetup, p); },
     {0x0008, 8, 16, true, {0x40, 0xC6, 0x02, 0x00, 0x01, 0x00, 0x10, 0x00}, 5000}},
    {"ControlIn",
     [](CPropertyEx& t, BYTE* p) { t.KyHub_CtlPipeIn(g_inSetup, p); },
     {0x0008, 9, 20, true, {0xC0, 0x09, 0, 0, 0, 0, 0x14, 0x00}, 5000}},
    {"ControlInOfNothing",
     [](CPropertyEx& t, BYTE* p) { t.KyHub_CtlPipeIn(g_emptySetup, p); },
     {0x0008, 9, 0, true, {0xC0, 0x09, 0, 0, 0, 0, 0, 0}, 5000}},
};
} // namespace

TEST(Transfer, LooksThisWayUnderAnyLayout)
{
    for (const WireCase& c : kWireCases) {
        for (const int nWow64 : {0, 1}) {
            SCOPED_TRACE(c.pszCase);
            CBench bench;
            bench.StartAndOpen();
            bench.Access().Wow64() = nWow64;
            BYTE buffer[32] = {};
            c.pfnSend(bench.transport, buffer);
            ASSERT_EQ(bench.machine.Driver().Log().size(), 1u);
            EXPECT_EQ(WireOf(bench.machine.Driver().Log().front()), c.expected)
                << bench.machine.Driver().Lines().front();
            EXPECT_TRUE(bench.machine.Driver().Rejections().empty());
        }
    }
}

TEST(Transfer, ReportsTheFailuresOfTheDevice)
{
    for (const DWORD dwError : {kErrGenFailure, kErrSemTimeout, kErrDeviceGone, kErrAccessDenied}) {
        CBench bench;
        bench.StartAndOpen();
        bench.FailTransfer(1, dwError);
        EXPECT_EQ(ReadStatus(bench), dwError);
        EXPECT_EQ(GetLastTransportError(), dwError);
        bench.FailTransfer(1, dwError + 1);
        BYTE data[32] = {};
        EXPECT_EQ(bench.transport.KyHub_CtlPipeIn(g_inSetup, data), dwError + 1);
        EXPECT_EQ(ReadStatus(bench), 0u);
        EXPECT_EQ(GetLastTransportError(), dwError + 1) << "it survives a success";
    }
}

TEST(Transfer, CarriedWithABadStatusFailsWithTheThreadsLastError)
{
    CBench bench;
    bench.StartAndOpen();
    bench.machine.Driver().FailTransferWithStatus(bench.machine.Driver().Transfers() + 1,
                                                  0xC0000004);
    bench.machine.Process().SetLastError(997);
    EXPECT_EQ(ReadStatus(bench), 997u);
    EXPECT_EQ(GetLastTransportError(), 997u);
}

TEST(Transfer, WithoutDriverGivesTheOldCodeAndSaysNothingOfIt)
{
    CBench bench;
    EXPECT_EQ(ReadStatus(bench), 0u) << "not even a first code is there";
    SetLastTransportError(121);
    EXPECT_EQ(ReadStatus(bench), 121u);
    EXPECT_EQ(bench.machine.Faults().Calls("IDeviceFile::Control"), 0u);
}

TEST(Transfer, OnAClosedDeviceIsRefusedByTheDriver)
{
    CBench bench;
    bench.Start();
    EXPECT_EQ(ReadStatus(bench), kErrInvalidHandle);
}

TEST(Transfer, WithoutBufferIsNotSent)
{
    CBench bench;
    bench.StartAndOpen();
    BYTE data[20] = {};
    EXPECT_EQ(bench.transport.KyHub_CtlPipeIn(g_inSetup, nullptr), kErrInvalidParameter);
    EXPECT_EQ(bench.transport.KyHub_CtlPipeOut(g_outSetup, nullptr), kErrInvalidParameter);
    EXPECT_EQ(bench.transport.KyHub_CtlPipeIn(nullptr, data), kErrInvalidParameter);
    EXPECT_EQ(bench.transport.KyHub_CtlPipeOut(nullptr, data), kErrInvalidParameter);
    EXPECT_EQ(bench.transport.KyHub_CtlPipeNoDataOut(nullptr), kErrInvalidParameter);
    EXPECT_EQ(bench.transport.KyHub_ReadPortUCHAR(1, nullptr), kErrInvalidParameter);
    EXPECT_EQ(bench.transport.KyHub_WriteMemoryUCHAR(1, nullptr, 1), kErrInvalidParameter);
    EXPECT_EQ(bench.transport.KyHub_ReadMemoryUCHAR(1, nullptr, 1), kErrInvalidParameter);
    EXPECT_TRUE(bench.machine.Driver().Log().empty());
}

TEST(PortAccess, SendsExactlyTheseBytesUnderAnyLayout)
{
    for (const int nWow64 : {0, 1}) {
        CBench bench;
        bench.Start();
        bench.Access().Wow64() = nWow64;
        BYTE data[2] = {0xB1, 0xB2};
        bench.transport.KyHub_WritePortUCHAR(0x12345678, 0x81);
        bench.transport.KyHub_ReadPortUCHAR(0x66, data);
        data[0] = 0xB1;
        bench.transport.KyHub_WriteMemoryUCHAR(0x11223344, data, 2);
        bench.transport.KyHub_ReadMemoryUCHAR(0x11223344, data, 2);

        const auto& log = bench.machine.Driver().Log();
        ASSERT_EQ(log.size(), 4u);
        const std::vector<BYTE> writePort = {0, 0, 0, 0, 0,    0, 0, 0, 0x78, 0x56, 0x34, 0x12,
                                             0, 0, 0, 0, 0x81, 0, 0, 0, 0,    0,    0,    0};
        std::vector<BYTE> readPort(24);
        readPort[8] = 0x66;
        std::vector<BYTE> readMemory = {0, 0, 0, 0, 0, 0, 0, 0, 0x44, 0x33, 0x22, 0x11,
                                        0, 0, 0, 0, 2, 0, 0, 0, 0,    0,    0,    0};
        std::vector<BYTE> writeMemory = readMemory;
        writeMemory[20] = 0xB1;
        writeMemory[21] = 0xB2;
        writeMemory.resize(26);
        EXPECT_EQ(log[0].in, writePort);
        EXPECT_EQ(log[1].in, readPort);
        EXPECT_EQ(log[2].in, writeMemory);
        EXPECT_EQ(log[3].in, readMemory);
    }
}

TEST(PortAccess, FailureBecomesTheLastTransportError)
{
    CBench bench;
    bench.Start();
    bench.machine.Faults().FailNext("IDeviceFile::Control", 1);
    EXPECT_EQ(bench.transport.KyHub_WritePortUCHAR(1, 2), 1u);
    EXPECT_EQ(GetLastTransportError(), 1u);
}

TEST(Speed, IsTheClearedValue)
{
    CBench bench;
    auto eSpeed = static_cast<_myUSB_DEVICE_SPEED>(9);
    EXPECT_EQ(bench.transport.KyHub_Speed(&eSpeed), 0u);
    EXPECT_EQ(eSpeed, MY_USB_SPEED_UNKNOWN);
    EXPECT_EQ(bench.transport.KyHub_Speed(nullptr), kErrInvalidParameter);
    EXPECT_EQ(GetLastTransportError(), kErrInvalidParameter);
}

TEST(InstanceRecord, IsDeletedAndNulled)
{
    CBench bench;
    auto* pInstance = new _KYHUB_INST();
    bench.transport.KyHub_Free(&pInstance);
    EXPECT_EQ(pInstance, nullptr);
    bench.transport.KyHub_Free(&pInstance);
    bench.transport.KyHub_Free(nullptr);
}
