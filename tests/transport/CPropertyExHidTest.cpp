#include "TransportBench.h"

#include "platform/ErrorCodes.h"
#include "platform/IHid.h"
#include "wire/HubRequests.h"

namespace
{
constexpr DWORD kHid = 21;
constexpr const char* kOpenHid = "CPropertyEx::KyHub_OpenHidDeviceByDevInst";
constexpr const char* kFind = "CPropertyEx::HidGetDevInstInterfaceHandle";
constexpr const char* kIsIte = "CPropertyEx::KyHid_IsITEHid";

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

void OpenHid(CBench& b)
{
    AddHid(b);
    b.Start();
    b.transport.KyHub_OpenHidDeviceByDevInst(kHid);
}

void OpenHidWith(CBench& b, const char* pszOperation, unsigned n, DWORD dwCode)
{
    AddHid(b);
    b.Start();
    b.machine.Faults().FailCall(pszOperation, b.machine.Faults().Calls(pszOperation) + n, dwCode);
    b.transport.KyHub_OpenHidDeviceByDevInst(kHid);
}

void IsIte(CBench& b)
{
    AddHid(b);
    b.transport.KyHid_IsITEHid(kHid);
}

void IsIteWith(CBench& b, const char* pszOperation, unsigned n, DWORD dwCode)
{
    AddHid(b);
    b.machine.Faults().FailCall(pszOperation, n, dwCode);
    b.transport.KyHid_IsITEHid(kHid);
}

const MessageCase kHidMessages[] = {
    {"NoSuspend", [](CBench& b) { OpenHidWith(b, "IDeviceTree::GetClassDevs", 1, 5); }, MSG_ERROR,
     kOpenHid, "Turn off power save mode fail.\n"},
    {"NoSet", [](CBench& b) { OpenHidWith(b, "IDeviceTree::GetClassDevs", 2, 5); }, MSG_FAIL,
     kOpenHid, "SetupDiGetClassDevs failed 5\n"},
    {"NoElement", [](CBench& b) { OpenHidWith(b, "IDeviceTree::EnumDeviceInfo", 1, 13); },
     MSG_ERROR, kOpenHid, "SetupDiEnumDeviceInfo failed 13\n"},
    {"NoLocation", [](CBench& b) { OpenHidWith(b, "IDeviceTree::GetRegistryProperty", 1, 13); },
     MSG_ERROR, kOpenHid, "OpenKyCam::SetupDiGetDeviceRegistryProperty error 13\n"},
    {"Port", OpenHid, MSG_INFO, kOpenHid, "[1] Got port num 2\n"},
    {"NoInterface", [](CBench& b) { OpenHidWith(b, "IDeviceFile::Open", 1, 5); }, MSG_ERROR,
     kOpenHid, "HidGetDevInstInterfaceHandle fail 5\n"},
    {"NotFoundHandle", [](CBench& b) { OpenHidWith(b, "IDeviceTree::EnumDeviceInfo", 2, 259); },
     MSG_INFO, kOpenHid, "KyProxy_Open by handle FFFFFFFF\n"},
    {"NotFoundOpen", [](CBench& b) { OpenHidWith(b, "IDeviceTree::EnumDeviceInfo", 2, 259); },
     MSG_ERROR, kOpenHid, "KyProxy_Open failed 87, device handle : FFFFFFFF\n"},
    {"Opened", OpenHid, MSG_FAIL, kOpenHid, "KyProxy_Open hDev=D0000001\n"},
    {"Checking",
     [](CBench& b) {
         AddHid(b).Spec().strInstanceId = WTEXT("HID\\ONE");
         b.transport.KyHub_OpenHidDeviceByDevInst(kHid);
     },
     MSG_INFO, kOpenHid, "Checking device HID\\ONE\n"},
    {"FindNothing", [](CBench& b) { IsIteWith(b, "IDeviceTree::EnumDeviceInfo", 1, 259); },
     MSG_ERROR, kFind, "Interface not found"},
    {"FindNoInterface",
     [](CBench& b) { IsIteWith(b, "IDeviceTree::EnumDeviceInterfaces", 1, 259); }, MSG_ERROR, kFind,
     "GetDevInstInterfaceHandle::SetupDiEnumDeviceInterfaces error 259"},
    {"FindSizeFails", [](CBench& b) { IsIteWith(b, "IDeviceTree::GetInterfaceDetail", 1, 13); },
     MSG_ERROR, kFind, "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_1st error 13"},
    {"FindDetailFails", [](CBench& b) { IsIteWith(b, "IDeviceTree::GetInterfaceDetail", 2, 13); },
     MSG_ERROR, kFind, "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_2nd error 13"},
    {"FindBuffer",
     [](CBench& b) {
         AddHid(b).Spec().interfaces.front().strPath = WTEXT("\\\\?\\hid");
         b.transport.KyHid_IsITEHid(kHid);
     },
     MSG_ERROR, kFind,
     "GetDevInstInterfaceHandle::SetupDiGetDeviceInterfaceDetail_1st new buffer 20"},
    {"FindOpenRefused", [](CBench& b) { IsIteWith(b, "IDeviceFile::Open", 1, 5); }, MSG_ERROR,
     kFind, "GetDevInstInterfaceHandle::CreateFile failed 5"},
    {"IteNoInterface", [](CBench& b) { IsIteWith(b, "IDeviceFile::Open", 1, 5); }, MSG_ERROR,
     kIsIte, "In KyHid_IsITEHid: GetDevInstInterfaceHandle fail 5"},
    {"IteFalse", [](CBench& b) { IsIteWith(b, "IDeviceFile::Open", 1, 5); }, MSG_ERROR, kIsIte,
     "KyHid_IsITEHid return FALSE"},
    {"IteNullHandle", [](CBench& b) { IsIteWith(b, "IDeviceTree::EnumDeviceInfo", 1, 259); },
     MSG_FAIL, kIsIte, "In KyHid_IsITEHid: open handle is 0x0"},
    {"IteNoData", [](CBench& b) { IsIteWith(b, "IDeviceTree::EnumDeviceInfo", 1, 259); }, MSG_ERROR,
     kIsIte, "In KyHid_IsITEHid: HidD_GetPreparsedData Fail with (0x0)"},
    {"IteCaps", IsIte, MSG_FAIL, kIsIte, "In KyHid_IsITEHid: HidP_GetCaps return 0x110000"},
    {"IteUsage", IsIte, MSG_FAIL, kIsIte, "In KyHid_IsITEHid: UsagePage is 0xff70, Usage is 0x20"},
};
INSTANTIATE_TEST_SUITE_P(Hid, TransportMessage, testing::ValuesIn(kHidMessages), CaseName);
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
