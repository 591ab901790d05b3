#include <gtest/gtest.h>

#include "messages/CMessageBench.h"
#include "platform/IDeviceTree.h"
#include "wire/HubRequests.h"

namespace
{
constexpr DWORD kFault = kErrAccessDenied;

/// One call on a started transport, and what was said meanwhile.
struct TransferStory
{
    const char* pszName;
    void (*pfnPrepare)(CMessageBench& bench);
    void (*pfnAct)(CMessageBench& bench, CPropertyEx& transport);
};

void Fail(CMessageBench& bench, const char* pszOperation, unsigned n, DWORD dwCode)
{
    bench.machine.Faults().ResetCounts();
    bench.machine.Faults().FailCall(pszOperation, n, dwCode);
}

void Open(CMessageBench& bench, CPropertyEx& transport)
{
    DWORD dwOld = 0;
    transport.KyHub_OpenDeviceByDevInst(bench.HubInst(), dwOld);
    transport.KyHub_CloseDevice();
}

void Identify(CMessageBench& bench, CPropertyEx& transport)
{
    transport.KyHub_IsVoHub(bench.HubInst(), 1);
}

/// Opens the hub silently first: the story begins behind it.
void OpenBefore(CMessageBench&) {}

const TransferStory kOpenStories[] = {
    {"open", [](CMessageBench&) {}, Open},
    {"open_power_switch_fails",
     [](CMessageBench& b) { Fail(b, "IPowerSwitch::CreateLocator", 1, 0x80040154); }, Open},
    {"open_no_set", [](CMessageBench& b) { Fail(b, "IDeviceTree::GetClassDevs", 2, kFault); },
     Open},
    {"open_no_element", [](CMessageBench& b) { Fail(b, "IDeviceTree::EnumDeviceInfo", 1, kFault); },
     Open},
    {"open_no_location",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::GetRegistryProperty", 1, kFault); }, Open},
    {"open_interface_not_found",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::EnumDeviceInfo", 2, kErrNoMoreItems); }, Open},
    {"open_no_interface",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::EnumDeviceInterfaces", 1, kFault); }, Open},
    {"open_no_detail_size",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::GetInterfaceDetail", 1, kFault); }, Open},
    {"open_no_detail",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::GetInterfaceDetail", 2, kFault); }, Open},
    {"open_no_file", [](CMessageBench& b) { b.node.Spec().dwOpenError = kFault; }, Open},
    {"open_refused_by_driver",
     [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 1, kErrGenFailure); }, Open},
    {"close_refused_by_driver",
     [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 2, kErrGenFailure); }, Open},
};

const TransferStory kIdentityStories[] = {
    {"identify", [](CMessageBench&) {}, Identify},
    {"identify_power_switch_fails",
     [](CMessageBench& b) { Fail(b, "IPowerSwitch::CreateLocator", 1, 0x80040154); }, Identify},
    {"identify_no_interface",
     [](CMessageBench& b) { Fail(b, "IDeviceTree::EnumDeviceInterfaces", 1, kFault); }, Identify},
    {"identify_refused_by_driver",
     [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 1, kErrGenFailure); }, Identify},
    {"identify_resuming", [](CMessageBench& b) { b.node.Suspend(500'000); }, Identify},
    {"identify_never_resumes", [](CMessageBench& b) { b.node.Suspend(60'000'000); }, Identify},
    {"identify_descriptor_status",
     [](CMessageBench& b) { b.machine.Driver().FailTransferWithStatus(1, 0xC0000004); }, Identify},
    {"identify_no_string",
     [](CMessageBench& b) { b.machine.Driver().FailTransfer(2, kErrGenFailure); }, Identify},
    {"identify_aborted",
     [](CMessageBench& b) {
         for (unsigned n = 2; n < 10; ++n)
             b.machine.Driver().FailTransfer(n, kErrOperationAborted);
     },
     Identify},
    {"identify_not_restored",
     [](CMessageBench& b) { Fail(b, "IPowerSwitch::InitializeCom", 2, 0x80010106); }, Identify},
};

const TransferStory kRequestStories[] = {
    {"request", OpenBefore,
     [](CMessageBench&, CPropertyEx& t) {
         t.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_VDCMD_ENABLE, 1, VDCMD_ENABLE_KEY, nullptr, 0,
                           5000);
     }},
    {"request_fails", [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 1, kErrGenFailure); },
     [](CMessageBench&, CPropertyEx& t) {
         t.KyHub_SendVDCmd(REQTYPE_VENDOR_OUT, REQ_VDCMD_ENABLE, 1, VDCMD_ENABLE_KEY, nullptr, 0,
                           5000);
     }},
    {"ports", OpenBefore,
     [](CMessageBench&, CPropertyEx& t) {
         BYTE by = 0xEE;
         t.KyHub_WritePortUCHAR(0x66, 0x80);
         t.KyHub_ReadPortUCHAR(0x66, &by);
     }},
    {"port_write_fails", [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 1, kFault); },
     [](CMessageBench&, CPropertyEx& t) { t.KyHub_WritePortUCHAR(0x66, 0x80); }},
    {"port_read_fails", [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 1, kFault); },
     [](CMessageBench&, CPropertyEx& t) {
         BYTE by = 0xEE;
         t.KyHub_ReadPortUCHAR(0x62, &by);
     }},
    {"memory", OpenBefore,
     [](CMessageBench&, CPropertyEx& t) {
         BYTE data[3] = {1, 2, 3};
         t.KyHub_WriteMemoryUCHAR(0xFED40000, data, sizeof data);
         t.KyHub_ReadMemoryUCHAR(0xFED40000, data, sizeof data);
     }},
    {"memory_write_fails", [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 1, kFault); },
     [](CMessageBench&, CPropertyEx& t) {
         BYTE data[3] = {0xA1, 2, 3};
         t.KyHub_WriteMemoryUCHAR(0xFED40000, data, sizeof data);
     }},
    {"memory_read_fails", [](CMessageBench& b) { Fail(b, "IDeviceFile::Control", 1, kFault); },
     [](CMessageBench&, CPropertyEx& t) {
         BYTE data[3] = {0xB2, 2, 3};
         t.KyHub_ReadMemoryUCHAR(0xFED40000, data, sizeof data);
     }},
};

std::string NameOf(const testing::TestParamInfo<TransferStory>& info)
{
    return info.param.pszName;
}

class OpenMessages : public testing::TestWithParam<TransferStory>
{};

TEST_P(OpenMessages, AreThese)
{
    CMessageBench bench;
    CPropertyEx transport;
    ASSERT_NE(transport.InitProxyDriver(), 0);
    GetParam().pfnPrepare(bench);
    CMessageRecorder recorder;

    GetParam().pfnAct(bench, transport);

    ExpectTranscript(GetParam().pszName, recorder);
}

INSTANTIATE_TEST_SUITE_P(Opens, OpenMessages, testing::ValuesIn(kOpenStories), NameOf);
INSTANTIATE_TEST_SUITE_P(Identity, OpenMessages, testing::ValuesIn(kIdentityStories), NameOf);

class RequestMessages : public testing::TestWithParam<TransferStory>
{};

TEST_P(RequestMessages, AreThese)
{
    CMessageBench bench;
    CPropertyEx transport;
    ASSERT_NE(transport.InitProxyDriver(), 0);
    ASSERT_EQ(transport.KyHub_OpenDeviceByDevInst(bench.HubInst()), 0u);
    GetParam().pfnPrepare(bench);
    {
        CMessageRecorder recorder;
        GetParam().pfnAct(bench, transport);
        ExpectTranscript(GetParam().pszName, recorder);
    }
    bench.machine.Faults().Clear();
    transport.KyHub_CloseDevice();
}

INSTANTIATE_TEST_SUITE_P(, RequestMessages, testing::ValuesIn(kRequestStories), NameOf);

TEST(IdentityMessages, NameAnSmBusHub)
{
    SimHubSettings settings;
    settings.identity = WTEXT("Sm Bus");
    CMessageBench bench(settings);
    CPropertyEx transport;
    ASSERT_NE(transport.InitProxyDriver(), 0);
    CMessageRecorder recorder;

    EXPECT_EQ(transport.KyHub_IsVoHub(bench.HubInst(), 1), 1);

    ExpectTranscript("identify_sm_bus", recorder);
}
} // namespace
