#include "tools/zelhub/commands/CEcCommand.h"

#include "cmd/CRequestCMD.h"
#include "tools/zelhub/context/BoundedCall.h"
#include "tools/zelhub/devices/TransportAccess.h"

namespace
{

constexpr CArguments::Value kMaxPort = 0xFFFF;
constexpr CArguments::Value kMaxRegister = 0xFF;
constexpr CArguments::Value kPortDistance = 4; ///< of the command port above the data port
constexpr BYTE kOutputFull = 0x01;
constexpr BYTE kNothing = 0xFF; ///< what a port reads where nobody answers
constexpr BYTE kPattern = 0xA5;

Cell ByteCell(CArguments::Value n)
{
    return {Hex(n, 2), static_cast<long long>(n)};
}

} // namespace

void CEcCommand::Declare(CArguments& root)
{
    constexpr const char* kMore =
        "Without --timeout it is ended after 10 seconds, whatever the controller does.";
    CArguments group = root.Sub("ec", "Read or write registers of the embedded controller");
    m_read = group.Sub("read", "Read registers", kMore);
    DeclareCommon(*m_read);
    m_read->Number("--count", m_nCount, 1, kMaxRegister + 1, "so many from --reg on (default 1)");
    m_write =
        group.Sub("write", "Write a register; can harm the machine, so it asks for --yes", kMore);
    DeclareCommon(*m_write);
    m_write->Number("--value", m_byValue, 0, 0xFF, "what is written", true);
    m_write->Flag("--no-verify", m_bNoVerify, "do not read it back");
    m_write->Flag("--yes", m_bYes, "really do it");
}

void CEcCommand::DeclareCommon(CArguments& args)
{
    args.Number("--reg", m_byRegister, 0, kMaxRegister, "register", true);
    args.Number("--command-port", m_wCommandPort, 0, kMaxPort,
                "command and status port (default 0x66)");
    args.Number("--data-port", m_wDataPort, 0, kMaxPort, "data port (default 0x62)");
    args.Flag("--force", m_bForce, "take ports that look swapped");
}

std::string CEcCommand::PortsText() const
{
    return "command port " + Hex(m_wCommandPort, 2) + ", data port " + Hex(m_wDataPort, 2);
}

void CEcCommand::CheckArguments() const
{
    if (m_wCommandPort == m_wDataPort)
        throw CToolError(ExitCode::Usage, "command port and data port are the same",
                         "Give --command-port and --data-port; the usual ones are 0x66 and 0x62.");
    if (m_wDataPort == m_wCommandPort + kPortDistance && !m_bForce)
        throw CToolError(ExitCode::Usage, "the ports look swapped: " + PortsText(),
                         "The command port is usually 4 above the data port: --command-port " +
                             Hex(m_wDataPort, 2) + " --data-port " + Hex(m_wCommandPort, 2) +
                             "; --force takes them as they are.");
    if (m_read->Chosen() && m_byRegister + m_nCount > kMaxRegister + 1)
        throw CToolError(ExitCode::Usage,
                         "--count " + std::to_string(m_nCount) + " from register " +
                             Hex(m_byRegister, 2) + " goes beyond 0xFF",
                         "Give a smaller --count.");
    if (m_write->Chosen() && !m_bYes)
        throw CToolError(ExitCode::Usage,
                         "ec write can harm the machine: fans, charging and power hang on that "
                         "controller",
                         "Add --yes to do it.");
}

void CEcCommand::Run(CToolContext& context)
{
    CheckArguments();
    const CHubLock lock(PortsText(), context.Opts().strBench, "the embedded controller at ");
    CHubSession session(context);
    CheckController(session);
    if (m_write->Chosen()) {
        Write(session);
        return;
    }
    Table table;
    table.columns = {{"register", "Register"}, {"value", "Value"}};
    for (CArguments::Value n = 0; n < m_nCount; ++n)
        table.rows.push_back(
            {ByteCell(m_byRegister + n), ByteCell(Read(session, static_cast<BYTE>(m_byRegister + n),
                                                       "read", "nothing was written"))});
    context.Out().Show("registers", table);
}

