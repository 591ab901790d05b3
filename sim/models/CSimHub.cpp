#include "sim/models/CSimHub.h"

#include "wire/HubRequests.h"

#include <algorithm>

namespace
{

constexpr CSimClock::Micros kI2cMicrosPerByte = 25;
constexpr USHORT kI2cConfigIndexBits = 0x8080;
constexpr DWORD kBlockHeader = 3;
constexpr DWORD kBlockDataMax = 61;

constexpr BYTE kStatus7DualBank = 0x80;
constexpr BYTE kStatus13Isp = 0x02;
constexpr BYTE kStatus15FlashCode = 0x02;

SimUsbIdentity WithIdentityString(const SimHubSettings& settings)
{
    SimUsbIdentity usb = settings.usb;
    if (!settings.identity.empty())
        usb.strings[HUB_IDENTITY_STRING_INDEX] = settings.identity;
    return usb;
}

} // namespace

const CSimHub::Command CSimHub::kCommands[] = {
    {REQTYPE_VENDOR_OUT, REQ_SET_DL_SLAVE, false, &CSimHub::SetDownloadSlave},
    {REQTYPE_VENDOR_OUT, REQ_SET_DL_SLAVE_SUB, false, &CSimHub::SetDownloadSlaveSub},
    {REQTYPE_VENDOR_IN, REQ_STATUS, true, &CSimHub::Status},
    {REQTYPE_VENDOR_IN, REQ_READ_MEM, true, &CSimHub::ReadMem},
    {REQTYPE_VENDOR_OUT, REQ_WRITE_MEM, true, &CSimHub::WriteMem},
    {REQTYPE_VENDOR_OUT, REQ_WRITE_FLASH, true, &CSimHub::WriteFlash},
    {REQTYPE_VENDOR_IN, REQ_READ_FLASH, true, &CSimHub::ReadFlash},
    {REQTYPE_VENDOR_OUT, REQ_ERASE_FLASH, false, &CSimHub::EraseFlash},
    {REQTYPE_VENDOR_OUT, REQ_ISP_VALIDATION, false, &CSimHub::IspValidation},
    {REQTYPE_VENDOR_OUT, REQ_BLOCK_OUT, true, &CSimHub::BlockOut},
    {REQTYPE_VENDOR_IN, REQ_BLOCK_IN, true, &CSimHub::BlockIn},
    {REQTYPE_VENDOR_OUT, REQ_I2C_CONFIG, false, &CSimHub::I2cConfigure},
    {REQTYPE_VENDOR_OUT, REQ_I2C_WRITE, true, &CSimHub::I2cWrite},
    {REQTYPE_VENDOR_IN, REQ_I2C_READ, true, &CSimHub::I2cRead},
};

CSimHub::CSimHub(CSimClock& clock, const SimHubSettings& settings)
    : CSimVendorChip(clock, WithIdentityString(settings),
                     {settings.cbBank, settings.bDualBank, settings.eImageCheck}, kCommands),
      m_settings(settings),
      m_registers(clock)
{}

CSimHub::~CSimHub() = default;

void CSimHub::AttachI2cTarget(BYTE bySlaveAddr, ISimI2cTarget* pTarget)
{
    m_targets[bySlaveAddr & 0xFE] = pTarget;
}

void CSimHub::AttachI2cMemory(std::shared_ptr<CSimI2cMemory> pMemory)
{
    m_pMemory = std::move(pMemory);
}

USHORT CSimHub::Version() const
{
    return m_banks.RunsFlash() ? m_banks.RunningVersion() : m_settings.usRomVersion;
}

bool CSimHub::Runs(const std::vector<BYTE>& image) const
{
    const std::vector<BYTE> bank = m_banks.Bank(m_banks.ActiveBank());
    return RunsFlash() && image.size() <= bank.size() &&
           std::equal(image.begin(), image.end(), bank.begin());
}

void CSimHub::Restart(SimStart eStart)
{
    m_banks.Boot(eStart);
    m_registers.Reset();
    m_bI2cStuck = false;
    m_byEnable = 0;
    m_usDownloadSlave = 0;
    m_usDownloadSlaveSub = 0;
    m_i2cConfig.reset();
}

