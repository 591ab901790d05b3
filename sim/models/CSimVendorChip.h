#pragma once

#include "sim/models/CSimUsbChip.h"
#include "wire/HubRequests.h"

#include <span>

/// A chip whose firmware is replaced by vendor requests: what hubs and billboard devices have in
/// common, namely flash in banks, resets, the enable and the dispatch.
///
/// Model is the class that derives from it and brings a table of its own requests; Store is what
/// its banks are.
template<typename Model, typename Store>
class CSimVendorChip : public CSimUsbChip
{
public:
    /// Puts an image into a bank and restarts the chip where it stands, without leaving the bus.
    void LoadImage(const std::vector<BYTE>& image, unsigned nBank = 0)
    {
        m_banks.Load(nBank, image);
        Restart(SimStart::PowerUp);
    }

    void LosePowerAt(std::uint64_t nFlashOperation, SimPowerCut eWhen = SimPowerCut::Middle)
    {
        m_banks.Flash().LosePowerAt(nFlashOperation, eWhen);
    }
    std::uint64_t FlashOperations() const { return m_banks.Flash().Operations(); }
    Store& Banks() { return m_banks; }

    /// What outlasts the process when a machine is kept in a file.
    typename Store::Kept Keep() const { return m_banks.Keep(); }
    void Restore(const typename Store::Kept& kept, bool bOnBus)
    {
        m_banks.Restore(kept);
        SetOnBus(bOnBus);
    }

protected:
    struct Command
    {
        BYTE bmRequestType;
        BYTE bRequest;
        bool bHasData;
        SimTransferResult (Model::*pfnDo)(const Request&);
    };

    /// @param own  the model's requests; the table must outlive the chip
    CSimVendorChip(CSimClock& clock, SimUsbIdentity identity, Store banks,
                   std::span<const Command> own)
        : CSimUsbChip(clock, std::move(identity)), m_banks(std::move(banks)), m_own(own)
    {}

    /// Carries out a checked enable: 0, VDCMD_ENABLE_READ_ERASE or VDCMD_ENABLE_WRITE.
    virtual void SetEnable(BYTE byLevel) = 0;

    /// Reading flash costs 50 us per 256 bytes.
    void WorkOnReading(DWORD cb)
    {
        constexpr CSimClock::Micros kMicrosPerPage = 50;
        Work(kMicrosPerPage * ((cb + CSimFlash::kPageSize - 1) / CSimFlash::kPageSize));
    }

    Store m_banks;

private:
    SimTransferResult Perform(const Request& request) final
    {
        const Command* const pCommand = Find(request.setup);
        if (pCommand == nullptr)
            return Misused("unknown request", request.setup);
        if (pCommand->bHasData != (request.setup.wLength != 0))
            return Misused("wrong data stage", request.setup);
        const SimTransferResult res = (static_cast<Model&>(*this).*pCommand->pfnDo)(request);
        Work(m_banks.TakeTime());
        return res;
    }

    const Command* Find(const SETUP_PACKET& setup) const
    {
        static constexpr Command kCommon[] = {
            {REQTYPE_VENDOR_OUT, REQ_FW_RESET, false, &CSimVendorChip::FwReset},
            {REQTYPE_VENDOR_OUT, REQ_RESET_CODE, false, &CSimVendorChip::ResetCode},
            {REQTYPE_VENDOR_OUT, REQ_VDCMD_ENABLE, false, &CSimVendorChip::VdCmdEnable},
        };
        for (const std::span<const Command> table : {std::span<const Command>(kCommon), m_own})
            for (const Command& row : table)
                if (row.bmRequestType == setup.bmRequestType && row.bRequest == setup.bRequest)
                    return &row;
        return nullptr;
    }

    SimTransferResult FwReset(const Request& request)
    {
        constexpr USHORT kToRomOption = 0x0000;
        ScheduleReset(request.setup.wValue == kToRomOption ? SimStart::ToRom : SimStart::PowerUp);
        return Done(request);
    }

    SimTransferResult ResetCode(const Request& request)
    {
        constexpr USHORT kToFlashCode = 0x0101;
        if (request.setup.wValue != kToFlashCode)
            return Misused("unknown reset", request.setup);
        ScheduleReset(SimStart::ToFlash);
        return Done(request);
    }

    SimTransferResult VdCmdEnable(const Request& request)
    {
        const USHORT usLevel = request.setup.wValue;
        if (request.setup.wIndex != VDCMD_ENABLE_KEY)
            return Misused("enable without its key", request.setup);
        if (usLevel != 0 && usLevel != VDCMD_ENABLE_READ_ERASE && usLevel != VDCMD_ENABLE_WRITE)
            return Misused("unknown enable", request.setup);
        SetEnable(static_cast<BYTE>(usLevel));
        return Done(request);
    }

    std::span<const Command> m_own;
};
