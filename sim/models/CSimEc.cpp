#include "sim/models/CSimEc.h"

namespace
{

constexpr BYTE kCmdRead = 0x80;
constexpr BYTE kCmdWrite = 0x81;
constexpr BYTE kCmdBurstOn = 0x82;
constexpr BYTE kCmdBurstOff = 0x83;
constexpr BYTE kBurstAcknowledge = 0x90;

} // namespace

CSimEc::CSimEc(CSimClock& clock, ULONGLONG commandPort, ULONGLONG dataPort)
    : m_clock(clock),
      m_commandPort(commandPort),
      m_dataPort(dataPort),
      m_pAlive(std::make_shared<int>(0))
{}

DWORD CSimEc::Read(ULONGLONG address, unsigned cb)
{
    if (cb != 1)
        m_misuse.Add("wide read of port " + CSimMisuse::Hex(static_cast<DWORD>(address)));
    if (address == m_commandPort)
        return (m_bOutputFull ? kOutputFull : 0u) | (m_bInputFull ? kInputFull : 0u) |
               (m_bBurst ? kBurst : 0u);
    if (address != m_dataPort)
        return 0xFF;
    if (!m_bOutputFull)
        m_misuse.Add("data read without an answer");
    m_bOutputFull = false;
    return m_byAnswer;
}

void CSimEc::Write(ULONGLONG address, DWORD dwValue, unsigned cb)
{
    if (cb != 1)
        m_misuse.Add("wide write of port " + CSimMisuse::Hex(static_cast<DWORD>(address)));
    if (address == m_commandPort || address == m_dataPort)
        Take(address == m_commandPort, static_cast<BYTE>(dwValue & 0xFF));
}

void CSimEc::SetPace(CSimClock::Micros usTake, CSimClock::Micros usAnswer)
{
    m_usTake = usTake;
    m_usAnswer = usAnswer;
}

void CSimEc::Take(bool bCommand, BYTE by)
{
    if (m_bInputFull && !m_bBurst) {
        m_misuse.Add("byte " + CSimMisuse::Hex(by) + " written while the input buffer was full");
        return;
    }
    m_bInputFull = true;
    if (m_bHangs)
        return;
    if (m_bBurst)
        Serve(bCommand, by); // IBF goes on standing for a while, which says nothing then
    Later(m_usTake, [this, bCommand, by, bServed = m_bBurst] {
        m_bInputFull = false;
        if (!bServed)
            Serve(bCommand, by);
    });
}

void CSimEc::Serve(bool bCommand, BYTE by)
{
    if (bCommand) {
        ServeCommand(by);
        return;
    }
    switch (m_eWants) {
    case Wants::Command:
        m_misuse.Add("data byte " + CSimMisuse::Hex(by) + " without a command");
        break;
    case Wants::ReadRegister:
        m_eWants = Wants::Command;
        AnswerLater(m_registers[by]);
        break;
    case Wants::WriteRegister:
        m_byRegister = by;
        m_eWants = Wants::Value;
        break;
    case Wants::Value:
        if (!m_readOnly.contains(m_byRegister))
            m_registers[m_byRegister] = by;
        m_eWants = Wants::Command;
        break;
    }
}

void CSimEc::ServeCommand(BYTE by)
{
    if (m_eWants != Wants::Command)
        m_misuse.Add("command " + CSimMisuse::Hex(by) + " in the middle of another");
    if (m_bOutputFull)
        m_misuse.Add("command " + CSimMisuse::Hex(by) + " before the answer was fetched");
    m_bOutputFull = false;
    m_eWants = Wants::Command;
    switch (by) {
    case kCmdRead:
        m_eWants = Wants::ReadRegister;
        break;
    case kCmdWrite:
        m_eWants = Wants::WriteRegister;
        break;
    case kCmdBurstOn:
        m_bBurst = true;
        AnswerLater(kBurstAcknowledge);
        break;
    case kCmdBurstOff:
        m_bBurst = false;
        break;
    default:
        m_misuse.Add("unknown command " + CSimMisuse::Hex(by));
    }
}

void CSimEc::AnswerLater(BYTE by)
{
    Later(m_usAnswer, [this, by] {
        m_byAnswer = by;
        m_bOutputFull = true;
    });
}

void CSimEc::Later(CSimClock::Micros us, std::function<void()> what)
{
    m_clock.Schedule(us, [what = std::move(what), pAlive = std::weak_ptr<int>(m_pAlive)] {
        if (!pAlive.expired())
            what();
    });
}
