#include "tools/zelhub/commands/CListCommand.h"

#include "tools/zelhub/devices/CHubSession.h"
#include "tools/zelhub/system/HostSystem.h"

void CListCommand::Declare(CArguments& root)
{
    CArguments& args = Made(root.Sub(
        "list", "Show the hubs on this machine, and which of them are the maker's",
        "Asks every hub who made it, with two requests; changes nothing. Exits 0 also for\n"
        "an empty list. Both halves of a USB 3 hub are shown; updates go through the\n"
        "USB 2 half."));
    args.Flag("--details", m_bDetails, "ask the maker's hubs also which code and version they run");
}

void CListCommand::Run(CToolContext& context)
{
    CHubSession session(context);
    const CHubList list = session.List(m_bDetails);
    context.Out().Show("hubs", list.AsTable());
    if (list.SomeMayNotBeOpened())
        context.Out().Warn("not every hub may be opened, so it is not known whose they are. " +
                           HostSystem::RightToOpenHint());
}
