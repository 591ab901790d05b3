#include <gtest/gtest.h>

#include "messages/CMessageBench.h"
#include "platform/IDeviceTree.h"
#include "wire/HubRequests.h"

namespace
{
const Story kOpens[] = {
    {"open"},
    {"open_power_switch_fails", {"IPowerSwitch::CreateLocator", 1, 0x80040154}},
    {"open_no_set", {"IDeviceTree::GetClassDevs", 2}},
    {"open_no_element", {"IDeviceTree::EnumDeviceInfo"}},
    {"open_no_location", {"IDeviceTree::GetRegistryProperty"}},
    {"open_interface_not_found", {"IDeviceTree::EnumDeviceInfo", 2, kErrNoMoreItems}},
    {"open_no_interface", {"IDeviceTree::EnumDeviceInterfaces"}},
    {"open_no_detail_size", {"IDeviceTree::GetInterfaceDetail"}},
    {"open_no_detail", {"IDeviceTree::GetInterfaceDetail", 2}},
    {"open_no_file", {}, [](CMessageBench& b) { b.node.Spec().dwOpenError = kErrAccessDenied; }},
    {"open_refused_by_driver", {"IDeviceFile::Control", 1, kErrGenFailure}},
    {"close_refused_by_driver", {"IDeviceFile::Control", 2, kErrGenFailure}},
};

const Story kIdentityTests[] = {
    {"identify"},
    {"identify_power_switch_fails", {"IPowerSwitch::CreateLocator", 1, 0x80040154}},
    {"identify_no_interface", {"IDeviceTree::EnumDeviceInterfaces"}},
    {"identify_refused_by_driver", {"IDeviceFile::Control", 1, kErrGenFailure}},
    {"identify_resuming", {}, [](CMessageBench& b) { b.node.Suspend(500'000); }},
    {"identify_never_resumes", {}, [](CMessageBench& b) { b.node.Suspend(60'000'000); }},
    {"identify_descriptor_status",
     {},
     [](CMessageBench& b) { b.machine.Driver().FailTransferWithStatus(1, 0xC0000004); }},
    {"identify_no_string",
     {},
     [](CMessageBench& b) { b.machine.Driver().FailTransfer(2, kErrGenFailure); }},
    {"identify_aborted",
     {},
     [](CMessageBench& b) {
         for (unsigned n = 2; n < 10; ++n)
             b.machine.Driver().FailTransfer(n, kErrOperationAborted);
     }},
    {"identify_not_restored", {"IPowerSwitch::InitializeCom", 2, 0x80010106}},
};

TEST(TransferMessages, OfOpening)
{
    for (const Story& story : kOpens) {
        CMessageBench bench;
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        story.Prepare(bench);
        const CMessageLog log;
        DWORD dwOld = 0;
        transport.KyHub_OpenDeviceByDevInst(bench.HubInst(), dwOld);
        transport.KyHub_CloseDevice();
        ExpectTranscript(story.pszName, log);
    }
}

TEST(TransferMessages, OfTheIdentityTest)
{
    for (const Story& story : kIdentityTests) {
        CMessageBench bench;
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        story.Prepare(bench);
        const CMessageLog log;
        transport.KyHub_IsVoHub(bench.HubInst(), 1);
        ExpectTranscript(story.pszName, log);
    }
}

TEST(TransferMessages, OfTheIdentityTestOfAnSmBusHub)
{
    SimHubSettings settings;
    settings.identity = WTEXT("Sm Bus");
    CMessageBench bench(settings);
    CPropertyEx transport;
    ASSERT_NE(transport.InitProxyDriver(), 0);
    const CMessageLog log;
    EXPECT_EQ(transport.KyHub_IsVoHub(bench.HubInst(), 1), 1);
    ExpectTranscript("identify_sm_bus", log);
}

struct RequestStory
{
    const char* pszName;
    void (*pfnAct)(CPropertyEx& transport);
    StoryFault fault = {};
};

void Enable(CPropertyEx& transport)
{
    transport.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_VDCMD_ENABLE, 1, VDCMD_ENABLE_KEY, nullptr, 0,
                              5000);
}

void WritePort(CPropertyEx& transport)
{
    transport.KyHub_WritePortUCHAR(0x66, 0x80);
}

template<DWORD dwPort>
void ReadPort(CPropertyEx& transport)
{
    BYTE by = 0xEE;
    transport.KyHub_ReadPortUCHAR(dwPort, &by);
}

template<BYTE byFirst, bool bWrites, bool bReads>
void Memory(CPropertyEx& transport)
{
    BYTE data[3] = {byFirst, 2, 3};
    if (bWrites)
        transport.KyHub_WriteMemoryUCHAR(0xFED40000, data, sizeof data);
    if (bReads)
        transport.KyHub_ReadMemoryUCHAR(0xFED40000, data, sizeof data);
}

const RequestStory kRequests[] = {
    {"request", Enable},
    {"request_fails", Enable, {"IDeviceFile::Control", 1, kErrGenFailure}},
    {"ports",
     [](CPropertyEx& t) {
         WritePort(t);
         ReadPort<0x66>(t);
     }},
    {"port_write_fails", WritePort, {"IDeviceFile::Control"}},
    {"port_read_fails", ReadPort<0x62>, {"IDeviceFile::Control"}},
    {"memory", Memory<1, true, true>},
    {"memory_write_fails", Memory<0xA1, true, false>, {"IDeviceFile::Control"}},
    {"memory_read_fails", Memory<0xB2, false, true>, {"IDeviceFile::Control"}},
};

TEST(TransferMessages, OfRequests)
{
    for (const RequestStory& story : kRequests) {
        CMessageBench bench;
        CPropertyEx transport;
        ASSERT_NE(transport.InitProxyDriver(), 0);
        ASSERT_EQ(transport.KyHub_OpenDeviceByDevInst(bench.HubInst()), 0u);
        story.fault.Plant(bench);
        const CMessageLog log;
        story.pfnAct(transport);
        ExpectTranscript(story.pszName, log);
    }
}
} // namespace
