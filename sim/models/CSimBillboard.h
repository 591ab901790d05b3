#pragma once

#include "sim/models/CSimPdBanks.h"
#include "sim/models/CSimVendorChip.h"

/// What a simulated billboard device is.
struct SimBillboardSettings
{
    SimUsbIdentity usb = {0x5678, 0xBB01, 0x0100, 0x0210, 0x11, 0, {}};
    SimPdSettings pd;
};

/// A PD controller that enumerates as a billboard device: CSimPdBanks behind vendor requests.
///
/// Flash addresses are the chip's own, 0 and 0x20000 for the banks; an erase names a bank by
/// its first address. The enable's level is its wValue. Flash requests move 1 to 4096 bytes and
/// may not leave their bank. Reading flash costs 50 us per 256 bytes.
class CSimBillboard : public CSimVendorChip<CSimBillboard, CSimPdBanks>
{
public:
    explicit CSimBillboard(CSimClock& clock, const SimBillboardSettings& settings = {});
    ~CSimBillboard() override;

    USHORT Version() const { return m_banks.Version(); }
    bool Runs(const std::vector<BYTE>& image) const { return m_banks.Runs(image); }

private:
    static const Command kCommands[];

    void Restart(SimStart eStart) override { m_banks.Start(eStart); }
    void SetEnable(BYTE byLevel) override { m_banks.SetEnable(byLevel); }

    SimTransferResult Status(const Request& request);
    SimTransferResult WriteFlash(const Request& request);
    SimTransferResult ReadFlash(const Request& request);
    SimTransferResult EraseFlash(const Request& request);
    SimTransferResult IspValidation(const Request& request);
    SimTransferResult CheckCrc(const Request& request);
    SimTransferResult OfVerdict(const SimPdVerdict& verdict, const Request& request);
};
