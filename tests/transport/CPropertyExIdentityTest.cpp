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

} // namespace

TEST(IdentityTest, JudgesByTheText)
{
    const std::tuple<const WCHAR*, int, int> kCases[] = {
        {WTEXT("VO HUB"), 0, 1}, {WTEXT("vo hub"), 0, 1}, {WTEXT("VO HUB "), 1, 0},
        {WTEXT("VO HU"), 1, 0},  {WTEXT("SM BUS"), 1, 1}, {WTEXT("SM BUS"), 0, 0},
        {WTEXT("SM BUS1"), 1, 0}};
    for (const auto& [pszIdentity, nAcceptSmBus, nResult] : kCases) {
        CBench bench;
        bench.Start();
        bench.hub.Identity().strings[0x34] = pszIdentity;
        EXPECT_EQ(bench.transport.KyHub_IsVoHub(CBench::kHub, nAcceptSmBus), nResult)
            << bench.log.Dump();
        EXPECT_EQ(bench.machine.Handles().Open().size(), 2u) << bench.machine.Handles().Describe();
        EXPECT_EQ(bench.machine.Driver().OpenDevices(), 0u);
        EXPECT_TRUE(bench.node.PowerSaving()) << "power saving is as before";
    }
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

TEST(IdentityTest, ReadsAnAbortedStringAgain)
{
    // The errors of the string reads in a row (then they succeed), the result and the reads.
    const std::tuple<std::vector<DWORD>, int, unsigned> kCases[] = {
        {{995}, 1, 2},
        {{995, 995, 995, 995, 995}, 1, 6},
        {{995, 995, 995, 995, 995, 995}, 0, 6},
        {{995, 31}, 0, 2},
        {{31}, 0, 1}};
    for (const auto& [errors, nResult, nReads] : kCases) {
        CBench bench;
        bench.Start();
        unsigned n = 1;
        for (const DWORD dwError : errors)
            bench.FailTransfer(++n, dwError);
        EXPECT_EQ(Ask(bench), nResult);
        EXPECT_EQ(bench.machine.Driver().Transfers() - 1, nReads);
        EXPECT_EQ(bench.machine.Driver().OpenDevices(), 0u);
        EXPECT_EQ(bench.machine.Handles().Open().size(), 2u) << bench.machine.Handles().Describe();
    }
}
