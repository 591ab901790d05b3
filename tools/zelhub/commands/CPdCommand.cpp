#include "tools/zelhub/commands/CPdCommand.h"

#include "tools/zelhub/devices/CI2cPdSession.h"

CArguments CPdCommand::DeclareGroup(CArguments& root)
{
    CArguments group =
        root.Sub("pd", "List, update and read PD controllers behind a hub",
                 "The hub of --hub carries every transfer; it is not restarted. Addresses are in\n"
                 "the 8-bit form (twice the 7-bit one), as --addr 0x42.");
    AddList(group, "Ask every address behind the hub who answers",
            "Reads only: a status of 20 bytes from each address.");
    return group;
}

void CPdCommand::DeclareSelector(CArguments& args)
{
    args.Number("--addr", m_nAddress, 0, 0xFFFF, "8-bit I2C address, such as 0x42", true);
}

void CPdCommand::CheckSelector() const
{
    (void)CheckPdAddress(m_nAddress);
}

void CPdCommand::Open(CToolContext& context, const Work& work)
{
    CHubSession hub(context);
    hub.OpenChosen();
    CI2cPdSession pd(hub, CheckPdAddress(m_nAddress));
    work(pd);
}

void CPdCommand::List(CToolContext& context)
{
    CHubSession hub(context);
    hub.OpenChosen();
    Table table;
    table.columns = {{"address", "Address"},
                     {"address7", "7-bit"},
                     {"code", "Code"},
                     {"version", "Version"},
                     {"bank", "Bank"}};
    table.pszEmpty = "no address behind this hub answers";
    context.Progress().Phase("ask", 0);
    for (unsigned n = kFirstPdAddress; n <= kLastPdAddress; n += 2) {
        context.StopIfInterrupted();
        const int nPercent = static_cast<int>(100 * n / kLastPdAddress);
        context.Progress().Step(nPercent, nPercent);
        CI2cPdSession pd(hub, static_cast<BYTE>(n));
        const std::optional<PdStatus> status = pd.TryStatus();
        if (!status && !hub.IsOnBus())
            throw CToolError(ExitCode::DeviceLost, "the hub has gone while it was asked",
                             "Plug it in again, then type this again.");
        if (!status && pd.IsBusStuck()) {
            // Every further address would cost the same wait, and be as silent.
            context.Progress().Clear();
            context.Out().Show("pd", table);
            pd.RefuseStuckBus();
        }
        if (!status)
            continue;
        const bool bFlash = status->RunsFlash();
        table.rows.push_back({Cell(Hex(n, 2), static_cast<long long>(n)),
                              Cell(Hex(n / 2, 2), static_cast<long long>(n / 2)), CodeCell(bFlash),
                              bFlash ? Cell(VersionText(status->Version())) : Cell::None(),
                              bFlash ? Cell::Number(status->RunningBank()) : Cell::None()});
    }
    context.Progress().Clear();
    context.Out().Show("pd", table);
}
