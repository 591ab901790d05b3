#include "TransportBench.h"

#include "platform/ErrorCodes.h"
#include "wire/UsbDescriptors.h"

#include <cstring>
#include <optional>

namespace
{

int Ask(CBench& b)
{
    return b.transport.KyHub_IsVoHub(CBench::kHub, 1);
}

void Identity(CBench& b, const WCHAR* pszIdentity)
{
    b.hub.Identity().strings[0x34] = pszIdentity;
}

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

} // namespace

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
    EXPECT_EQ(bench.machine.Driver().Transfers(), 2u) << "the descriptor is not read again";
}

TEST(IdentityTest, CutsShortAnswers)
{
    CBench bench;
    bench.Start();
    bench.machine.Driver().SetInterceptor(
        [](const SETUP_PACKET& setup, unsigned) -> std::optional<SimTransferResult> {
            return SimTransferResult{0, 0, setup.wValue == 0x0100 ? 17u : 0u};
        });
    EXPECT_EQ(Ask(bench), 0);
    EXPECT_TRUE(bench.log.Says("Urb failed 0000000000000000\n")) << "the device descriptor";
    EXPECT_TRUE(bench.log.Says("Dev_String is \n")) << "a text without its head";
}

TEST(IdentityTest, LeavesNothingOfAnEarlierReadInADescriptor)
{
    CBench bench;
    bench.StartAndOpen();
    bench.FailTransfer(1, kErrGenFailure);
    USB_DEVICE_DESCRIPTOR device;
    std::memset(&device, 0xA5, sizeof(device));
    const USB_DEVICE_DESCRIPTOR kZeros = {};
    EXPECT_EQ(bench.Access().DeviceDescriptor(bench.Access().Instance().llDevice, &device), 0);
    EXPECT_EQ(std::memcmp(&device, &kZeros, sizeof(device)), 0);
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
