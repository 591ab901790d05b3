#include "sim/models/CSimSmbusController.h"

#include <algorithm>

namespace
{

enum Register : unsigned
{
    kStatus = 0x00,
    kControl = 0x02,
    kCommand = 0x03,
    kSlave = 0x04,
    kData0 = 0x05,
    kBlockData = 0x07,
    kAuxStatus = 0x0C,
    kAuxControl = 0x0D
};

constexpr BYTE kHostBusy = 0x01;
constexpr BYTE kIntr = 0x02;
constexpr BYTE kDevErr = 0x04;
constexpr BYTE kBusErr = 0x08;
constexpr BYTE kFailed = 0x10;
constexpr BYTE kInUse = 0x40;
constexpr BYTE kByteDone = 0x80;
constexpr BYTE kStandsInTheWay = kIntr | kDevErr | kBusErr | kFailed | kByteDone;

constexpr BYTE kKill = 0x02;
constexpr BYTE kCommandMask = 0x1C;
constexpr BYTE kBlockCommand = 0x14;
constexpr BYTE kLastByte = 0x20;
constexpr BYTE kStart = 0x40;

constexpr BYTE kAuxCrcError = 0x01;
constexpr BYTE kAuxAutoPec = 0x01;
constexpr BYTE kAuxBuffer32 = 0x02;

constexpr BYTE kHostEnable = 0x01;
constexpr BYTE kI2cMode = 0x04;
constexpr BYTE kHostcWritable = 0x1F;
constexpr DWORD kConfigAddressMask = 0xFFFFFFFC;

constexpr std::size_t kBlockMax = 32;

} // namespace

CSimSmbusController::CSimSmbusController(CSimClock& clock, ULONGLONG base)
    : m_clock(clock), m_base(base)
{}

DWORD CSimSmbusController::Read(ULONGLONG address, unsigned cb)
{
    if (address >= kPciAddressPort && address < kPciAddressPort + kPciPorts)
        return ReadConfig(address, cb);
    if (!m_bPresent || (m_byHostc & kHostEnable) == 0)
        return cb == 1 ? 0xFF : 0xFFFFFFFF;
    if (cb != 1)
        m_misuse.Add("wide read of register " + CSimMisuse::Hex(static_cast<DWORD>(address)));
    return ReadRegister(static_cast<unsigned>(address - m_base));
}

void CSimSmbusController::Write(ULONGLONG address, DWORD dwValue, unsigned cb)
{
    if (address >= kPciAddressPort && address < kPciAddressPort + kPciPorts) {
        WriteConfig(address, dwValue, cb);
        return;
    }
    if (!m_bPresent || (m_byHostc & kHostEnable) == 0)
        return;
    if (cb != 1)
        m_misuse.Add("wide write of register " + CSimMisuse::Hex(static_cast<DWORD>(address)));
    WriteRegister(static_cast<unsigned>(address - m_base), static_cast<BYTE>(dwValue & 0xFF));
}

DWORD CSimSmbusController::ReadConfig(ULONGLONG address, unsigned cb) const
{
    if (address < kPciDataPort)
        return address == kPciAddressPort && cb == 4 ? m_dwConfigAddress : 0xFFFFFFFF;
    const bool bHere = m_bPresent && (m_dwConfigAddress & kConfigAddressMask) == kHostcAddress;
    const DWORD dwValue = bHere ? m_byHostc : 0xFFFFFFFF;
    const DWORD dwShifted = dwValue >> (8 * (address - kPciDataPort));
    return cb == 1 ? dwShifted & 0xFF : dwShifted;
}

void CSimSmbusController::WriteConfig(ULONGLONG address, DWORD dwValue, unsigned cb)
{
    if (address == kPciAddressPort && cb == 4)
        m_dwConfigAddress = dwValue;
    else if (address == kPciDataPort && m_bPresent &&
             (m_dwConfigAddress & kConfigAddressMask) == kHostcAddress)
        m_byHostc = static_cast<BYTE>(dwValue & kHostcWritable);
}