void CSimHub::SetEnable(BYTE byLevel)
{
    m_byEnable = byLevel;
    m_banks.SetWritable(byLevel == VDCMD_ENABLE_WRITE);
}

SimTransferResult CSimHub::SetDownloadSlave(const Request& request)
{
    m_usDownloadSlave = request.setup.wValue;
    return Done(request);
}

SimTransferResult CSimHub::SetDownloadSlaveSub(const Request& request)
{
    m_usDownloadSlaveSub = request.setup.wValue;
    return Done(request);
}

SimTransferResult CSimHub::Status(const Request& request)
{
    auto status = m_settings.status;
    const auto set = [&status](std::size_t nByte, BYTE byMask, bool bOn) {
        status[nByte] = static_cast<BYTE>((status[nByte] & ~byMask) | (bOn ? byMask : 0));
    };
    set(7, kStatus7DualBank, m_banks.IsDual());
    status[10] = static_cast<BYTE>(Version() >> 8);
    status[11] = static_cast<BYTE>(Version() & 0xFF);
    set(13, kStatus13Isp, m_settings.bIspValidation && RunsFlash());
    set(15, kStatus15FlashCode, RunsFlash());
    return Answer(request, status.data(), status.size());
}

SimTransferResult CSimHub::ReadMem(const Request& request)
{
    for (USHORT i = 0; i < request.setup.wLength; ++i)
        request.pData[i] = m_registers.Read(static_cast<USHORT>(request.setup.wIndex + i));
    return Done(request);
}

SimTransferResult CSimHub::WriteMem(const Request& request)
{
    if (m_byEnable == 0)
        return Misused("memory write without enable", request.setup);
    for (USHORT i = 0; i < request.setup.wLength; ++i)
        m_registers.Write(static_cast<USHORT>(request.setup.wIndex + i), request.pData[i]);
    return Done(request);
}

SimTransferResult CSimHub::WriteFlash(const Request& request)
{
    const DWORD cb = request.setup.wLength;
    if (cb > FLASH_REQUEST_MAX)
        return Misused("flash request too long", request.setup);
    if (m_byEnable != VDCMD_ENABLE_WRITE)
        return Misused("flash write without enable 3", request.setup);
    return OfFlash(m_banks.Write(request.Address(), request.pData, cb), request, "flash write");
}

SimTransferResult CSimHub::ReadFlash(const Request& request)
{
    const DWORD cb = request.setup.wLength;
    if (cb > FLASH_REQUEST_MAX)
        return Misused("flash request too long", request.setup);
    if (m_banks.Read(request.Address(), request.pData, cb) != SimFlashResult::Done)
        return Stall();
    WorkOnReading(cb);
    return Done(request);
}

SimTransferResult CSimHub::EraseFlash(const Request& request)
{
    if (request.Address() != 0)
        return Misused("erase elsewhere than at 0", request.setup);
    if (m_byEnable != VDCMD_ENABLE_READ_ERASE)
        return Misused("erase without enable 1", request.setup);
    const std::string obstacle = m_registers.EraseObstacle();
    if (!obstacle.empty()) {
        const SimTransferResult refused = Misused("erase not prepared: " + obstacle, request.setup);
        if (m_settings.bRefuseUnpreparedErase)
            return refused;
    }
    m_registers.LockErase();
    return OfFlash(m_banks.Erase(), request, "erase");
}

SimTransferResult CSimHub::IspValidation(const Request& request)
{
    if (!RunsFlash() || !m_settings.bIspValidation)
        return Misused("no code here that validates", request.setup);
    if (request.setup.wValue > 1)
        return Misused("unknown validation", request.setup);
    Work(m_settings.usIspValidation);
    const bool bNew = request.setup.wValue == 1;
    const bool bGood = m_banks.IsComplete(bNew ? m_banks.DownloadBank() : m_banks.ActiveBank());
    return bGood ? Done(request) : Stall();
}

