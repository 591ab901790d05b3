#include "TransportBench.h"

#include "platform/ErrorCodes.h"
#include "platform/IHid.h"
#include "wire/HubRequests.h"

namespace
{
constexpr DWORD kHid = 21;

/// A bench with a HID collection of ours beside the hub.
CSimNode& AddHid(CBench& b, USHORT wUsagePage = 0xFF70, USHORT wUsage = 0x0020)
{
    CSimNode& device = b.machine.Tree().AddDevice(b.node, 2, {});
    HidNodeOptions options;
    options.devInst = kHid;
    options.wUsagePage = wUsagePage;
    options.wUsage = wUsage;
    CSimNode& node = b.machine.Tree().AddHid(device, options, &b.hub);
    node.Spec().strLocationInformation = WTEXT("Port_#0002.Hub_#0009");
    return node;
}

} // namespace

TEST(HidCollection, IsKnownByPageAndUsageTogether)
{
    const struct
    {
        USHORT wPage;
        USHORT wUsage;
        int nResult;
    } kCases[] = {{0xFF70, 0x0020, 1}, {0xFF70, 0x0021, 0}, {0xFF00, 0x0020, 0}};
    for (const auto& c : kCases) {
        CBench bench;
        AddHid(bench, c.wPage, c.wUsage);
        EXPECT_EQ(bench.transport.KyHid_IsITEHid(kHid), c.nResult) << c.wPage << " " << c.wUsage;
        EXPECT_EQ(bench.machine.Handles().Describe(), "");
    }
}

TEST(HidCollection, WithoutReadableCapabilitiesIsNotOurs)
{
    CBench bench;
    AddHid(bench).Spec().lHidCapsStatus = static_cast<LONG>(0xC0110001);
    bench.machine.Faults().FailNext("IHid::GetPreparsedData", 1);
    EXPECT_EQ(bench.transport.KyHid_IsITEHid(kHid), 0);
    EXPECT_EQ(bench.transport.KyHid_IsITEHid(kHid), 0);
    EXPECT_EQ(bench.machine.Handles().Describe(), "");
}

TEST(HidCollection, ThatIsNotThereClosesNothing)
{
    CBench bench;
    AddHid(bench).Spec().interfaces.clear();
    EXPECT_EQ(bench.transport.KyHid_IsITEHid(kHid), 0);
    EXPECT_TRUE(bench.machine.Handles().Misuses().empty());
}

TEST(HidOpen, CarriesTheSameRequestsAsAHub)
{
    CBench bench;
    AddHid(bench);
    bench.Start();
    ASSERT_EQ(bench.transport.KyHub_OpenHidDeviceByDevInst(kHid), 0u) << bench.log.Dump();
    EXPECT_EQ(bench.Access().Instance().dwPort, 2u);
    BYTE status[HUB_STATUS_LENGTH] = {};
    EXPECT_EQ(bench.transport.KyHub_SendVDCmd(REQTYPE_VENDOR_IN, REQ_STATUS, 0, 0, status,
                                              sizeof(status), 5000),
              0u);
    bench.transport.KyHub_CloseDevice();
    EXPECT_EQ(bench.machine.Handles().Open().size(), 2u) << bench.machine.Handles().Describe();
}

TEST(HidInterface, NeedsAPlaceForTheHandle)
{
    CBench bench;
    EXPECT_EQ(bench.transport.HidGetDevInstInterfaceHandle(kHid, &kGuidHid, nullptr),
              kErrInvalidParameter);
}
