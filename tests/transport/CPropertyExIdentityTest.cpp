#include "TransportBench.h"

#include "platform/ErrorCodes.h"

#include <optional>

namespace
{
constexpr const char* kIdentity = "CPropertyEx::KyHub_IsVoHub";

int Ask(CBench& b)
{
    return b.transport.KyHub_IsVoHub(CBench::kHub, 1);
}

void Identity(CBench& b, const WCHAR* pszIdentity)
{
    b.hub.Identity().strings[0x34] = pszIdentity;
}

void AskStarted(CBench& b)
{
    b.Start();
    Ask(b);
}

void AskWith(CBench& b, const char* pszOperation, unsigned n, DWORD dwCode)
{
    b.Start();
    b.machine.Faults().FailCall(pszOperation, b.machine.Faults().Calls(pszOperation) + n, dwCode);
    Ask(b);
}

/// Fails transfers first to last from now on, and asks.
void AskFailing(CBench& b, unsigned nFirst, unsigned nLast, DWORD dwError)
{
    b.Start();
    for (unsigned n = nFirst; n <= nLast; ++n)
        b.FailTransfer(n, dwError);
    Ask(b);
}

const MessageCase kIdentityMessages[] = {
    {"NoSuspend", [](CBench& b) { AskWith(b, "IDeviceTree::GetClassDevs", 1, 5); }, MSG_FAIL,
     kIdentity, "Turn off power save mode fail.\n"},
    {"NoInterface", [](CBench& b) { AskWith(b, "IDeviceFile::Open", 1, 5); }, MSG_FAIL, kIdentity,
     "GetDevInstInterfaceHandle fail 5\n"},
    {"ByHandle", [](CBench& b) { AskWith(b, "IDeviceTree::EnumDeviceInfo", 1, 259); }, MSG_INFO,
     kIdentity, "KyProxy_Open by handle FFFFFFFF\n"},
    {"NoProxy", [](CBench& b) { AskWith(b, "IDeviceTree::EnumDeviceInfo", 1, 259); }, MSG_FAIL,
     kIdentity, "KyProxy_Open failed 87, device handle : FFFFFFFF\n"},
    {"ProxyHandle", AskStarted, MSG_INFO, kIdentity, "KyProxyHandle: 0xd0000001\n"},
    {"Wakes", [](CBench& b) { AskFailing(b, 1, 1, kErrNotReady); }, MSG_INFO, kIdentity,
     "KyCam_OpenDevice wait for device to wakeup from SS\n"},
    {"NeverWakes", [](CBench& b) { AskFailing(b, 1, 12, kErrNotReady); }, MSG_FAIL, kIdentity,
     "KyCam_OpenDevice check SS resume fail 21\n"},
    {"Descriptor", AskStarted, MSG_INFO, kIdentity,
     "Device Descriptor: bDescriptorType:1, bcdUSB:210, bDeviceClass:9, bDeviceSubClass:0, bDeviceProtocol:1\n"},
    {"NoString", [](CBench& b) { AskFailing(b, 2, 2, kErrGenFailure); }, MSG_FAIL, kIdentity,
     "Fail1\n"},
    {"Retry", [](CBench& b) { AskFailing(b, 2, 6, kErrOperationAborted); }, MSG_INFO, kIdentity,
     "iretry is 4\n"},
    {"StringError", [](CBench& b) { AskFailing(b, 2, 2, kErrGenFailure); }, MSG_FAIL, kIdentity,
     "Can not get devstatus string, return 31\n"},
    {"NotOurs", [](CBench& b) { AskFailing(b, 2, 2, kErrGenFailure); }, MSG_FAIL, kIdentity,
     "Not VO Hub\n"},
    {"Text",
     [](CBench& b) {
         Identity(b, WTEXT("Someone's"));
         AskStarted(b);
     },
     MSG_INFO, kIdentity, "Dev_String is Someone's\n"},
    {"Ours", AskStarted, MSG_INFO, kIdentity, "VO Hub\n"},
    {"OursOnSmBus",
     [](CBench& b) {
         Identity(b, WTEXT("SM BUS"));
         AskStarted(b);
     },
     MSG_INFO, kIdentity, "VO HUB -> SM BUS\n"},
    {"TurnsOn", AskStarted, MSG_INFO, kIdentity, "dwOldSSValue == -1,Need Turn on SS\n"},
    {"CannotTurnOn", [](CBench& b) { AskWith(b, "IPowerSwitch::InitializeCom", 2, 0x80004005); },
     MSG_ERROR, kIdentity, "Turn On Hub SS Fail,dwOldSSValue is -1\n"},
    {"DescriptorStatus",
     [](CBench& b) {
         b.Start();
         b.machine.Driver().FailTransferWithStatus(b.machine.Driver().Transfers() + 1, 0xC0000011);
         Ask(b);
     },
     MSG_FAIL, "CPropertyEx::KyUsb_GetDeviceDescriptor", "Urb failed 00000000C0000011\n"},
    {"StringStatus",
     [](CBench& b) {
         b.Start();
         b.machine.Driver().FailTransferWithStatus(b.machine.Driver().Transfers() + 2, 0xC0000011);
         Ask(b);
     },
     MSG_FAIL, "CPropertyEx::KyUsb_GetStringDescriptor",
     "GetStringDescriptor failed, UrbStatus 00000000C0000011\n"},
};
INSTANTIATE_TEST_SUITE_P(Identity, TransportMessage, testing::ValuesIn(kIdentityMessages),
                         CaseName);

struct IdentityCase
{
    const char* pszCase;
    const WCHAR* pszIdentity;
    int nAcceptSmBus;
    int nResult;
};

class HubIdentity : public testing::TestWithParam<IdentityCase>
{};

TEST_P(HubIdentity, IsJudgedByItsText)
{
    CBench bench;
    bench.Start();
    Identity(bench, GetParam().pszIdentity);
    EXPECT_EQ(bench.transport.KyHub_IsVoHub(CBench::kHub, GetParam().nAcceptSmBus),
              GetParam().nResult)
        << bench.log.Dump();
    EXPECT_EQ(bench.machine.Handles().Open().size(), 2u) << bench.machine.Handles().Describe();
    EXPECT_EQ(bench.machine.Driver().OpenDevices(), 0u);
    EXPECT_TRUE(bench.node.PowerSaving()) << "power saving is as before";
}

INSTANTIATE_TEST_SUITE_P(Texts, HubIdentity,
                         testing::Values(IdentityCase{"Ours", WTEXT("VO HUB"), 0, 1},
                                         IdentityCase{"LowerCase", WTEXT("vo hub"), 0, 1},
                                         IdentityCase{"TrailingBlank", WTEXT("VO HUB "), 1, 0},
                                         IdentityCase{"Shorter", WTEXT("VO HU"), 1, 0},
                                         IdentityCase{"SmBus", WTEXT("SM BUS"), 1, 1},
                                         IdentityCase{"SmBusUnasked", WTEXT("SM BUS"), 0, 0},
                                         IdentityCase{"SmBusLonger", WTEXT("SM BUS1"), 1, 0}),
                         [](const auto& tested) { return tested.param.pszCase; });

/// Answers a string read with its head alone.
std::optional<SimTransferResult> ShortString(const SETUP_PACKET& setup, unsigned /*n*/)
{
    if (setup.bRequest == 6 && setup.wValue == 0x0334)
        return SimTransferResult{0, 0, 0};
    return std::nullopt;
}
} // namespace

