#pragma once

#include "sim/models/CSimHubRegisters.h"
#include "sim/models/CSimI2cMemory.h"
#include "sim/models/CSimVendorChip.h"
#include "sim/models/ISimI2cTarget.h"

#include <array>

/// What a simulated hub is. Everything has a usable value from the start.
struct SimHubSettings
{
    SimUsbIdentity usb;
    WString identity = WTEXT("VO HUB"); ///< string descriptor 0x34; empty: there is none
    DWORD cbBank = 0x40000;             ///< room for an image, a multiple of 4096
    bool bDualBank = false;
    bool bIspValidation = true; ///< its flash code can check an image itself
    SimImageCheck eImageCheck = SimImageCheck::Crc;
    USHORT usRomVersion = 0;
    std::array<BYTE, 20> status{};      ///< the status bits that nothing else sets
    bool bRefuseUnpreparedErase = true; ///< false: count it as misuse and erase all the same
    CSimClock::Micros usIspValidation = 200'000;
};

/// A hub chip: vendor requests, flash, ROM and flash code, I2C.
///
/// Beyond a transfer's own time, reading flash costs 50 us per 256 bytes, programming and
/// erasing what CSimFlash says, a block transfer 25 us per byte on I2C. Misuse is what the
/// chip's owner would regret: writes and erases without their enable, programming that would
/// set bits, touching the code that runs, erases without the unlock registers, requests that
/// no such chip knows. Attached targets must outlive the hub.
class CSimHub : public CSimVendorChip<CSimHub, CSimHubBanks>
{
public:
    explicit CSimHub(CSimClock& clock, const SimHubSettings& settings = {});
    ~CSimHub() override;

    /// A target under its 8-bit slave address (bit 0 is no part of it); null removes it.
    void AttachI2cTarget(BYTE bySlaveAddr, ISimI2cTarget* pTarget);
    void AttachI2cMemory(std::shared_ptr<CSimI2cMemory> pMemory);
    /// Holds the bus down: every block transfer runs into its time-out, until a restart.
    void SetI2cStuck(bool bStuck) { m_bI2cStuck = bStuck; }

    // What is inside, for whoever judges from outside.
    bool RunsFlash() const { return m_banks.RunsFlash(); }
    /// The version that the running code reports.
    USHORT Version() const;
    /// Whether flash code runs and the running bank begins with exactly this image.
    bool Runs(const std::vector<BYTE>& image) const;
    BYTE Enable() const { return m_byEnable; }
    /// wValue of the last download slave address requests, 0 after a start.
    USHORT DownloadSlave() const { return m_usDownloadSlave; }
    USHORT DownloadSlaveSub() const { return m_usDownloadSlaveSub; }
    /// wValue and wIndex of the last I2C configuration since the last start.
    std::optional<std::pair<USHORT, USHORT>> I2cConfig() const { return m_i2cConfig; }

private:
    static const Command kCommands[];

    void Restart(SimStart eStart) override;
    void SetEnable(BYTE byLevel) override;

    SimTransferResult SetDownloadSlave(const Request& request);
    SimTransferResult SetDownloadSlaveSub(const Request& request);
    SimTransferResult Status(const Request& request);
    SimTransferResult ReadMem(const Request& request);
    SimTransferResult WriteMem(const Request& request);
    SimTransferResult WriteFlash(const Request& request);
    SimTransferResult ReadFlash(const Request& request);
    SimTransferResult EraseFlash(const Request& request);
    SimTransferResult IspValidation(const Request& request);
    SimTransferResult BlockOut(const Request& request);
    SimTransferResult BlockIn(const Request& request);
    SimTransferResult I2cConfigure(const Request& request);
    SimTransferResult I2cWrite(const Request& request);
    SimTransferResult I2cRead(const Request& request);

    SimTransferResult OfFlash(SimFlashResult eRes, const Request& request, const char* pszWhat);
    SimTransferResult OfTarget(const SimI2cResult& res, const Request& request, std::size_t cb);
    ISimI2cTarget* TargetAt(BYTE bySlaveAddr) const;

    SimHubSettings m_settings;
    CSimHubRegisters m_registers;
    std::map<BYTE, ISimI2cTarget*> m_targets;
    std::shared_ptr<CSimI2cMemory> m_pMemory;
    bool m_bI2cStuck = false;
    BYTE m_byEnable = 0;
    USHORT m_usDownloadSlave = 0;
    USHORT m_usDownloadSlaveSub = 0;
    std::optional<std::pair<USHORT, USHORT>> m_i2cConfig;
};