BYTE CSimSmbusController::ReadRegister(unsigned nRegister)
{
    const BYTE byStatus = m_byStatus;
    switch (nRegister) {
    case kStatus:
        m_byStatus |= kInUse; // who reads the flag clear owns it
        return byStatus;
    case kControl:
        m_nIndex = 0;
        return m_registers[kControl];
    case kBlockData:
        return ReadData();
    default:
        return nRegister < kRegisters ? m_registers[nRegister] : BYTE{0xFF};
    }
}

void CSimSmbusController::WriteRegister(unsigned nRegister, BYTE by)
{
    const bool bTakenByBus = nRegister == kCommand || nRegister == kSlave || nRegister == kData0;
    if (m_ePhase != Phase::Idle && bTakenByBus)
        m_misuse.Add("register " + CSimMisuse::Hex(nRegister) + " written while busy");
    switch (nRegister) {
    case kStatus:
        ClearStatus(by);
        break;
    case kControl:
        WriteControl(by);
        break;
    case kBlockData:
        WriteData(by);
        break;
    case kAuxStatus:
        m_registers[kAuxStatus] &= static_cast<BYTE>(~by);
        break;
    default:
        if (nRegister < kRegisters)
            m_registers[nRegister] = by;
    }
}

void CSimSmbusController::ClearStatus(BYTE byMask)
{
    const bool bNext = m_ePhase == Phase::Waiting && (byMask & kByteDone) != 0;
    m_byStatus &= static_cast<BYTE>(~byMask | kHostBusy);
    if (bNext)
        NextByte();
}

void CSimSmbusController::WriteControl(BYTE by)
{
    m_registers[kControl] = by & static_cast<BYTE>(~kStart);
    if ((by & kKill) != 0) {
        if (m_ePhase != Phase::Idle)
            End(kFailed);
        return;
    }
    if ((by & kStart) == 0)
        return;
    if (const char* const pszObstacle = StartObstacle()) {
        m_misuse.Add(pszObstacle);
        if (m_ePhase == Phase::Idle)
            End(kFailed);
        return;
    }
    StartTransaction();
}

const char* CSimSmbusController::StartObstacle() const
{
    if (m_ePhase != Phase::Idle)
        return "start while busy";
    if ((m_registers[kControl] & kCommandMask) != kBlockCommand)
        return "start of a command that is no block command";
    if ((m_byHostc & kI2cMode) != 0)
        return "start in I2C mode";
    if ((m_byStatus & kStandsInTheWay) != 0)
        return "start with status bits standing";
    const BYTE byCount = m_registers[kData0];
    if (!IsRead() && (byCount == 0 || byCount > kBlockMax))
        return "start of a block write with a count out of 1 to 32";
    return nullptr;
}

BYTE CSimSmbusController::ReadData()
{
    BYTE by = RunsOnBuffer() ? BufferCell() : m_registers[kBlockData];
    if (m_nCorruptReads != 0) {
        --m_nCorruptReads;
        by ^= 0x01;
    }
    return by;
}

void CSimSmbusController::WriteData(BYTE by)
{
    if (!RunsOnBuffer())
        m_registers[kBlockData] = by;
    else if (m_ePhase != Phase::Idle)
        m_misuse.Add("buffer written while busy");
    else
        BufferCell() = by;
}

BYTE& CSimSmbusController::BufferCell()
{
    if (m_nIndex == m_buffer.size()) {
        m_misuse.Add("buffer index not set back after 32 bytes");
        m_nIndex = 0;
    }
    return m_buffer[m_nIndex++];
}

void CSimSmbusController::StartTransaction()
{
    m_byStatus |= kHostBusy;
    m_pTransaction = std::make_shared<int>(0);
    m_nMoved = 0;
    m_block.clear();
    const auto fault = m_faults.find(m_nTransactions++);
    if (fault != m_faults.end()) {
        m_ePhase = Phase::Whole;
        switch (fault->second) {
        case SimSmbusFault::Hang:
            return;
        case SimSmbusFault::Crc:
            m_registers[kAuxStatus] |= kAuxCrcError;
            End(kDevErr);
            return;
        case SimSmbusFault::DevErr:
            End(kDevErr);
            return;
        case SimSmbusFault::BusErr:
            End(kBusErr);
            return;
        case SimSmbusFault::Failed:
            End(kFailed);
            return;
        }
    }
    if (RunsOnBuffer()) {
        m_ePhase = Phase::Whole;
        const std::size_t cb = IsRead() ? kBlockMax : m_registers[kData0];
        Later(kByteMicros * (cb + 3), &CSimSmbusController::FinishWhole);
        return;
    }
    m_ePhase = Phase::Byte;
    Later(kByteMicros * 4, &CSimSmbusController::FinishByte);
}

