#include <gtest/gtest.h>

#include "messages/CMessageBench.h"
#include "platform/IHid.h"

namespace
{
const Story kStories[] = {
    {"hid"},
    {"hid_power_switch_fails", {"IPowerSwitch::CreateLocator", 1, 0x80040154}},
    {"hid_no_set", {"IDeviceTree::GetClassDevs", 2}},
    {"hid_no_element", {"IDeviceTree::EnumDeviceInfo"}},
    {"hid_no_location", {"IDeviceTree::GetRegistryProperty"}},
    {"hid_interface_not_found", {"IDeviceTree::EnumDeviceInfo", 2, kErrNoMoreItems}},
    {"hid_no_interface", {"IDeviceTree::EnumDeviceInterfaces", 0}},
    {"hid_no_detail_size", {"IDeviceTree::GetInterfaceDetail"}},
    {"hid_no_detail", {"IDeviceTree::GetInterfaceDetail", 2}},
    {"hid_no_file", {"IDeviceFile::Open"}},
    {"hid_refused_by_driver", {"IDeviceFile::Control", 1, kErrGenFailure}},
    {"hid_no_preparsed_data", {"IHid::GetPreparsedData"}},
};

// A HID collection is opened through the driver, and asked whether it is the vendor's.
TEST(HidMessages, AreThese)
{
    for (const Story& story : kStories) {
        CMessageBench bench;
        CSimNode& device = bench.machine.Tree().AddDevice(bench.node, 2, DeviceNodeOptions{});
        HidNodeOptions options;
        options.wUsagePage = 0xFF70;
        options.wUsage = 0x0020;
        CSimNode& hid = bench.machine.Tree().AddHid(device, options);
        hid.Spec().strLocationInformation = WTEXT("Port_#0002.Hub_#0003");
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        story.Prepare(bench);
        const CMessageLog log;

        transport.KyHub_OpenHidDeviceByDevInst(hid.DevInst());
        transport.KyHub_CloseDevice();
        transport.KyHid_IsITEHid(hid.DevInst());

        ExpectTranscript(story.pszName, log);
    }
}
} // namespace
