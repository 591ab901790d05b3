#include "sim/models/CSimBillboard.h"

#include "wire/HubRequests.h"

namespace
{

bool LeavesItsBank(DWORD dwAddr, DWORD cb)
{
    return dwAddr % CSimPdBanks::kBankSize + cb > CSimPdBanks::kBankSize;
}

} // namespace

const CSimBillboard::Command CSimBillboard::kCommands[] = {
    {REQTYPE_VENDOR_IN, REQ_BB_STATUS, true, &CSimBillboard::Status},
    {REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, true, &CSimBillboard::WriteFlash},
    {REQTYPE_VENDOR_IN, REQ_READ_FLASH, true, &CSimBillboard::ReadFlash},
    {REQTYPE_VENDOR_OUT, REQ_ERASE_FLASH, false, &CSimBillboard::EraseFlash},
    {REQTYPE_VENDOR_OUT, REQ_ISP_VALIDATION, false, &CSimBillboard::IspValidation},
    {REQTYPE_VENDOR_IN, REQ_BB_CRC, true, &CSimBillboard::CheckCrc},
};

CSimBillboard::CSimBillboard(CSimClock& clock, const SimBillboardSettings& settings)
    : CSimVendorChip(clock, settings.usb, CSimPdBanks(settings.pd), kCommands)
{}

CSimBillboard::~CSimBillboard() = default;

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
    WorkOnReading(cb);
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