bool CSimSmbusController::RunsOnBuffer() const
{
    return (m_registers[kAuxControl] & kAuxBuffer32) != 0;
}

bool CSimSmbusController::IsRead() const
{
    return (m_registers[kSlave] & 0x01) != 0;
}

void CSimSmbusController::FinishWhole()
{
    ISimSmbusTarget* const pTarget = Target();
    if (pTarget == nullptr || !PecFits(*pTarget)) {
        End(kDevErr);
        return;
    }
    const BYTE byCommand = m_registers[kCommand];
    if (!IsRead()) {
        const auto itEnd = m_buffer.begin() + m_registers[kData0];
        End(pTarget->WriteBlock(byCommand, {m_buffer.begin(), itEnd}) ? kIntr : kDevErr);
        return;
    }
    const auto block = pTarget->ReadBlock(byCommand);
    if (!block || block->size() > kBlockMax) {
        End(kDevErr);
        return;
    }
    m_registers[kData0] = static_cast<BYTE>(block->size());
    std::copy(block->begin(), block->end(), m_buffer.begin());
    End(kIntr);
}

/// The first byte is through: address and command were sent, the count is known.
bool CSimSmbusController::BeginBytes()
{
    ISimSmbusTarget* const pTarget = Target();
    if (pTarget == nullptr || !PecFits(*pTarget))
        return false;
    if (!IsRead()) {
        m_block.resize(m_registers[kData0]);
        return true;
    }
    const auto block = pTarget->ReadBlock(m_registers[kCommand]);
    if (!block || block->size() > kBlockMax)
        return false;
    m_block = *block;
    m_registers[kData0] = static_cast<BYTE>(m_block.size());
    return true;
}

void CSimSmbusController::FinishByte()
{
    if (m_nMoved == 0 && !BeginBytes()) {
        End(kDevErr);
        return;
    }
    const bool bLast = m_nMoved + 1 >= m_block.size();
    const bool bAnnounced = (m_registers[kControl] & kLastByte) != 0;
    if (!IsRead()) {
        m_block[m_nMoved] = m_registers[kBlockData];
    } else if (!m_block.empty()) {
        m_registers[kBlockData] = m_block[m_nMoved];
        if (bLast && !bAnnounced && m_block.size() > 1)
            m_misuse.Add("last byte of a block read was not announced");
        if (!bLast && bAnnounced) {
            m_misuse.Add("last byte of a block read was announced too early");
            m_block.resize(m_nMoved + 1);
        }
    }
    ++m_nMoved;
    m_ePhase = Phase::Waiting;
    m_byStatus |= kByteDone;
}

void CSimSmbusController::NextByte()
{
    if (m_nMoved < m_block.size()) {
        m_ePhase = Phase::Byte;
        Later(kByteMicros, &CSimSmbusController::FinishByte);
        return;
    }
    const bool bGood = IsRead() || Target()->WriteBlock(m_registers[kCommand], m_block);
    End(bGood ? kIntr : kDevErr);
}

ISimSmbusTarget* CSimSmbusController::Target() const
{
    const auto it = m_targets.find(m_registers[kSlave] & 0xFE);
    return it == m_targets.end() ? nullptr : it->second;
}

bool CSimSmbusController::PecFits(const ISimSmbusTarget& target) const
{
    return !target.NeedsPec() || (m_registers[kAuxControl] & kAuxAutoPec) != 0;
}

void CSimSmbusController::End(BYTE byStatus)
{
    m_pTransaction.reset();
    m_ePhase = Phase::Idle;
    m_byStatus = static_cast<BYTE>((m_byStatus & ~kHostBusy) | byStatus);
}

void CSimSmbusController::Later(CSimClock::Micros us, void (CSimSmbusController::*pfnWhat)())
{
    m_clock.Schedule(us, [this, pfnWhat, pMine = std::weak_ptr<int>(m_pTransaction)] {
        if (!pMine.expired())
            (this->*pfnWhat)();
    });
}