void CEcCommand::CheckController(CHubSession& session) const
{
    const BYTE byStatus = TransportAccess::ReadPort(session, static_cast<DWORD>(m_wCommandPort));
    if (byStatus == kNothing)
        throw CToolError(ExitCode::NoDevice,
                         "nothing answers at command port " + Hex(m_wCommandPort, 2),
                         "Give the controller's ports: --command-port N --data-port N.");
    // The library would take that answer for its own.
    if ((byStatus & kOutputFull) != 0)
        throw CToolError(
            ExitCode::NoAccess,
            "an answer that nobody fetched stands in the embedded controller (status " +
                Hex(byStatus, 2) + "): something else is talking to it, or " +
                Hex(m_wCommandPort, 2) + " is not its command port",
            "Type it again; check " + PortsText() + ".");
}

Failure CEcCommand::Endless(const char* pszPhase, const char* pszState) const
{
    return {ExitCode::DeviceLost, "the embedded controller does not answer at " + PortsText(),
            pszPhase, pszState, "Check that the ports are right and not swapped."};
}

BYTE CEcCommand::Read(CHubSession& session, BYTE byRegister, const char* pszPhase,
                      const char* pszState) const
{
    BYTE byValue = kPattern;
    const unsigned nFailed = session.Responder().FailedTransfers();
    RunBounded(session.Context(), Endless(pszPhase, pszState), [&] {
        CRequestCMD::GetRequestObj()->ReadGeneralECReg(static_cast<DWORD>(m_wCommandPort),
                                                       static_cast<DWORD>(m_wDataPort), byRegister,
                                                       byValue);
    });
    // The library does not see accesses that failed.
    if (session.Responder().FailedTransfers() != nFailed)
        throw CToolError(Failure{ExitCode::NoAccess,
                                 "register " + Hex(byRegister, 2) +
                                     " could not be read: " + session.Responder().LastFailure(),
                                 pszPhase, pszState, "Type it again."});
    return byValue;
}

void CEcCommand::Write(CHubSession& session) const
{
    constexpr const char* kUnknown = "it is not known whether the register was written";
    const auto byRegister = static_cast<BYTE>(m_byRegister);
    const unsigned nFailed = session.Responder().FailedTransfers();
    RunBounded(session.Context(), Endless("write", kUnknown), [&] {
        CRequestCMD::GetRequestObj()->WriteGeneralECReg(static_cast<DWORD>(m_wCommandPort),
                                                        static_cast<DWORD>(m_wDataPort), byRegister,
                                                        static_cast<BYTE>(m_byValue));
    });
    if (session.Responder().FailedTransfers() != nFailed)
        throw CToolError(Failure{ExitCode::WriteFailed,
                                 "register " + Hex(byRegister, 2) +
                                     " could not be written: " + session.Responder().LastFailure(),
                                 "write", kUnknown, "Read the register, then type it again."});
    if (!m_bNoVerify)
        Verify(session, byRegister);
    session.Context().Out().Show({{{"register", "Register"}, ByteCell(byRegister)},
                                  {{"value", "Value"}, ByteCell(m_byValue)},
                                  {{"verified", "Verified"}, Cell::YesNo(!m_bNoVerify)}});
}

void CEcCommand::Verify(CHubSession& session, BYTE byRegister) const
{
    const BYTE byBack =
        Read(session, byRegister, "verify", "the register was written, but not compared");
    if (byBack != m_byValue)
        throw CToolError(Failure{ExitCode::Mismatch,
                                 "register " + Hex(byRegister, 2) + " reads back as " +
                                     Hex(byBack, 2) + ", written was " + Hex(m_byValue, 2),
                                 "verify", "the write was sent, and did not stay",
                                 "Some registers are read-only or change by themselves; leave "
                                 "those to --no-verify."});
}
