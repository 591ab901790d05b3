#pragma once

#include "platform/IHid.h"
#include "sim/models/CSimUsbChip.h"

/// A HID device: descriptors, its report descriptor among them, and the capabilities that a
/// system derives from it. It answers nothing else.
class CSimHidDevice : public CSimUsbChip
{
public:
    CSimHidDevice(CSimClock& clock, const SimUsbIdentity& identity, std::vector<BYTE> report);

    const std::vector<BYTE>& Report() const { return m_report; }

    /// What the system says about the report descriptor's first top-level collection; nothing
    /// when the descriptor has none or breaks off.
    static std::optional<HID_CAPS> Capabilities(const std::vector<BYTE>& report);

    /// A report descriptor with one vendor collection and reports of these lengths in bytes
    /// (0: none), without report IDs.
    static std::vector<BYTE> SimpleReport(USHORT usUsagePage, USHORT usUsage, BYTE cbInput,
                                          BYTE cbOutput, BYTE cbFeature);

protected:
    SimTransferResult Perform(const Request& request) override;
    void Restart(SimStart) override {}

private:
    std::vector<BYTE> m_report;
};
