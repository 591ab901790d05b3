#pragma once

#include "sim/models/CSimPdBanks.h"
#include "sim/models/CSimUsbChip.h"

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
class CSimBillboard : public CSimUsbChip
{
public:
    explicit CSimBillboard(CSimClock& clock, const SimBillboardSettings& settings = {});
    ~CSimBillboard() override;

    /// Puts an image into a bank and restarts the chip where it stands, without leaving the bus.
    void LoadImage(const std::vector<BYTE>& image, unsigned nBank = 0);
    void LosePowerAt(std::uint64_t nFlashOperation, SimPowerCut eWhen = SimPowerCut::Middle);
    std::uint64_t FlashOperations() const { return m_banks.Flash().Operations(); }

    CSimPdBanks& Banks() { return m_banks; }
    USHORT Version() const { return m_banks.Version(); }
    bool Runs(const std::vector<BYTE>& image) const { return m_banks.Runs(image); }

    /// What outlasts the process when a machine is kept in a file.
    CSimPdBanks::Kept Keep() const { return m_banks.Keep(); }
    void Restore(const CSimPdBanks::Kept& kept, bool bOnBus);

protected:
    SimTransferResult Perform(const Request& request) override;
    void Restart(SimStart eStart) override;

private:
    struct Command;
    static const Command kCommands[];

    SimTransferResult FwReset(const Request& request);
    SimTransferResult ResetCode(const Request& request);
    SimTransferResult VdCmdEnable(const Request& request);
    SimTransferResult Status(const Request& request);
    SimTransferResult WriteFlash(const Request& request);
    SimTransferResult ReadFlash(const Request& request);
    SimTransferResult EraseFlash(const Request& request);
    SimTransferResult IspValidation(const Request& request);
    SimTransferResult CheckCrc(const Request& request);
    SimTransferResult OfVerdict(const SimPdVerdict& verdict, const Request& request);

    CSimPdBanks m_banks;
};