SimTransferResult CSimHub::BlockOut(const Request& request)
{
    const SETUP_PACKET& setup = request.setup;
    const BYTE* const p = request.pData;
    const bool bFramed = setup.wLength >= kBlockHeader && p[2] + kBlockHeader == setup.wLength;
    if (!bFramed || p[2] > kBlockDataMax || setup.wIndex != 0)
        return Misused("block write out of frame", setup);
    const BYTE byCommand = static_cast<BYTE>(setup.wValue >> 8);
    const USHORT usOffset = static_cast<USHORT>(p[0] | p[1] << 8);
    ISimI2cTarget* const pTarget = TargetAt(static_cast<BYTE>(setup.wValue & 0xFF));
    SimI2cResult res{SimI2cAnswer::Nak, 0};
    if (m_bI2cStuck)
        res.eAnswer = SimI2cAnswer::Stuck;
    else if (pTarget != nullptr)
        res = pTarget->Write(byCommand, usOffset, p + kBlockHeader, p[2]);
    return OfTarget(res, request, setup.wLength);
}

SimTransferResult CSimHub::BlockIn(const Request& request)
{
    const SETUP_PACKET& setup = request.setup;
    if (setup.wLength > 0xFF)
        return Misused("block read too long", setup);
    const BYTE byCommand = static_cast<BYTE>(setup.wValue >> 8);
    ISimI2cTarget* const pTarget = TargetAt(static_cast<BYTE>(setup.wValue & 0xFF));
    SimI2cResult res{SimI2cAnswer::Nak, 0};
    if (m_bI2cStuck)
        res.eAnswer = SimI2cAnswer::Stuck;
    else if (pTarget != nullptr)
        res =
            pTarget->Read(byCommand, setup.wIndex, request.pData, static_cast<BYTE>(setup.wLength));
    return OfTarget(res, request, setup.wLength);
}

SimTransferResult CSimHub::I2cConfigure(const Request& request)
{
    if ((request.setup.wIndex & kI2cConfigIndexBits) != kI2cConfigIndexBits)
        return Misused("I2C configuration without its fixed bits", request.setup);
    m_i2cConfig = {request.setup.wValue, request.setup.wIndex};
    return Done(request);
}

SimTransferResult CSimHub::I2cWrite(const Request& request)
{
    const DWORD cb = request.setup.wLength;
    if (!m_i2cConfig)
        return Misused("I2C write before its configuration", request.setup);
    if (!m_pMemory || !m_pMemory->Holds(request.Address(), cb))
        return Stall();
    Work(kI2cMicrosPerByte * cb);
    std::copy_n(request.pData, cb, m_pMemory->Bytes().begin() + request.Address());
    return Done(request);
}

SimTransferResult CSimHub::I2cRead(const Request& request)
{
    const DWORD cb = request.setup.wLength;
    if (!m_i2cConfig)
        return Misused("I2C read before its configuration", request.setup);
    if (!m_pMemory || !m_pMemory->Holds(request.Address(), cb))
        return Stall();
    Work(kI2cMicrosPerByte * cb);
    std::copy_n(m_pMemory->Bytes().begin() + request.Address(), cb, request.pData);
    return Done(request);
}

SimTransferResult CSimHub::OfFlash(SimFlashResult eRes, const Request& request, const char* pszWhat)
{
    const std::string what = std::string(pszWhat) + " ";
    switch (eRes) {
    case SimFlashResult::Done:
        return Done(request);
    case SimFlashResult::WouldSetBits:
        return Misused(what + "would set bits", request.setup);
    case SimFlashResult::OutOfRange:
        return Misused(what + "outside of the flash", request.setup);
    case SimFlashResult::RunningBank:
        return Misused(what + "where code runs from", request.setup);
    case SimFlashResult::PowerLost:
        break;
    }
    Unplug();
    return {kErrDeviceGone, 0, 0};
}

SimTransferResult CSimHub::OfTarget(const SimI2cResult& res, const Request& request, std::size_t cb)
{
    Work(res.usTaken + kI2cMicrosPerByte * (cb + 1));
    switch (res.eAnswer) {
    case SimI2cAnswer::Ack:
        return Done(request);
    case SimI2cAnswer::Nak:
        return Stall();
    case SimI2cAnswer::Stuck:
        break;
    }
    m_bI2cStuck = true;
    Clock().Advance(request.dwTimeoutMs * CSimClock::Micros{1000});
    return {kErrSemTimeout, 0, 0};
}

ISimI2cTarget* CSimHub::TargetAt(BYTE bySlaveAddr) const
{
    const auto it = m_targets.find(bySlaveAddr & 0xFE);
    return it == m_targets.end() ? nullptr : it->second;
}