TEST(IdentityTest, TakesADescriptorWithoutHeadForAnEmptyText)
{
    CBench bench;
    bench.Start();
    bench.machine.Driver().SetInterceptor(ShortString);
    EXPECT_EQ(Ask(bench), 0);
    EXPECT_TRUE(bench.log.Says("Dev_String is \n"));
}

TEST(IdentityTest, SendsTwoDescriptorReads)
{
    CBench bench;
    bench.Start();
    EXPECT_EQ(Ask(bench), 1);
    const auto& log = bench.machine.Driver().Log();
    ASSERT_EQ(log.size(), 4u) << "open, two reads, close";
    for (const size_t i : {1u, 2u}) {
        EXPECT_EQ(log[i].urb.Transfer.Hdr.Function, URB_FUNCTION_GET_DESCRIPTOR_FROM_DEVICE);
        EXPECT_EQ(log[i].urb.Transfer.TransferFlags, 0u);
        EXPECT_EQ(log[i].dwTimeoutMs, 5000u);
        EXPECT_EQ(log[i].urb.Request.Descriptor.LanguageId, 0u);
    }
    EXPECT_EQ(log[1].urb.Transfer.TransferBufferLength, 18u);
    EXPECT_EQ(log[1].urb.Request.Descriptor.DescriptorType, 1);
    EXPECT_EQ(log[2].urb.Transfer.TransferBufferLength, 255u);
    EXPECT_EQ(log[2].urb.Request.Descriptor.DescriptorType, 3);
    EXPECT_EQ(log[2].urb.Request.Descriptor.Index, 0x34);
    EXPECT_TRUE(bench.machine.Driver().Rejections().empty());
}

