#pragma once

#include "sim/models/CSimClock.h"
#include "sim/models/CSimMisuse.h"
#include "sim/models/ISimPortSpace.h"
#include "sim/models/ISimSmbusTarget.h"

#include <array>
#include <memory>

/// How a transaction goes wrong.
enum class SimSmbusFault
{
    DevErr, ///< the device does not answer
    BusErr, ///< the arbitration is lost
    Failed, ///< the controller gives up
    Crc,    ///< the packet error code is wrong: CRC error and DEV_ERR
    Hang    ///< busy for ever, until killed
};

/// An SMBus host controller: 16 byte-wide registers at an I/O base, and the PCI configuration
/// ports 0xCF8 and 0xCFC, behind which its HOSTC register enables it.
///
/// It knows block commands, from the 32-byte buffer or byte by byte. Status bits are cleared by
/// writing 1 to them; reading the status takes the in-use flag; reading the control register
/// sets the buffer's index back. Byte by byte, BYTE_DONE stands after each byte and the next
/// one moves when it is cleared; a read that sets LAST_BYTE ends with the byte under way. A
/// byte takes 90 us on the bus. A disabled controller reads all ones. The clock must outlive it.
///
/// Misuse: a start while busy, with status bits standing, in I2C mode, of another command or a
/// count out of 1 to 32; registers written while a transaction uses them; the buffer left
/// without setting its index back; a last byte that was not announced; wide accesses.
class CSimSmbusController : public ISimPortSpace
{
public:
    static constexpr ULONGLONG kRegisters = 16;
    static constexpr ULONGLONG kPciAddressPort = 0xCF8;
    static constexpr ULONGLONG kPciDataPort = 0xCFC;
    static constexpr ULONGLONG kPciPorts = 8;
    static constexpr DWORD kHostcAddress = 0x80018940;
    static constexpr CSimClock::Micros kByteMicros = 90;

    CSimSmbusController(CSimClock& clock, ULONGLONG base);

    DWORD Read(ULONGLONG address, unsigned cb) override;
    void Write(ULONGLONG address, DWORD dwValue, unsigned cb) override;

    /// A device under its 8-bit address (bit 0 is no part of it); null removes it.
    void Attach(BYTE byAddress, ISimSmbusTarget* pTarget) { m_targets[byAddress & 0xFE] = pTarget; }

    /// Goes wrong with transaction n, counted from 0.
    void FailTransaction(unsigned n, SimSmbusFault eFault) { m_faults[n] = eFault; }
    unsigned Transactions() const { return m_nTransactions; }
    /// The next n reads of the block data port come with bit 0 flipped.
    void CorruptBufferReads(unsigned n) { m_nCorruptReads = n; }
    unsigned CorruptReads() const { return m_nCorruptReads; } ///< still to come
    void ForgetFaults() { m_faults.clear(); }
    /// Whether anything answers at its configuration address.
    void SetPresent(bool bPresent) { m_bPresent = bPresent; }

    ULONGLONG Base() const { return m_base; }
    BYTE Hostc() const { return m_byHostc; }
    void SetHostc(BYTE by) { m_byHostc = by; }
    CSimMisuse& Misuse() { return m_misuse; }

private:
    enum class Phase
    {
        Idle,
        Whole,  ///< a transaction from the buffer is on the bus
        Byte,   ///< one byte is on the bus
        Waiting ///< BYTE_DONE stands, the bus is stretched
    };

    DWORD ReadConfig(ULONGLONG address, unsigned cb) const;
    void WriteConfig(ULONGLONG address, DWORD dwValue, unsigned cb);
    BYTE ReadRegister(unsigned nRegister);
    void WriteRegister(unsigned nRegister, BYTE by);
    void ClearStatus(BYTE byMask);
    void WriteControl(BYTE by);
    BYTE ReadData();
    void WriteData(BYTE by);
    BYTE& BufferCell();

    void StartTransaction();
    const char* StartObstacle() const;
    bool RunsOnBuffer() const;
    bool IsRead() const;
    void FinishWhole();
    bool BeginBytes();
    void FinishByte();
    void NextByte();
    ISimSmbusTarget* Target() const;
    bool PecFits(const ISimSmbusTarget& target) const;
    void End(BYTE byStatus);
    void Later(CSimClock::Micros us, void (CSimSmbusController::*pfnWhat)());

    CSimClock& m_clock;
    ULONGLONG m_base;
    bool m_bPresent = true;
    DWORD m_dwConfigAddress = 0;
    BYTE m_byHostc = 0;
    std::map<BYTE, ISimSmbusTarget*> m_targets;
    std::map<unsigned, SimSmbusFault> m_faults;
    unsigned m_nTransactions = 0;
    unsigned m_nCorruptReads = 0;
    CSimMisuse m_misuse;

    BYTE m_byStatus = 0;
    std::array<BYTE, kRegisters> m_registers{}; ///< those without rules of their own
    std::array<BYTE, 32> m_buffer{};
    std::size_t m_nIndex = 0;
    Phase m_ePhase = Phase::Idle;
    std::vector<BYTE> m_block; ///< byte by byte: what moves
    std::size_t m_nMoved = 0;
    std::shared_ptr<int> m_pTransaction; ///< events of an ended transaction find theirs gone
};
