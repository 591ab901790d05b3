#include "tools/zelhub/commands/CI2cCommand.h"

#include "tools/zelhub/input/HexInput.h"

namespace
{

constexpr DWORD kMostBytes = 4096;

[[noreturn]] void Refuse(CHubSession& session, const std::string& strWhat)
{
    const std::string& strWhy = session.Responder().LastFailure();
    const bool bOnBus = session.IsStillOnBus();
    throw CToolError(Failure{bOnBus ? ExitCode::General : ExitCode::DeviceLost,
                             strWhat + (strWhy.empty() ? "" : ": " + strWhy), "i2c",
                             bOnBus ? "the hub is on the bus; its flash was not touched"
                                    : "the hub is not on the bus",
                             "Check the address and what hangs on the hub's I2C port."});
}

} // namespace

void CI2cCommand::Declare(CArguments& root)
{
    CArguments group = root.Sub("i2c", "Read or write over a hub's own I2C port");
    m_read = group.Sub("read", "Read bytes");
    DeclareCommon(*m_read);
    m_read->Number("--length", m_cb, 1, kMostBytes, "bytes to read", true);
    m_write = group.Sub("write", "Write bytes; can harm what hangs there, so it asks for --yes");
    DeclareCommon(*m_write);
    m_write->Text("--data", m_strData, "hex bytes: \"01 2A FF\"", true);
    m_write->Flag("--yes", m_bYes, "really do it");
}

void CI2cCommand::DeclareCommon(CArguments& args)
{
    args.Number("--address", m_dwAddress, 0, 0xFFFFFFFF, "32-bit address, as the hub takes it",
                true);
    args.Number("--config-a", m_byConfigA, 0, 0xFF, "first configuration byte (default 0)");
    args.Number("--config-b", m_byConfigB, 0, 0xFF, "second configuration byte (default 0)");
    args.Number("--config-c", m_byConfigC, 0, 0xFF, "third configuration byte (default 0)");
}

bool CI2cCommand::Chosen() const
{
    return m_read->Chosen() || m_write->Chosen();
}

void CI2cCommand::Run(CToolContext& context)
{
    const bool bWrite = m_write->Chosen();
    if (bWrite) {
        (void)DataOption(m_strData);
        if (!m_bYes)
            throw CToolError(ExitCode::Usage, "i2c write can harm what hangs on the hub's I2C port",
                             "Add --yes to do it.");
    }
    CHubSession session(context);
    session.OpenChosen();
    context.Progress().Clear();
    Configure(session);
    if (bWrite)
        Write(session);
    else
        Read(session);
}

void CI2cCommand::Configure(CHubSession& session) const
{
    session.Responder().ForgetFailure();
    const unsigned nFailed = session.Responder().FailedTransfers();
    const DWORD dwRes =
        session.Dev().I2CConfigImpl(static_cast<BYTE>(m_byConfigA), static_cast<BYTE>(m_byConfigB),
                                    static_cast<BYTE>(m_byConfigC));
    if (dwRes != 1 || session.Responder().FailedTransfers() != nFailed)
        Refuse(session, "the hub did not take the I2C configuration");
}

void CI2cCommand::Read(CHubSession& session) const
{
    std::vector<BYTE> bytes(m_cb);
    const unsigned nFailed = session.Responder().FailedTransfers();
    const bool bRead = HubReads::Checked(bytes, [&](std::vector<BYTE>& b) {
        return session.Dev().I2CReadImpl(static_cast<DWORD>(m_dwAddress), b.data(),
                                         static_cast<USHORT>(b.size())) == 1;
    });
    if (!bRead || session.Responder().FailedTransfers() != nFailed)
        Refuse(session, "nothing could be read at " + Hex(m_dwAddress, 8));
    session.Context().Out().Show({{{"address", "Address"}, Cell(Hex(m_dwAddress, 8))},
                                  {{"data", "Data"}, Cell(HexBytes(bytes.data(), bytes.size()))}});
}

void CI2cCommand::Write(CHubSession& session) const
{
    std::vector<BYTE> bytes = DataOption(m_strData);
    const unsigned nFailed = session.Responder().FailedTransfers();
    const DWORD dwRes = session.Dev().I2CWriteImpl(static_cast<DWORD>(m_dwAddress), bytes.data(),
                                                   static_cast<USHORT>(bytes.size()));
    // A transfer that failed with a code of 0 is reported as written.
    if (dwRes != 1 || session.Responder().FailedTransfers() != nFailed)
        Refuse(session, "nothing could be written at " + Hex(m_dwAddress, 8));
    session.Context().Out().Show({{{"address", "Address"}, Cell(Hex(m_dwAddress, 8))},
                                  {{"written", "Written"}, Cell::Number(bytes.size())}});
}