TEST(IdentityTest, LeavesTheOpenHubAlone)
{
    CBench bench;
    bench.StartAndOpen();
    const _KYHUB_INST before = bench.Access().Instance();
    EXPECT_EQ(Ask(bench), 1);
    EXPECT_EQ(bench.Access().Instance().llDevice, before.llDevice);
    EXPECT_EQ(bench.Access().Instance().hInterface, before.hInterface);
    EXPECT_EQ(bench.machine.Driver().OpenDevices(), 1u);
}

TEST(IdentityTest, WaitsForAResumingHub)
{
    CBench bench;
    bench.Start();
    bench.hub.Suspend(11);
    const auto before = bench.machine.Time().Now();
    EXPECT_EQ(Ask(bench), 1);
    EXPECT_GE(bench.machine.Time().Now() - before, 11u * 200'000);
}

TEST(IdentityTest, GivesUpOnASleepingHubAndLeavesItsHandlesOpen)
{
    CBench bench;
    bench.Start();
    bench.hub.Suspend(1000);
    const auto before = bench.machine.Time().Now();
    EXPECT_EQ(Ask(bench), 0);
    const auto waited = bench.machine.Time().Now() - before;
    EXPECT_GE(waited, 2'200'000u);
    EXPECT_LT(waited, 2'300'000u);
    EXPECT_EQ(bench.machine.Faults().Calls("IClock::Sleep"), 11u);
    EXPECT_EQ(bench.machine.Driver().OpenDevices(), 1u);
    EXPECT_EQ(bench.machine.Handles().Open().size(), 3u) << bench.machine.Handles().Describe();
}

TEST(IdentityTest, GoesOnWithoutDescriptorAfterAnyOtherFailure)
{
    CBench bench;
    bench.Start();
    bench.FailTransfer(1, kErrGenFailure);
    EXPECT_EQ(Ask(bench), 1);
    EXPECT_TRUE(bench.log.Says(
        "Device Descriptor: bDescriptorType:0, bcdUSB:0, bDeviceClass:0, bDeviceSubClass:0, bDeviceProtocol:0\n"));
}

TEST(IdentityTest, RefusesAShortDeviceDescriptor)
{
    CBench bench;
    bench.Start();
    bench.machine.Driver().SetInterceptor(
        [](const SETUP_PACKET& setup, unsigned) -> std::optional<SimTransferResult> {
            if (setup.wValue == 0x0100)
                return SimTransferResult{0, 0, 17};
            return std::nullopt;
        });
    EXPECT_EQ(Ask(bench), 1);
    EXPECT_TRUE(bench.log.Says("Urb failed 0000000000000000\n"));
}

/// How often an aborted string read is tried again.
struct RetryCase
{
    const char* pszCase;
    std::vector<DWORD> errors; ///< of the string reads in a row; then they succeed
    int nResult;
    unsigned nReads;
};

class AbortedString : public testing::TestWithParam<RetryCase>
{};

TEST_P(AbortedString, IsReadAgain)
{
    CBench bench;
    bench.Start();
    unsigned n = 1;
    for (const DWORD dwError : GetParam().errors)
        bench.FailTransfer(++n, dwError);
    EXPECT_EQ(Ask(bench), GetParam().nResult);
    EXPECT_EQ(bench.machine.Driver().Transfers() - 1, GetParam().nReads);
    EXPECT_EQ(bench.machine.Driver().OpenDevices(), 0u);
    EXPECT_EQ(bench.machine.Handles().Open().size(), 2u) << bench.machine.Handles().Describe();
}

INSTANTIATE_TEST_SUITE_P(Cases, AbortedString,
                         testing::Values(RetryCase{"Once", {995}, 1, 2},
                                         RetryCase{"FiveTimes", {995, 995, 995, 995, 995}, 1, 6},
                                         RetryCase{
                                             "TooOften", {995, 995, 995, 995, 995, 995}, 0, 6},
                                         RetryCase{"OtherErrorEndsIt", {995, 31}, 0, 2},
                                         RetryCase{"OtherErrorAtOnce", {31}, 0, 1}),
                         [](const auto& tested) { return tested.param.pszCase; });
