#include "tools/zelhub/commands/CBillboardCommand.h"

#include "tools/zelhub/devices/CBillboardSession.h"

namespace
{

/// A hub was chosen, perhaps to say on which dock: the device of another one must not be taken.
void RefuseHub(const CToolContext& context)
{
    if (!context.Opts().strHub.empty())
        throw CToolError(
            ExitCode::Usage, "--hub chooses a hub, not a billboard device",
            "Leave it out and choose with --device; zelhub billboard list shows them.");
}

} // namespace

CArguments CBillboardCommand::DeclareGroup(CArguments& root)
{
    CArguments group =
        root.Sub("billboard", "List, update and read PD controllers that are billboard devices",
                 "They are reached by WinUSB, without a hub and its driver. --device chooses one\n"
                 "of several.");
    AddList(group, "Show the billboard devices and what they run",
            "Reads only: the descriptions of USB devices, and a status of 20 bytes from those\n"
            "that are described as a billboard device.");
    return group;
}

void CBillboardCommand::DeclareSelector(CArguments& args)
{
    args.Text("--device", m_strDevice,
              "which one: '#2' (number in the list), inst:NUMBER, path:LOCATION, port:1.3");
}

void CBillboardCommand::CheckSelector() const
{
    if (!m_strDevice.empty())
        (void)CSelector(CBillboardList::kOption, m_strDevice);
}

void CBillboardCommand::List(CToolContext& context)
{
    RefuseHub(context);
    CBillboardHost host(context);
    context.Out().Show(CBillboardList::kKey, host.List().AsTable());
}

void CBillboardCommand::Open(CToolContext& context, const Work& work)
{
    RefuseHub(context);
    CBillboardHost host(context);
    const CBillboardList list = host.List();
    CBillboardSession device(host, SelectRow(list, m_strDevice, context.Out()));
    work(device);
}
