#include "sim/models/CSimHidDevice.h"

#include "wire/CReportDescriptor.h"

namespace
{

constexpr BYTE kReqTypeInterfaceIn = 0x81;
constexpr BYTE kReqGetDescriptor = 0x06;
constexpr BYTE kDescriptorReport = 0x22;

// Short items by prefix without its size bits (Device Class Definition for HID, 6.2.2).
constexpr BYTE kItemInput = 0x80;
constexpr BYTE kItemOutput = 0x90;
constexpr BYTE kItemFeature = 0xB0;
constexpr BYTE kItemCollection = 0xA0;
constexpr BYTE kItemEndCollection = 0xC0;
constexpr BYTE kItemUsagePage = 0x04;
constexpr BYTE kItemReportSize = 0x74;
constexpr BYTE kItemReportCount = 0x94;
constexpr BYTE kItemUsage = 0x08;
} // namespace

CSimHidDevice::CSimHidDevice(CSimClock& clock, const SimUsbIdentity& identity,
                             std::vector<BYTE> report)
    : CSimUsbChip(clock, identity), m_report(std::move(report))
{}

std::optional<HID_CAPS> CSimHidDevice::Capabilities(const std::vector<BYTE>& report)
{
    const std::vector<HID_CAPS> collections = CReportDescriptor::Collections(report);
    return collections.empty() ? std::nullopt : std::optional(collections.front());
}

std::vector<BYTE> CSimHidDevice::SimpleReport(USHORT usUsagePage, USHORT usUsage, BYTE cbInput,
                                              BYTE cbOutput, BYTE cbFeature)
{
    const auto low = [](USHORT us) { return static_cast<BYTE>(us & 0xFF); };
    const auto high = [](USHORT us) { return static_cast<BYTE>(us >> 8); };
    std::vector<BYTE> report = {kItemUsagePage | 2,  low(usUsagePage),
                                high(usUsagePage),   kItemUsage | 2,
                                low(usUsage),        high(usUsage),
                                kItemCollection | 1, 1,
                                kItemReportSize | 1, 8};
    const std::pair<BYTE, BYTE> fields[] = {
        {kItemInput, cbInput}, {kItemOutput, cbOutput}, {kItemFeature, cbFeature}};
    for (const auto& [byTag, cb] : fields) {
        if (cb == 0)
            continue;
        report.insert(report.end(), {kItemReportCount | 1, cb, kItemUsage | 1, 1});
        report.insert(report.end(), {static_cast<BYTE>(byTag | 1), 2});
    }
    report.push_back(kItemEndCollection);
    return report;
}

SimTransferResult CSimHidDevice::Perform(const Request& request)
{
    const SETUP_PACKET& setup = request.setup;
    if (setup.bmRequestType == kReqTypeInterfaceIn && setup.bRequest == kReqGetDescriptor &&
        setup.wValue >> 8 == kDescriptorReport)
        return Answer(request, m_report.data(), m_report.size());
    return Stall();
}
