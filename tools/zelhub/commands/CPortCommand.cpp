#include "tools/zelhub/commands/CPortCommand.h"

#include "tools/zelhub/devices/CPortDriver.h"
#include "tools/zelhub/devices/TransportAccess.h"

namespace
{

constexpr CArguments::Value kMaxPort = 0xFFFF;

} // namespace

void CPortCommand::Declare(CArguments& root)
{
    constexpr const char* kMore =
        "Reading a port can have effects as well: a byte of data is taken, "
        "a flag is cleared.";
    CArguments group = root.Sub("port", "Read or write the machine's I/O ports");
    m_read = group.Sub("read", "Read a port", kMore);
    DeclareCommon(*m_read);
    m_write = group.Sub("write", "Write a port; can harm the machine, so it asks for --yes", kMore);
    DeclareCommon(*m_write);
    m_write->Number("--value", m_dwValue, 0, 0xFFFFFFFF, "what is written", true);
    m_write->Flag("--yes", m_bYes, "really do it");
}

void CPortCommand::DeclareCommon(CArguments& args)
{
    args.Number("--port", m_wPort, 0, kMaxPort, "number of the port", true);
    args.Choice("--width", m_strWidth, {"1", "4"}, "bytes at once (default 1)");
    args.Choice("--driver", m_strDriver, {"port", "hub"},
                "through the port driver (default) or, byte by byte, the hub driver");
}

void CPortCommand::CheckArguments() const
{
    const bool bWide = m_strWidth == "4";
    if (bWide && m_strDriver == "hub")
        throw CToolError(ExitCode::Usage, "the hub driver accesses ports by single bytes only",
                         "Leave out --driver hub, or --width 4.");
    if (bWide && m_wPort + 3 > kMaxPort)
        throw CToolError(ExitCode::Usage,
                         "4 bytes from port " + Hex(m_wPort, 4) + " on go beyond port 0xFFFF",
                         "Give a lower --port, or --width 1.");
    if (!bWide && m_dwValue > 0xFF)
        throw CToolError(ExitCode::Usage, "--value " + Hex(m_dwValue, 2) + " is no byte",
                         "Give a value of at most 0xFF, or --width 4.");
    if (m_write->Chosen() && !m_bYes)
        throw CToolError(ExitCode::Usage,
                         "port write can harm the machine: any device may stand behind a port",
                         "Add --yes to do it.");
}

DWORD CPortCommand::Access(CToolContext& context) const
{
    const auto dwPort = static_cast<DWORD>(m_wPort);
    const auto dwValue = static_cast<DWORD>(m_dwValue);
    const unsigned cb = m_strWidth == "4" ? 4 : 1;
    if (m_strDriver == "hub") {
        CHubSession session(context);
        if (m_read->Chosen())
            return TransportAccess::ReadPort(session, dwPort);
        TransportAccess::WritePort(session, dwPort, static_cast<BYTE>(dwValue));
        return dwValue;
    }
    CPortDriver ports(context);
    if (m_read->Chosen())
        return ports.Read(dwPort, cb);
    ports.Write(dwPort, dwValue, cb);
    return dwValue;
}

void CPortCommand::Run(CToolContext& context)
{
    CheckArguments();
    const DWORD dwValue = Access(context);
    const int nDigits = m_strWidth == "4" ? 8 : 2;
    context.Out().Show(
        {{{"port", "Port"}, Cell(Hex(m_wPort, 4), static_cast<long long>(m_wPort))},
         {{m_read->Chosen() ? "value" : "written", m_read->Chosen() ? "Value" : "Written"},
          Cell(Hex(dwValue, nDigits), static_cast<long long>(dwValue))}});
}
