#include "sim/models/CSimBillboard.h"

#include "wire/HubRequests.h"

namespace
{

constexpr CSimClock::Micros kFlashReadMicrosPerPage = 50;
constexpr USHORT kToRomOption = 0x0000;
constexpr USHORT kToFlashCode = 0x0101;

bool LeavesItsBank(DWORD dwAddr, DWORD cb)
{
    return dwAddr % CSimPdBanks::kBankSize + cb > CSimPdBanks::kBankSize;
}

} // namespace

struct CSimBillboard::Command
{
    BYTE bmRequestType;
    BYTE bRequest;
    bool bHasData;
    SimTransferResult (CSimBillboard::*pfnDo)(const Request&);
};

const CSimBillboard::Command CSimBillboard::kCommands[] = {
    {REQTYPE_VENDOR_OUT, REQ_FW_RESET, false, &CSimBillboard::FwReset},
    {REQTYPE_VENDOR_OUT, REQ_RESET_CODE, false, &CSimBillboard::ResetCode},
    {REQTYPE_VENDOR_OUT, REQ_VDCMD_ENABLE, false, &CSimBillboard::VdCmdEnable},
    {REQTYPE_VENDOR_IN, REQ_BB_STATUS, true, &CSimBillboard::Status},
    {REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, true, &CSimBillboard::WriteFlash},
    {REQTYPE_VENDOR_IN, REQ_READ_FLASH, true, &CSimBillboard::ReadFlash},
    {REQTYPE_VENDOR_OUT, REQ_ERASE_FLASH, false, &CSimBillboard::EraseFlash},
    {REQTYPE_VENDOR_OUT, REQ_ISP_VALIDATION, false, &CSimBillboard::IspValidation},
    {REQTYPE_VENDOR_IN, REQ_BB_CRC, true, &CSimBillboard::CheckCrc},
};

CSimBillboard::CSimBillboard(CSimClock& clock, const SimBillboardSettings& settings)
    : CSimUsbChip(clock, settings.usb), m_banks(settings.pd)
{}

CSimBillboard::~CSimBillboard() = default;

void CSimBillboard::LoadImage(const std::vector<BYTE>& image, unsigned nBank)
{
    m_banks.Load(nBank, image);
    Restart(SimStart::PowerUp);
}

void CSimBillboard::LosePowerAt(std::uint64_t nFlashOperation, SimPowerCut eWhen)
{
    m_banks.Flash().LosePowerAt(nFlashOperation, eWhen);
}

void CSimBillboard::Restore(const CSimPdBanks::Kept& kept, bool bOnBus)
{
    m_banks.Restore(kept);
    SetOnBus(bOnBus);
}

void CSimBillboard::Restart(SimStart eStart)
{
    m_banks.Start(eStart);
}

SimTransferResult CSimBillboard::Perform(const Request& request)
{
    const SETUP_PACKET& setup = request.setup;
    for (const Command& command : kCommands) {
        if (command.bmRequestType != setup.bmRequestType || command.bRequest != setup.bRequest)
            continue;
        if (command.bHasData != (setup.wLength != 0))
            return Misused("wrong data stage", setup);
        const SimTransferResult res = (this->*command.pfnDo)(request);
        Work(m_banks.TakeTime());
        return res;
    }
    return Misused("unknown request", setup);
}

SimTransferResult CSimBillboard::FwReset(const Request& request)
{
    ScheduleReset(request.setup.wValue == kToRomOption ? SimStart::ToRom : SimStart::PowerUp);
    return Done(request);
}

SimTransferResult CSimBillboard::ResetCode(const Request& request)
{
    if (request.setup.wValue != kToFlashCode)
        return Misused("unknown reset", request.setup);
    ScheduleReset(SimStart::ToFlash);
    return Done(request);
}

SimTransferResult CSimBillboard::VdCmdEnable(const Request& request)
{
    const USHORT usValue = request.setup.wValue;
    if (request.setup.wIndex != VDCMD_ENABLE_KEY)
        return Misused("enable without its key", request.setup);
    if (usValue != 0 && usValue != VDCMD_ENABLE_READ_ERASE && usValue != VDCMD_ENABLE_WRITE)
        return Misused("unknown enable", request.setup);
    m_banks.SetEnable(usValue);
    return Done(request);
}

SimTransferResult CSimBillboard::Status(const Request& request)
{
    const auto status = m_banks.Status();
    return Answer(request, status.data(), status.size());
}

SimTransferResult CSimBillboard::WriteFlash(const Request& request)
{
    const DWORD cb = request.setup.wLength;
    if (cb > FLASH_REQUEST_MAX)
        return Misused("flash request too long", request.setup);
    if (LeavesItsBank(request.Address(), cb))
        return Misused("flash write over the bank's end", request.setup);
    return OfVerdict(m_banks.Write(request.Address(), request.pData, cb), request);
}

SimTransferResult CSimBillboard::ReadFlash(const Request& request)
{
    const DWORD cb = request.setup.wLength;
    if (cb > FLASH_REQUEST_MAX)
        return Misused("flash request too long", request.setup);
    Work(kFlashReadMicrosPerPage * ((cb + CSimFlash::kPageSize - 1) / CSimFlash::kPageSize));
    return OfVerdict(m_banks.Read(request.Address(), request.pData, cb), request);
}

SimTransferResult CSimBillboard::EraseFlash(const Request& request)
{
    const DWORD dwAddr = request.Address();
    if (dwAddr != 0 && dwAddr != CSimPdBanks::kBankSize)
        return Misused("erase elsewhere than at a bank", request.setup);
    return OfVerdict(m_banks.EraseBank(dwAddr / CSimPdBanks::kBankSize), request);
}

SimTransferResult CSimBillboard::IspValidation(const Request& request)
{
    if (request.setup.wValue > 1)
        return Misused("unknown validation", request.setup);
    return OfVerdict(m_banks.Validate(), request);
}

SimTransferResult CSimBillboard::CheckCrc(const Request& request)
{
    const unsigned nBank = request.setup.wValue >> 8;
    if (request.setup.wLength != 1 || nBank > 1)
        return Misused("unknown check", request.setup);
    return OfVerdict(m_banks.CheckCrc(nBank, *request.pData), request);
}

SimTransferResult CSimBillboard::OfVerdict(const SimPdVerdict& verdict, const Request& request)
{
    switch (verdict.eKind) {
    case SimPdVerdict::Kind::Done:
        return Done(request);
    case SimPdVerdict::Kind::Misused:
        return Misused(verdict.pszReason, request.setup);
    case SimPdVerdict::Kind::Refused:
        return Stall();
    case SimPdVerdict::Kind::PowerLost:
        break;
    }
    Unplug();
    return {kErrDeviceGone, 0, 0};
}
