#include <gtest/gtest.h>

#include "messages/CMessageBench.h"
#include "platform/IHid.h"

namespace
{
constexpr DWORD kFault = kErrAccessDenied;

/// A HID collection is opened through the driver, and asked whether it is the vendor's.
struct HidStory
{
    const char* pszName;
    void (*pfnPrepare)(CMessageBench& bench);
};

void Fail(CMessageBench& bench, const char* pszOperation, unsigned n, DWORD dwCode)
{
    bench.machine.Faults().FailCall(pszOperation, n, dwCode);
}

const HidStory kStories[] = {
    {"hid", [](CMessageBench&) {}},
    {"hid_power_switch_fails",
     [](CMessageBench& b) { Fail(b, "IPowerSwitch::CreateLocator", 1, 0x80040154); }},
    {"hid_no_set", [](CMessageBench& b) { Fail(b, "IDeviceTree::GetClassDevs", 2, kFault); }},
    {"hid_no_element", [](CMessageBench& b) { Fail(b, "IDeviceTree::EnumDeviceInfo", 1, kFault); }},
    {"hid_no_location",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::GetRegistryProperty", 1, kFault); }},
    {"hid_interface_not_found",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::EnumDeviceInfo", 2, kErrNoMoreItems); }},
    {"hid_no_interface",
     [](CMessageBench& b) {
         b.machine.Faults().FailAlways("IDeviceTree::EnumDeviceInterfaces", kFault);
     }},
    {"hid_no_detail_size",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::GetInterfaceDetail", 1, kFault); }},
    {"hid_no_detail",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::GetInterfaceDetail", 2, kFault); }},
    {"hid_no_file", [](CMessageBench& b) { Fail(b, "IDeviceFile::Open", 1, kFault); }},
    {"hid_refused_by_driver",
     [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 1, kErrGenFailure); }},
    {"hid_no_preparsed_data",
     [](CMessageBench& b) { Fail(b, "IHid::GetPreparsedData", 1, kFault); }},
};

class HidMessages : public testing::TestWithParam<HidStory>
{};

TEST_P(HidMessages, AreThese)
{
    CMessageBench bench;
    CSimNode& device = bench.machine.Tree().AddDevice(bench.node, 2, DeviceNodeOptions{});
    HidNodeOptions options;
    options.wUsagePage = 0xFF70;
    options.wUsage = 0x0020;
    CSimNode& hid = bench.machine.Tree().AddHid(device, options);
    hid.Spec().strLocationInformation = WTEXT("Port_#0002.Hub_#0003");
    CPropertyEx transport;
    ASSERT_NE(transport.InitProxyDriver(), 0);
    bench.machine.Faults().ResetCounts();
    GetParam().pfnPrepare(bench);
    CMessageRecorder recorder;

    transport.KyHub_OpenHidDeviceByDevInst(hid.DevInst());
    transport.KyHub_CloseDevice();
    transport.KyHid_IsITEHid(hid.DevInst());

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(, HidMessages, testing::ValuesIn(kStories),
                         [](const auto& story) { return std::string(story.param.pszName); });
} // namespace
