// Report descriptors as HID devices send them: what the system makes of them, and whether the
// library takes the device for the vendor's.
#include "fuzz/CFuzzHost.h"
#include "fuzz/Demand.h"
#include "sim/models/CSimHidDevice.h"

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
struct Stage : CFuzzHost
{
    CSimNode& device = machine.Tree().AddDevice(machine.RootHub(), 1, DeviceNodeOptions{});
    CSimNode& hid = machine.Tree().AddHid(device, HidNodeOptions{});
};

/// Behind a good collection anything may follow: it can spoil the whole, but change nothing.
void CheckBehindGoodCollection(FuzzedDataProvider& input)
{
    const auto usPage = input.ConsumeIntegral<USHORT>();
    const auto usUsage = input.ConsumeIntegral<USHORT>();
    const auto cbInput = input.ConsumeIntegral<BYTE>();
    std::vector<BYTE> report = CSimHidDevice::SimpleReport(usPage, usUsage, cbInput, 0, 0);
    const auto rest = input.ConsumeRemainingBytes<BYTE>();
    report.insert(report.end(), rest.begin(), rest.end());
    if (const auto caps = CSimHidDevice::Capabilities(report)) {
        Demand(caps->UsagePage == usPage && caps->Usage == usUsage, "the first collection counts");
        Demand(caps->InputReportByteLength == (cbInput == 0 ? 0 : cbInput + 1), "report length");
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const BYTE* pData, std::size_t cb)
{
    static Stage s_stage;
    const auto caps = CSimHidDevice::Capabilities({pData, pData + cb});
    s_stage.hid.Traits().hidCaps = caps;
    const bool bVendors = caps && caps->UsagePage == 0xFF70 && caps->Usage == 0x0020;
    Demand(s_stage.transport.KyHid_IsITEHid(s_stage.hid.DevInst()) == (bVendors ? 1 : 0),
           "exactly the vendor's collection is the vendor's");
    Demand(s_stage.IsTidy(), "all is closed");

    FuzzedDataProvider input(pData, cb);
    CheckBehindGoodCollection(input);
    return 0;
}
