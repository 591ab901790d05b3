#pragma once

#include "sim/models/CSimClock.h"
#include "sim/models/CSimMisuse.h"
#include "sim/models/ISimPortSpace.h"

#include <array>
#include <functional>
#include <memory>
#include <set>

/// An embedded controller's two ports: command and status, and data. Commands: 0x80 read and
/// 0x81 write a register, 0x82 and 0x83 burst on and off. A byte that the host writes stands in
/// the input buffer (IBF) until it is taken; an answer stands in the output buffer (OBF) until
/// it is read. In burst mode the controller serves at once, IBF set or not. The clock must
/// outlive it.
///
/// Misuse: a byte written while IBF stands outside of burst mode (it is lost), a byte of no
/// command, data read while OBF is clear, an answer that nobody fetched, wide accesses.
class CSimEc : public ISimPortSpace
{
public:
    static constexpr BYTE kOutputFull = 0x01;
    static constexpr BYTE kInputFull = 0x02;
    static constexpr BYTE kBurst = 0x10;

    CSimEc(CSimClock& clock, ULONGLONG commandPort, ULONGLONG dataPort);

    DWORD Read(ULONGLONG address, unsigned cb) override;
    void Write(ULONGLONG address, DWORD dwValue, unsigned cb) override;

    /// How long it takes over a byte, and then over an answer. At first 20 us and 50 us.
    void SetPace(CSimClock::Micros usTake, CSimClock::Micros usAnswer);
    void SetBurst(bool bBurst) { m_bBurst = bBurst; }
    /// From now on it takes no byte any more.
    void Hang() { m_bHangs = true; }

    std::array<BYTE, 256>& Registers() { return m_registers; }
    /// From now on it takes writes of a register and changes nothing.
    void SetReadOnly(BYTE byRegister) { m_readOnly.insert(byRegister); }
    CSimMisuse& Misuse() { return m_misuse; }

private:
    enum class Wants
    {
        Command,
        ReadRegister,
        WriteRegister,
        Value
    };

    void Take(bool bCommand, BYTE by);
    void Serve(bool bCommand, BYTE by);
    void ServeCommand(BYTE by);
    void AnswerLater(BYTE by);
    void Later(CSimClock::Micros us, std::function<void()> what);

    CSimClock& m_clock;
    ULONGLONG m_commandPort;
    ULONGLONG m_dataPort;
    CSimClock::Micros m_usTake = 20;
    CSimClock::Micros m_usAnswer = 50;
    std::array<BYTE, 256> m_registers{};
    std::set<BYTE> m_readOnly;
    CSimMisuse m_misuse;
    Wants m_eWants = Wants::Command;
    BYTE m_byRegister = 0;
    BYTE m_byAnswer = 0;
    bool m_bInputFull = false;
    bool m_bOutputFull = false;
    bool m_bBurst = false;
    bool m_bHangs = false;
    std::shared_ptr<int> m_pAlive; ///< events of a controller that is gone find it gone
};
